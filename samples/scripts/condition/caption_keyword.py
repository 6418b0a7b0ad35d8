# Condition script: holds for pictures whose IPTC caption or keywords mention the word named by
# the environment variable LUMARKO_KEYWORD (default "harbour"), in any case.
import os


def Evaluate(context):
    word = (os.environ.get('LUMARKO_KEYWORD') or 'harbour').lower()
    names = ('Meta.IPTC.VisualContent.Description', 'Meta.IPTC.VisualContent.Keywords')
    return any(word in str(context[name]).lower() for name in names if name in context)
