// Condition script: holds for pictures whose IPTC caption or keywords mention the word named by
// the environment variable LUMARKO_KEYWORD (default "harbour"), in any case.
function Evaluate(context) {
  var word = (Lumarko.Environment('LUMARKO_KEYWORD') || 'harbour').toLowerCase();
  var names = ['Meta.IPTC.VisualContent.Description', 'Meta.IPTC.VisualContent.Keywords'];
  for (var i = 0; i < names.length; i++) {
    if (context.Test(names[i]) && String(context.Value(names[i])).toLowerCase().indexOf(word) >= 0) {
      return true;
    }
  }
  return false;
}
