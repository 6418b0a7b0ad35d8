#!/bin/sh
# Runs that read only a few record values behave as runs over the whole record: a rename by date
# and a selection by type give the same names and events as always, and a script beside them
# still sees every value.
# Usage: needed_keys_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
pictures street_2023.jpg night_2024.jpg harbour_2023.jpg graphic.png

cat >"$WORK/rules.yaml" <<'YAML'
rules:
  - name: JPEGs by date
    conditions:
      - Condition.FileType: { type: jpeg }
    actions:
      - Action.Rename: { template: "{DateTaken:Year}-{DateTaken:Month0}-{DateTaken:Day0}_{FileName}" }
YAML
run "rename by date" 0 apply "$WORK/rules.yaml" "$WORK/pictures" --mode all
ls "$WORK/pictures" >"$WORK/names"
same "rename by date" names "2023-03-14_street_2023.jpg
2023-08-02_harbour_2023.jpg
2024-11-30_night_2024.jpg
graphic.png"
run "events of the rename" 0 events
[ "$(grep -c 'matches the selection condition' "$WORK/out")" -eq 3 ] ||
  fail "rename by date: not exactly the three JPEGs selected"
lacks "rename by date: the PNG is not selected" out 'graphic.png" matches'

# The script reads values that no other element of the run names.
printf '%s\n' 'function Evaluate(context) {' \
  '  return context.Value("Image.Width") > 0 && context.Value("Meta.ISOSpeed") == 400;' '}' \
  >"$WORK/iso.js"
cat >"$WORK/rules.yaml" <<YAML
rules:
  - name: ISO 400 JPEGs
    conditions:
      - Condition.FileType: { type: jpeg }
      - Condition.Script: { script: "$WORK/iso.js", engine: JavaScript }
    actions:
      - Action.Rename: { template: "iso400_{FileName}" }
YAML
run "script beside declared elements" 0 apply "$WORK/rules.yaml" "$WORK/pictures" --mode all </dev/null
ls "$WORK/pictures" >"$WORK/names"
has "script sees every value" names '^iso400_2023-08-02_harbour_2023\.jpg$'
[ "$(grep -c '^iso400_' "$WORK/names")" -eq 1 ] || fail "script: not only the ISO 400 picture renamed"

finish
