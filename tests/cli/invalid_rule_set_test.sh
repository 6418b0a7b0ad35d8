#!/bin/sh
# A rule set with an invalid rule is refused by `lumarko rules check` and `lumarko apply` with
# the dialog's two texts joined by an empty line, then one reason per invalid element.
# Usage: invalid_rule_set_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

pictures street_2023.jpg
cat >"$WORK/invalid.yaml" <<'YAML'
rules:
  - name: Fine
    actions:
      - Action.Copy: { destination: "Sorted" }
  - name: No destination
    actions:
      - Action.Copy: { destination: "" }
  - name: Not checked
    checked: false
    actions:
      - Action.Move: { destination: "" }
YAML
expected="lumarko: error: $WORK/invalid.yaml: One or more rule(s) is invalid.

Cannot apply a rule set containing invalid rules. Please check every parameter and try again.
  Rule 'No destination': Action.Copy: destination: the destination folder is missing; give one, such as \"Sorted/{DateTaken:Year}/{DateTaken:Month0}\""

run "rules check" 1 rules check "$WORK/invalid.yaml"
same "rules check" err "$expected"
run "apply" 1 apply "$WORK/invalid.yaml" "$WORK/pictures"
same "apply" err "$expected"
[ -e "$WORK/pictures/Sorted" ] && fail "apply: a refused rule set copied a picture"
finish
