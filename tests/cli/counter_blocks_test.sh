#!/bin/sh
# Moves pictures into one folder named by {AutoIncrement} with overwrite on, so that a repeated
# value would replace a picture: a run alone gives 0..99 and leaves the counter at 100; two runs
# at once, and a run killed mid-way then run again, lose no picture.
# Usage: counter_blocks_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
mkdir "$WORK/dest"
printf 'rules:\n  - name: N\n    actions:\n      - Action.Move: { destination: "%s", rename: "n{AutoIncrement}", overwrite: true }\n' \
  "$WORK/dest" >"$WORK/rules.yaml"
folder() {  # folder NAME COUNT: COUNT pictures in $WORK/NAME
  mkdir "$WORK/$1"
  for i in $(seq "$2"); do cp "$SAMPLES/plain_nometa.jpg" "$WORK/$1/p$i.jpg"; done
}
# Each run keeps its own event log: runs at once would each read the other's as their outcome.
apply() {
  XDG_DATA_HOME=$WORK/data/$1 "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/$1" --mode all \
    >"$WORK/$1.out" 2>&1 || { fail "$1: the run failed"; grep -v '^\[' "$WORK/$1.out" | head -5; }
}
moved() { [ "$(ls "$WORK/dest" | wc -l)" -eq "$1" ] || fail "$2: $(ls "$WORK/dest" | wc -l) pictures, expected $1"; }

folder alone 100 && apply alone
[ "$(ls "$WORK/dest" | sed 's/^n//; s/\.jpg$//' | sort -n | tr '\n' ' ')" = "$(seq -s ' ' 0 99) " ] ||
  fail "alone: the names are not n0..n99"
run preview 0 template '{AutoIncrement}' "$SAMPLES/plain_nometa.jpg" && same preview out 100

folder first 200 && folder second 200
apply first & apply second; wait
moved 500 concurrent

folder killed 400
"$LUMARKO" apply "$WORK/rules.yaml" "$WORK/killed" --mode all >/dev/null 2>&1 &
victim=$!
while [ "$(ls "$WORK/dest" | wc -l)" -lt 580 ] && kill -0 $victim 2>/dev/null; do sleep 0.05; done
kill -KILL $victim 2>/dev/null || echo "note: the run ended before it could be killed"
wait $victim 2>/dev/null
apply killed
moved 900 "after the kill"
finish
