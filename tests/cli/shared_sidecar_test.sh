#!/bin/sh
# A RAW+JPEG pair shares its sidecar: a.xmp beside a.jpg and a.dng stays through the deletion,
# move or rename of the JPEG (a move or rename takes a copy), and goes with the last picture of
# the name.
# Usage: shared_sidecar_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

# expect NAME CHECKS...: +FILE is there, -FILE is gone, FILE=COPY is a copy of the original a.xmp,
# /PATTERN is in the run's events.
expect() {
  name=$1
  shift
  for check in "$@"; do
    case $check in
      +*) [ -f "$WORK/${check#+}" ] || fail "$name: ${check#+} is missing" ;;
      -*) [ ! -e "$WORK/${check#-}" ] || fail "$name: ${check#-} is still there" ;;
      /*) "$LUMARKO" events >"$WORK/events" 2>&1; has "$name" events "${check#/}" ;;
      *) cmp -s "$WORK/original.xmp" "$WORK/$check" || fail "$name: $check is not a copy of a.xmp" ;;
    esac
  done
}
pair() {  # pair FOLDER [NAME]: NAME.jpg, NAME.dng and the NAME.xmp they share
  mkdir -p "$WORK/$1"
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/${2:-a}.jpg"
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/${2:-a}.dng"
  cp "$SAMPLES/sidecar_2025.xmp" "$WORK/$1/${2:-a}.xmp"
}
cp "$SAMPLES/sidecar_2025.xmp" "$WORK/original.xmp"
apply() {  # apply NAME TYPE ACTION FOLDER: one rule over the pictures of FOLDER of TYPE (or all)
  condition="conditions: [ { Condition.FileType: { type: $2 } } ]"
  [ "$2" = all ] && condition="conditions: []"
  printf 'rules:\n  - name: %s\n    %s\n    actions:\n      - %s\n' "$1" "$condition" "$3" \
    >"$WORK/rules.yaml"
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/$4" >"$WORK/apply.log" 2>&1 ||
    { fail "$1: exit status $?"; sed 's/^/  /' "$WORK/apply.log"; }
}

delete='Action.Delete: { trash: false, companions: [xmp] }'
pair del
apply "delete the JPEG" jpeg "$delete" del
expect "delete the JPEG" -del/a.jpg +del/a.xmp \
  '/Keeping ".*/del/a.xmp": ".*/del/a.dng" still uses it\.'
apply "delete the RAW" not-jpeg "$delete" del
expect "delete the RAW" -del/a.dng -del/a.xmp

move="Action.Move: { destination: \"$WORK/out\", companions: [xmp] }"
pair mov
apply "move the JPEG" jpeg "$move" mov
expect "move the JPEG" +out/a.jpg out/a.xmp mov/a.xmp
apply "move the RAW" not-jpeg "$move" mov
expect "move the RAW" +out/a.dng -mov/a.xmp out/a.xmp \
  '/Removing ".*/mov/a.xmp": the last picture that used it has gone'

rename='Action.Rename: { template: "b", companions: [xmp] }'
pair ren
apply "rename the JPEG" jpeg "$rename" ren
expect "rename the JPEG" +ren/b.jpg ren/b.xmp ren/a.xmp
apply "rename the RAW" not-jpeg "$rename" ren
expect "rename the RAW" +ren/b.dng -ren/a.xmp ren/b.xmp

# Both pictures of the name in one run: the sidecar goes with the last, without errors.
pair both
apply "delete both" all "$delete" both
expect "delete both" -both/a.xmp
pair both
apply "move both" all "Action.Move: { destination: \"$WORK/both-out\", companions: [xmp] }" both
expect "move both" -both/a.xmp both-out/a.xmp
apply "rename both" all "$rename" both-out
expect "rename both" -both-out/a.xmp both-out/b.xmp

# Many pairs moved by parallel workers in one run: each sidecar arrives, without errors.
i=0
while [ $i -lt 60 ]; do i=$((i + 1)); pair many "p$i"; done
apply "many pairs" all "Action.Move: { destination: \"$WORK/many-out\", companions: [xmp] }" many
[ -z "$(ls "$WORK/many")" ] || fail "many pairs: files left behind: $(ls "$WORK/many" | head -3)"
count=$(ls "$WORK/many-out" | grep -c '\.xmp$')
[ "$count" -eq 60 ] || fail "many pairs: $count sidecars arrived, expected 60"

# A sidecar named after the whole file name belongs to that file alone.
pair own c
mv "$WORK/own/c.xmp" "$WORK/own/c.jpg.xmp"
apply "own sidecar" jpeg "$delete" own
expect "own sidecar" -own/c.jpg.xmp
finish
