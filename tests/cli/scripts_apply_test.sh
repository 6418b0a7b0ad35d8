#!/bin/sh
# Script elements in a real run: a JavaScript condition found beside the pictures (a relative
# path), a Python action writing one catalogue line per selected picture, and a failing script
# whose message is printed once, with no terminal, while each failure is logged.
# Usage: scripts_apply_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
SOURCES=$(cd "$(dirname "$0")/../.." && pwd)/samples/scripts
pictures harbour_2023.jpg mountain_2024.jpg night_2024.jpg street_2023.jpg
cp "$SOURCES/condition/caption_keyword.js" "$WORK/pictures/"
LUMARKO_CATALOGUE=$WORK/catalogue.csv LUMARKO_KEYWORD=HARBOUR
export LUMARKO_CATALOGUE LUMARKO_KEYWORD

cat >"$WORK/rules.yaml" <<YAML
rules:
  - name: Harbour pictures into the catalogue
    conditions:
      - Condition.Script: { script: caption_keyword.js, engine: JavaScript }
    actions:
      - Action.Script: { script: "$SOURCES/action/catalogue_line.py", engine: Python }
YAML
run "select and catalogue" 0 apply "$WORK/rules.yaml" "$WORK/pictures" </dev/null
same "select and catalogue" catalogue.csv \
  "\"$WORK/pictures/harbour_2023.jpg\",\"2023-08-02\",\"400\",\"Ferries leaving the quay\""
"$LUMARKO" events >"$WORK/events"
has "select and catalogue" events \
  "Running \"$SOURCES/action/catalogue_line.py\" script on \"$WORK/pictures/harbour_2023.jpg\" using \"Python\" engine\\."

printf 'function Evaluate(context) {\n  return context.Value("No.Such.Value");\n}\n' \
  >"$WORK/pictures/broken.js"
cat >"$WORK/rules.yaml" <<YAML
rules:
  - name: Broken script
    conditions:
      - Condition.Script: { script: broken.js, engine: JScript }
YAML
run "failing script" 4 apply "$WORK/rules.yaml" "$WORK/pictures" </dev/null
[ "$(grep -c 'An error occurred while running the script!' "$WORK/err")" -eq 1 ] ||
  fail "failing script: the message is not printed exactly once"
has "failing script" err 'No.Such.Value'
has "failing script" err '^See line 2, column 0\.$'
"$LUMARKO" events --filter errors >"$WORK/events"
[ "$(grep -c '^Error' "$WORK/events")" -ge 4 ] || { fail "failing script: not every failure logged"; cat "$WORK/events"; }

finish
