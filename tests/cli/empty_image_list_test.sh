#!/bin/sh
# `lumarko apply` over paths that hold no picture refuses with the dialog's two texts (before it
# looks at the rules), then says what to try.
# Usage: empty_image_list_test.sh <path of lumarko>
set -u
. "$(dirname "$0")/cli_case.sh"

mkdir "$WORK/empty" "$WORK/notes"
echo "no picture" >"$WORK/notes/readme.txt"
printf 'rules:\n  - name: Everything\n' >"$WORK/rules.yaml"
# An invalid rule set too: the empty list is the first thing the dialog checks.
printf 'rules:\n  - name: Bad\n    actions:\n      - Action.Copy: { destination: "" }\n' \
  >"$WORK/invalid.yaml"

for case in "empty folder|rules.yaml|empty|all" "only a text file|rules.yaml|notes|current" \
  "invalid rules too|invalid.yaml|empty|remaining"; do
  IFS='|' read -r name rules folder mode <<CASE
$case
CASE
  run "$name" 1 apply "$WORK/$rules" "$WORK/$folder" --mode "$mode"
  same "$name" err "lumarko: error: There are no images to process!

You cannot apply any rule(s) to an empty image list.
  no picture was found in the paths given: check them, or add --recursive"
done
finish
