#!/bin/sh
# Rules that read few record values rename JPEGs by date as always; a script still sees them all.
set -u
. "$(dirname "$0")/cli_case.sh"
pictures street_2023.jpg night_2024.jpg harbour_2023.jpg graphic.png
rules() {
  printf 'rules:\n  - name: JPEGs\n    conditions:\n      - Condition.FileType: { type: jpeg }\n%s\n' \
    "$1" >"$WORK/rules.yaml"
  run "$2" 0 apply "$WORK/rules.yaml" "$WORK/pictures" --mode all </dev/null
  ls "$WORK/pictures" >"$WORK/names"
}

rules '    actions:
      - Action.Rename: { template: "{DateTaken:Year}-{DateTaken:Month0}-{DateTaken:Day0}_{FileName}" }' \
  "rename by date"
same "rename by date" names "2023-03-14_street_2023.jpg
2023-08-02_harbour_2023.jpg
2024-11-30_night_2024.jpg
graphic.png"

# The script reads values that no other element of the rule names.
printf 'function Evaluate(c) {\n  return c.Value("Image.Width") > 0 && c.Value("Meta.ISOSpeed") == 400;\n}\n' \
  >"$WORK/iso.js"
rules "      - Condition.Script: { script: \"$WORK/iso.js\", engine: JavaScript }
    actions:
      - Action.Rename: { template: \"iso400_{FileName}\" }" "script beside named values"
[ "$(grep -c '^iso400_' "$WORK/names")" -eq 1 ] && has "script sees every value" names \
  '^iso400_2023-08-02_harbour_2023\.jpg$' || fail "script: not only the ISO 400 picture renamed"

finish
