#!/bin/sh
# A RAW+JPEG pair shares its sidecar: a.xmp beside a.jpg and a.dng stays through the deletion,
# move or rename of the JPEG (a move or rename takes a copy), and goes with the last picture of
# the name.
# Usage: shared_sidecar_test.sh <path of lumarko> <samples folder>
set -u
LUMARKO=$1
SAMPLES=$2
WORK=$(mktemp -d "${TMPDIR:-/tmp}/lmk-sidecar-test-XXXXXX") || exit 1
trap 'rm -rf "$WORK"' EXIT INT TERM
LUMARKO_CONFIG_DIR=$WORK/config
XDG_DATA_HOME=$WORK/data
export LUMARKO_CONFIG_DIR XDG_DATA_HOME
unset LUMARKO_PLUGIN

failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
there() { [ -f "$WORK/$2" ] || fail "$1: $2 is missing"; }
gone() { [ ! -e "$WORK/$2" ] || fail "$1: $2 is still there"; }
same() { cmp -s "$WORK/$2" "$WORK/$3" || fail "$1: $3 is not a copy of $2"; }
logged() {  # logged NAME PATTERN: the last run's events hold PATTERN
  "$LUMARKO" events >"$WORK/events" 2>&1
  grep -Eq -- "$2" "$WORK/events" || { fail "$1: no event /$2/"; sed 's/^/  /' "$WORK/events"; }
}
pair() {  # pair FOLDER: a.jpg, a.dng and the a.xmp they share
  mkdir -p "$WORK/$1"
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/a.jpg"
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/a.dng"
  cp "$SAMPLES/sidecar_2025.xmp" "$WORK/$1/a.xmp"
  cp "$WORK/$1/a.xmp" "$WORK/original.xmp"
}
apply() {  # apply NAME TYPE ACTION FOLDER: one rule over the pictures of FOLDER of TYPE (or all)
  condition="conditions: [ { Condition.FileType: { type: $2 } } ]"
  [ "$2" = all ] && condition="conditions: []"
  cat >"$WORK/rules.yaml" <<YAML
rules:
  - name: $1
    $condition
    actions:
      - $3
YAML
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/$4" >"$WORK/apply.log" 2>&1 ||
    { fail "$1: exit status $?"; sed 's/^/  /' "$WORK/apply.log"; }
}

delete='Action.Delete: { trash: false, companions: [xmp] }'
pair del
apply "delete the JPEG" jpeg "$delete" del
gone "delete the JPEG" del/a.jpg
there "delete the JPEG" del/a.xmp
logged "delete the JPEG" "Keeping \".*/del/a.xmp\": \".*/del/a.dng\" still uses it\."
apply "delete the RAW" not-jpeg "$delete" del
gone "delete the RAW" del/a.dng
gone "delete the RAW" del/a.xmp

move="Action.Move: { destination: \"$WORK/out\", companions: [xmp] }"
pair mov
apply "move the JPEG" jpeg "$move" mov
there "move the JPEG" out/a.jpg
same "move the JPEG" original.xmp out/a.xmp
same "move the JPEG" original.xmp mov/a.xmp
apply "move the RAW" not-jpeg "$move" mov
there "move the RAW" out/a.dng
gone "move the RAW" mov/a.xmp
same "move the RAW" original.xmp out/a.xmp
logged "move the RAW" "Removing \".*/mov/a.xmp\": the last picture that used it has gone"

rename='Action.Rename: { template: "b", companions: [xmp] }'
pair ren
apply "rename the JPEG" jpeg "$rename" ren
there "rename the JPEG" ren/b.jpg
same "rename the JPEG" original.xmp ren/b.xmp
same "rename the JPEG" original.xmp ren/a.xmp
apply "rename the RAW" not-jpeg "$rename" ren
there "rename the RAW" ren/b.dng
gone "rename the RAW" ren/a.xmp
same "rename the RAW" original.xmp ren/b.xmp

# Both pictures of the name in one run: the sidecar goes with the last, without errors.
pair both
apply "delete both" all "$delete" both
gone "delete both" both/a.xmp
pair both
apply "move both" all "Action.Move: { destination: \"$WORK/both-out\", companions: [xmp] }" both
gone "move both" both/a.xmp
same "move both" original.xmp both-out/a.xmp
apply "rename both" all "$rename" both-out
gone "rename both" both-out/a.xmp
same "rename both" original.xmp both-out/b.xmp

# Many pairs moved by parallel workers in one run: each sidecar arrives, without errors.
mkdir -p "$WORK/many"
i=0
while [ $i -lt 60 ]; do
  i=$((i + 1))
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/many/p$i.jpg"
  cp "$SAMPLES/plain_nometa.jpg" "$WORK/many/p$i.dng"
  cp "$SAMPLES/sidecar_2025.xmp" "$WORK/many/p$i.xmp"
done
apply "many pairs" all "Action.Move: { destination: \"$WORK/many-out\", companions: [xmp] }" many
[ -z "$(ls "$WORK/many")" ] || fail "many pairs: files left behind: $(ls "$WORK/many" | head -3)"
count=$(ls "$WORK/many-out" | grep -c '\.xmp$')
[ "$count" -eq 60 ] || fail "many pairs: $count sidecars arrived, expected 60"

# A sidecar named after the whole file name belongs to that file alone.
mkdir -p "$WORK/own"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/own/c.jpg"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/own/c.dng"
cp "$SAMPLES/sidecar_2025.xmp" "$WORK/own/c.jpg.xmp"
apply "own sidecar" jpeg "$delete" own
gone "own sidecar" own/c.jpg.xmp

[ "$failures" -eq 0 ] || { echo "$failures failure(s)"; exit 1; }
echo "all shared sidecar cases passed"
