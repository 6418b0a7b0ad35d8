#!/bin/sh
# Times a one-line script condition in JavaScript and in Python beside the built-in ISO
# condition over the same folder of pictures (see make_pictures.sh), and prints each one's cost
# per picture per core, with how many pictures each selected (the three must agree). A
# measurement, not a test.
#
#   LUMARKO=build/bench/bin/lumarko sh bench/time_scripts.sh PICTURE_DIR
set -eu

dir=${1:?usage: time_scripts.sh PICTURE_DIR}
lumarko=${LUMARKO:-lumarko}
work=$(mktemp -d "${TMPDIR:-/tmp}/lmk-time-scripts-XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
files=$(find "$dir" -maxdepth 1 -type f ! -name '*.xmp' | wc -l)
cores=$(nproc)

printf 'function Evaluate(context) { return context.Value("Meta.ISOSpeed") > 800; }\n' >"$work/iso.js"
printf 'def Evaluate(context):\n    return context.Value("Meta.ISOSpeed") > 800\n' >"$work/iso.py"
rule() {  # rule NAME CONDITION: a rule set of one select-only rule
  printf 'rules:\n  - name: %s\n    conditions:\n      - %s\n' "$1" "$2" >"$work/$1.yaml"
}
rule builtin 'Condition.ISOSpeed: { compare: ">", iso: 800 }'
rule javascript "Condition.Script: { script: \"$work/iso.js\", engine: JavaScript }"
rule python "Condition.Script: { script: \"$work/iso.py\", engine: Python }"

for name in builtin javascript python; do
  # lumarko's own rate runs from the first picture to the end of the list.
  rate=$("$lumarko" apply "$work/$name.yaml" "$dir" --mode all --verbose </dev/null 2>/dev/null |
    sed -n 's/^processed .*: \([0-9.]*\) pictures\/s$/\1/p')
  selected=$("$lumarko" events </dev/null | grep -c 'matches the selection condition' || true)
  awk -v n="$name" -v r="${rate:-0}" -v c="$cores" -v f="$files" -v s="$selected" 'BEGIN {
    printf "%-10s %6d files  %6d selected  %9.0f files/s  %8.1f us per file per core\n", n, f, s, r,
      (r > 0 ? c * 1e6 / r : 0)
  }'
done
