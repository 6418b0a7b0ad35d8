#!/bin/sh
# Runs `lumarko apply` over a copy of the sample pictures with a small rule set, then checks the
# exit status, the events of the run, `lumarko record` on one sample and `lumarko rules check`
# on good and broken rule sets.
# Usage: lumarko_apply_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

cp -R "$SAMPLES" "$WORK/pictures"
cat >"$WORK/rules.yaml" <<'YAML'
rules:
  - name: Located
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
  - name: Everything
YAML

# Clean pictures only: success.
mkdir "$WORK/clean"
cp "$SAMPLES/street_2023.jpg" "$SAMPLES/night_2024.jpg" "$WORK/clean/"
run "apply on clean pictures" 0 apply "$WORK/rules.yaml" "$WORK/clean" --mode all
has "apply summary" out "The batch job ran successfully!"
run "events after a clean run" 0 events
has "events: selection" out "street_2023.jpg\" matches the selection condition\(s\)\."
lacks "events: no GPS, not located" out "night_2024.jpg\" matches"
has "events: unconditional rule" out "night_2024.jpg\" will be processed unconditionally\."

# The samples include a cut-off picture: it is processed, with a warning (exit status 3).
run "apply on the samples" 3 apply "$WORK/rules.yaml" "$WORK/pictures" --mode all
has "apply summary with warnings" out "some warnings have been recorded"
run "events after the samples" 0 events
for located in street_2023 harbour_2023 mountain_2024 below_sea_2024 xmp_gps_2024; do
  has "events: $located located" out "$located.jpg\" matches the selection condition\(s\)\."
done
has "events: truncated picture still processed" out "truncated.jpg\" will be processed unconditionally"
count=$(grep -c "will be processed unconditionally" "$WORK/out")
[ "$count" -eq 13 ] || fail "events: $count unconditional lines, expected one per picture (13)"
lacks "events: sidecar is no picture" out "sidecar_2025.xmp"
run "events --filter warnings" 0 events --filter warnings
has "warnings only" out "^Warning"
lacks "warnings only: no info" out "^Info"
run "events --save" 0 events --save "$WORK/events.txt"
grep -q "^Lumarko Batch Processor Event Log - Generated on" "$WORK/events.txt" ||
  fail "events --save: no header line"

# Mode current with --current: one picture only.
run "apply --mode current" 0 apply "$WORK/rules.yaml" "$WORK/pictures" --mode current \
  --current "$WORK/pictures/street_2023.jpg"
has "current image summary" out "The rules were successfully applied to the current image!"
run "events after mode current" 0 events
count=$(grep -c "will be processed unconditionally" "$WORK/out")
[ "$count" -eq 1 ] || fail "mode current: $count files processed, expected 1"

# Errors that stop before a run.
run "apply on a missing folder" 1 apply "$WORK/rules.yaml" "$WORK/nowhere"
has "missing folder named" err "nowhere: no such file or folder"
run "apply --current not listed" 1 apply "$WORK/rules.yaml" "$WORK/clean" --current "$WORK/pictures/graphic.png"
run "apply with a bad mode" 2 apply "$WORK/rules.yaml" "$WORK/clean" --mode some

# The record: 120 keys, in order, with types.
run "record" 0 record "$WORK/pictures/street_2023.jpg"
lines=$(wc -l <"$WORK/out")
[ "$lines" -eq 120 ] || fail "record: $lines lines, expected 120"
has "record first key" out "^  0  Plugin.Host +VT_UNKNOWN"
has "record GPS latitude" out "Meta.GPS.Latitude +VT_R8 +48\.85"
has "record last key" out "^119  Image.Index +VT_UI4 +0"
run "record of a missing file" 1 record "$WORK/pictures/none.jpg"

# Rule checks: a valid set, and YAML errors with their place.
run "rules check" 0 rules check "$WORK/rules.yaml"
has "rules check describes" out "Condition.GpsMetadata: When the image has a GPS position"
printf 'rules:\n  - name: Broken\n    conditions:\n      - Condition.NoSuchThing: {}\n' >"$WORK/bad.yaml"
run "rules check unknown element" 1 rules check "$WORK/bad.yaml"
has "unknown element placed" err "bad.yaml:4:[0-9]+: .*Condition.NoSuchThing"
printf 'rules:\n  - name: [unclosed\n' >"$WORK/syntax.yaml"
run "rules check YAML syntax" 1 rules check "$WORK/syntax.yaml"
has "syntax error placed" err "syntax.yaml:[0-9]+:[0-9]+: "
run "apply with a bad rule set" 1 apply "$WORK/bad.yaml" "$WORK/clean"
has "apply names the place" err "bad.yaml:4:"

finish
