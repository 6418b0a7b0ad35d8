#!/bin/sh
# Compares rating pictures by one star with `lumarko apply` against
# `exiftool -overwrite_original -XMP:Rating=4` on fresh copies of the same generated JPEGs, in
# the same run. A measurement, not a test.
#
# Every round runs both commands once, one after the other, so that a machine whose speed
# drifts charges both alike; the ratios (wall clock, and per CPU second, which a busy shared
# machine disturbs less) are taken within a round and printed as min/median/max over the
# rounds. The work folder is on tmpfs (/dev/shm) unless named: there the processor decides; on
# a disk every rating also waits for its flush to the device, which neither tool can skip.
#
#   LUMARKO=build/release/bin/lumarko [ROUNDS=3] bench/compare_exiftool_rating.sh [N=5000] [WORK_DIR]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
count=${1:-5000}
rounds=${ROUNDS:-3}
default_work=${TMPDIR:-/tmp}
[ -d /dev/shm ] && [ -w /dev/shm ] && default_work=/dev/shm
work=${2:-$(mktemp -d "$default_work/lumarko-rating-bench.XXXXXX")}
lumarko=${LUMARKO:-lumarko}
command -v exiftool >/dev/null 2>&1 || { echo "compare_exiftool_rating.sh: exiftool is missing" >&2; exit 1; }
command -v "$lumarko" >/dev/null 2>&1 ||
  { echo "compare_exiftool_rating.sh: set LUMARKO to the lumarko command" >&2; exit 1; }
mkdir -p "$work"
work=$(cd "$work" && pwd)
export LUMARKO_CONFIG_DIR="$work/config" XDG_DATA_HOME="$work/data"

[ -d "$work/pictures" ] || "$here/make_pictures.sh" "$work/pictures" "$count" >/dev/null
printf 'rules:\n  - name: bench\n    actions:\n      - Action.SetXMPRating: { rating: one-more }\n' \
  >"$work/rules.yaml"
fresh() { rm -rf "$work/in" && cp -r "$work/pictures" "$work/in" && sync; }
# measure ROUND NAME COMMAND...: remembers "round name wall cpu" of one run on fresh pictures.
measure() {
  round=$1 name=$2
  shift 2
  fresh
  /usr/bin/time -f '%e %U %S' -o "$work/time" "$@" >/dev/null 2>&1
  read -r wall user sys <"$work/time"
  echo "$round $name $wall $(echo "$user $sys" | awk '{ print $1 + $2 }')" >>"$work/results"
}
: >"$work/results"
echo "$count pictures, $rounds rounds, work folder $work ($(df -T "$work" | awk 'NR == 2 { print $2 }'))"
round=1
while [ "$round" -le "$rounds" ]; do
  measure "$round" lumarko "$lumarko" apply "$work/rules.yaml" "$work/in" --mode all
  measure "$round" exiftool exiftool -q -overwrite_original -XMP:Rating=4 "$work/in"
  echo "round $round of $rounds done" >&2
  round=$((round + 1))
done
awk -v n="$count" '
  function rate(t) { return n / (t > 0 ? t : 0.01) }
  { wall[$1, $2] = $3; cpu[$1, $2] = $4; if ($1 > rounds) rounds = $1 }
  # sorted(a, k): sorts a[1..k] in place (k is small).
  function sorted(a, k,   i, j, x) {
    for (i = 2; i <= k; i++) { x = a[i]; for (j = i - 1; j >= 1 && a[j] > x; j--) a[j + 1] = a[j]; a[j + 1] = x }
  }
  function show(label, a, k) {
    sorted(a, k)
    printf "%-34s %8.1f %8.1f %8.1f\n", label, a[1], a[int((k + 1) / 2)], a[k]
  }
  END {
    printf "%-34s %8s %8s %8s\n", "", "min", "median", "max"
    for (r = 1; r <= rounds; r++) { a[r] = rate(wall[r, "lumarko"]) } show("lumarko files/s wall", a, rounds)
    for (r = 1; r <= rounds; r++) { a[r] = rate(cpu[r, "lumarko"]) } show("lumarko files/CPU-s", a, rounds)
    for (r = 1; r <= rounds; r++) { a[r] = rate(wall[r, "exiftool"]) } show("exiftool files/s wall", a, rounds)
    for (r = 1; r <= rounds; r++) { a[r] = rate(cpu[r, "exiftool"]) } show("exiftool files/CPU-s", a, rounds)
    for (r = 1; r <= rounds; r++) { a[r] = wall[r, "exiftool"] / wall[r, "lumarko"] } show("lumarko / exiftool, wall", a, rounds)
    for (r = 1; r <= rounds; r++) { a[r] = cpu[r, "exiftool"] / (cpu[r, "lumarko"] > 0 ? cpu[r, "lumarko"] : 0.01) } show("lumarko / exiftool, CPU", a, rounds)
  }' "$work/results"
