#!/bin/sh
# Times `lumarko apply` of a select-only rule set over a folder of pictures (see
# make_pictures.sh) and prints files per second. A measurement, not a test.
#
#   LUMARKO=build/release/src/cli/lumarko bench/time_apply.sh RULES PICTURE_DIR [extra apply options]
set -eu

rules=${1:?usage: time_apply.sh RULES PICTURE_DIR [options]}
dir=${2:?usage: time_apply.sh RULES PICTURE_DIR [options]}
shift 2
lumarko=${LUMARKO:-lumarko}

command -v "$lumarko" >/dev/null 2>&1 || [ -x "$lumarko" ] ||
  { echo "time_apply.sh: set LUMARKO to the lumarko command ($lumarko not found)" >&2; exit 1; }
files=$(find "$dir" -maxdepth 1 -type f ! -name '*.xmp' | wc -l)
[ "$files" -gt 0 ] || { echo "time_apply.sh: no pictures in $dir" >&2; exit 1; }

start=$(date +%s.%N)
status=0
report=$("$lumarko" apply "$rules" "$dir" --mode all --verbose "$@") || status=$?
end=$(date +%s.%N)

# lumarko's own figure runs from the first picture to the end of the list; the whole command
# also holds start-up and the plug-in's minimum run time (750 ms on screen), which dominate
# a few thousand pictures.
printf '%s\n' "$report" | grep '^processed ' || true
awk -v n="$files" -v s="$start" -v e="$end" -v st="$status" 'BEGIN {
  t = e - s
  printf "whole command: %d files in %.3f s: %.0f files/s (exit status %d)\n", n, t, (t > 0 ? n / t : 0), st
}'
