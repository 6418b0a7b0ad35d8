// Action script: appends one CSV line per picture (file, date taken, ISO speed, caption) to the
// catalogue named by the environment variable LUMARKO_CATALOGUE, else "catalogue.csv" in the
// pictures' folder. Returns 0: done.
function quote(value) {
  return '"' + String(value === undefined || value === null ? '' : value).replace(/"/g, '""') + '"';
}

function read(context, name) {
  return context.Test(name) ? context.Value(name) : '';
}

function day(date) {
  if (!(date instanceof Date)) return '';
  function two(n) { return (n < 10 ? '0' : '') + n; }
  return date.getFullYear() + '-' + two(date.getMonth() + 1) + '-' + two(date.getDate());
}

function Execute(context) {
  var catalogue = Lumarko.Environment('LUMARKO_CATALOGUE') ||
                  context.Value('App.ImagesFolder') + '/catalogue.csv';
  Lumarko.AppendLine(catalogue, [
    quote(context.Value('File.Name')),
    quote(day(read(context, 'Meta.DateTaken'))),
    quote(read(context, 'Meta.ISOSpeed')),
    quote(read(context, 'Meta.IPTC.VisualContent.Description'))
  ].join(','));
  return 0;
}
