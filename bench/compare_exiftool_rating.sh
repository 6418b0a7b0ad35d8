#!/bin/sh
# Compares rating pictures by one star with `lumarko apply` against
# `exiftool -overwrite_original -XMP:Rating=4` on fresh copies of the same generated JPEGs, in
# the same run. Prints files per second (wall clock, and per CPU second, which a busy shared
# machine disturbs less) and the ratios. A measurement, not a test.
#
#   LUMARKO=build/release/bin/lumarko bench/compare_exiftool_rating.sh [N=5000] [WORK_DIR]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
count=${1:-5000}
work=${2:-$(mktemp -d "${TMPDIR:-/tmp}/lumarko-rating-bench.XXXXXX")}
lumarko=${LUMARKO:-lumarko}
command -v exiftool >/dev/null 2>&1 || { echo "compare_exiftool_rating.sh: exiftool is missing" >&2; exit 1; }
mkdir -p "$work"
work=$(cd "$work" && pwd)
export LUMARKO_CONFIG_DIR="$work/config" XDG_DATA_HOME="$work/data"

[ -d "$work/pictures" ] || "$here/make_pictures.sh" "$work/pictures" "$count" >/dev/null
printf 'rules:\n  - name: bench\n    actions:\n      - Action.SetXMPRating: { rating: one-more }\n' \
  >"$work/rules.yaml"
fresh() { rm -rf "$work/in" && cp -r "$work/pictures" "$work/in" && sync; }
# measure NAME COMMAND...: prints files per second of wall time and of CPU time (user + system).
measure() {
  name=$1
  shift
  fresh
  /usr/bin/time -f '%e %U %S' -o "$work/time" "$@" >/dev/null 2>&1
  read -r wall user sys <"$work/time"
  awk -v n="$count" -v w="$wall" -v u="$user" -v s="$sys" -v name="$name" \
    'BEGIN { c = u + s; printf "%-10s %8.0f files/s wall  %8.0f files/CPU-s\n", name, n / w, n / (c > 0 ? c : 0.01) }' |
    tee -a "$work/rates"
}
: >"$work/rates"
measure lumarko "$lumarko" apply "$work/rules.yaml" "$work/in" --mode all
measure exiftool exiftool -q -overwrite_original -XMP:Rating=4 "$work/in"
awk 'NR == 1 { w = $2; c = $5 } NR == 2 { printf "lumarko / exiftool: %.1fx wall, %.1fx CPU\n", w / $2, c / $5 }' \
  "$work/rates"
