#!/bin/sh
# Regression: a template's or condition's regular expression with a repeat inside a repeat, on a
# name of 40 "a" and a "b", kept a run busy until it was killed. It must now fail that element
# at once with a message naming the template or condition, the expression and the name.
# Usage: regex_backtracking_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

pic=aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab
too_complex='the regular expression "\(a\+\)\+\$" is too complex to match "'$pic'"'
mkdir "$WORK/pics"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/pics/$pic.jpg"
cat >"$WORK/rules.yaml" <<'YAML'
rules:
  - name: Hungry template
    actions:
      - Action.Rename: { template: "{RegEx:(a+)+$}{1}" }
  - name: Hungry condition
    conditions:
      - Condition.FileName: { pattern: "(a+)+$", syntax: regex }
YAML

# A match that never ended would meet the test runner's time limit.
run "template command" 1 template '{RegEx:(a+)+$}{1}' "$WORK/pics/$pic.jpg"
has "template command names the template" err \
  "^lumarko: error: .*/$pic.jpg: .*The template \"\{RegEx:\(a\+\)\+\\\$\}\{1\}\": $too_complex"

run "apply" 4 apply "$WORK/rules.yaml" "$WORK/pics" --mode all
has "apply reports errors" out "some errors have been recorded"
[ -f "$WORK/pics/$pic.jpg" ] || fail "apply: the picture was renamed or lost"
run "events" 0 events --filter errors
has "events: the rename" out "The template \"\{RegEx:\(a\+\)\+\\\$\}\{1\}\": $too_complex"
has "events: the condition" out "Condition.FileName: $too_complex"

finish
