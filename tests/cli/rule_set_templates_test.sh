#!/bin/sh
# A rule set's own `templates:` serve `rename:` in copy, move and link actions, before the
# user's templates of the same name; a name found in neither is refused before any file moves.
# Usage: rule_set_templates_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

pictures street_2023.jpg
run "user template" 0 templates set Dated "user-{FileName}"
run "user-only template" 0 templates set Stored "stored-{FileName}"
cat >"$WORK/own.yaml" <<YAML
templates: { Dated: "own-{FileName}" }
rules:
  - name: Copy and link
    actions:
      - Action.Copy: { destination: "$WORK/copied", rename: Dated }
      - Action.Link: { destination: "$WORK/linked", rename: dated }
  - name: The user's template
    actions:
      - Action.Copy: { destination: "$WORK/stored", rename: Stored }
  - name: Move
    actions:
      - Action.Move: { destination: "$WORK/moved", rename: DATED }
YAML
run "rules check" 0 rules check "$WORK/own.yaml"
has "rules check" out "the rule set is valid"
run "apply" 0 apply "$WORK/own.yaml" "$WORK/pictures"
for made in copied/own-street_2023.jpg linked/own-street_2023.jpg stored/stored-street_2023.jpg \
  moved/own-street_2023.jpg; do
  [ -f "$WORK/$made" ] || fail "apply: $made was not made"
done

cat >"$WORK/unknown.yaml" <<YAML
templates: { Dated: "own-{FileName}" }
rules:
  - name: Unknown name
    actions:
      - Action.Move: { destination: "$WORK/never", rename: Nowhere }
YAML
run "rules check unknown" 1 rules check "$WORK/unknown.yaml"
has "rules check unknown" err "There is no renaming template named 'Nowhere'"
run "apply unknown" 1 apply "$WORK/unknown.yaml" "$WORK/moved"
has "apply unknown" err "There is no renaming template named 'Nowhere'"
[ -e "$WORK/never" ] && fail "apply unknown: a refused rule set moved a picture"
finish
