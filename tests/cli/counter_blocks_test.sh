#!/bin/sh
# Moves pictures into one folder named by {AutoIncrement} with overwrite on, so that a repeated
# value would replace a picture: a run alone gives 0..N-1 and leaves the counter at N; two runs
# at once give distinct values; a run killed mid-way, then a new run, repeat none either.
# Usage: counter_blocks_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
DEST=$WORK/dest
mkdir "$DEST"
printf 'rules:\n  - name: Number\n    actions:\n      - Action.Move: { destination: "%s", rename: "n{AutoIncrement}", overwrite: true }\n' \
  "$DEST" >"$WORK/rules.yaml"

# folder NAME COUNT: COUNT copies of one sample in $WORK/NAME.
folder() {
  mkdir "$WORK/$1"
  i=0
  while [ $i -lt "$2" ]; do cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/p$i.jpg"; i=$((i + 1)); done
}
# apply NAME: moves the pictures of $WORK/NAME. Each run keeps its own event log (two runs at
# once share one log, and each would read the other's as its outcome); the settings are shared.
apply() {
  XDG_DATA_HOME=$WORK/data/$1 "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/$1" --mode all \
    >"$WORK/$1.out" 2>&1
}
# problems NAME: the run's errors, when it failed.
problems() { fail "$1: the run failed"; grep -v "^\[" "$WORK/$2.out" | head -5; }
moved() { ls "$DEST" | wc -l; }

folder alone 100
apply alone || problems alone alone
[ "$(ls "$DEST" | sed 's/^n//; s/\.jpg$//' | sort -n | tr '\n' ' ')" = "$(seq -s ' ' 0 99) " ] ||
  fail "alone: the names are not n0..n99"
run preview 0 template '{AutoIncrement}' "$SAMPLES/plain_nometa.jpg"
same preview out 100

folder first 200
folder second 200
apply first &
one=$!
apply second || problems concurrent second
wait $one || problems concurrent first
[ "$(moved)" -eq 500 ] || fail "concurrent: $(moved) pictures in the folder, expected 500"

folder killed 400
"$LUMARKO" apply "$WORK/rules.yaml" "$WORK/killed" --mode all >/dev/null 2>&1 &
victim=$!
while [ "$(moved)" -lt 580 ] && kill -0 $victim 2>/dev/null; do sleep 0.05; done
kill -KILL $victim 2>/dev/null || echo "note: the run ended before it could be killed"
wait $victim 2>/dev/null
apply killed || problems "after the kill" killed
[ "$(moved)" -eq 900 ] || fail "after the kill: $(moved) pictures in the folder, expected 900"
[ -z "$(ls "$WORK/killed")" ] || fail "after the kill: pictures left behind"
finish
