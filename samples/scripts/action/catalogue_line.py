# Action script: appends one CSV line per picture (file, date taken, ISO speed, caption) to the
# catalogue named by the environment variable LUMARKO_CATALOGUE, else "catalogue.csv" in the
# pictures' folder. Returns 0: done.
import csv
import os


def read(context, name):
    return context[name] if name in context else ''


def Execute(context):
    catalogue = os.environ.get('LUMARKO_CATALOGUE') or os.path.join(
        context['App.ImagesFolder'], 'catalogue.csv')
    taken = read(context, 'Meta.DateTaken')
    with open(catalogue, 'a', newline='', encoding='utf-8') as out:
        csv.writer(out, quoting=csv.QUOTE_ALL, lineterminator='\n').writerow([
            context['File.Name'],
            taken.strftime('%Y-%m-%d') if taken else '',
            read(context, 'Meta.ISOSpeed'),
            read(context, 'Meta.IPTC.VisualContent.Description'),
        ])
    return 0
