#!/bin/sh
# Compares `lumarko apply` with exiftool on the same generated pictures: move by date taken
# into year/month folders, copy by date, rename by date; with a read-and-rename loop over a
# precomputed list (the floor) and `cp -r` of the tree for reference. Prints files per second
# and the ratios. A measurement, not a test: run it on a quiet machine. lumarko, the floor and
# cp -r each run REPEATS times (3) on fresh trees, and the best run counts.
#
#   LUMARKO=build/release/bin/lumarko [REPEATS=3] bench/compare_exiftool.sh [N=5000] [WORK_DIR]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
me=compare_exiftool.sh
count=${1:-5000}
. "$here/lib.sh"
lmk_need exiftool
lmk_setup "${2:-$(mktemp -d "${TMPDIR:-/tmp}/lumarko-bench.XXXXXX")}"
pictures="$work/pictures"
lmk_pictures "$pictures" "$count"
files=$(find "$pictures" -maxdepth 1 -type f -name '*.jpg' | wc -l)

now() { date +%s.%N; }
# rate NAME START END: prints and remembers files per second of one measurement.
rate() {
  r=$(awk -v n="$files" -v s="$2" -v e="$3" 'BEGIN { t = e - s; printf "%.0f", (t > 0 ? n / t : 0) }')
  printf '%-28s %8s files/s\n' "$1" "$r"
  eval "rate_$4=$r"
}
# fresh: an untouched copy of the pictures (not timed), and an empty output folder. Earlier
# trees are set aside and deleted only at the end: ext4 searches past inodes freed in the last
# minutes when it creates files, which would charge one measurement for the previous one.
fresh() {
  mkdir -p "$work/old"
  for tree in "$work/in" "$work/out"; do
    [ -e "$tree" ] && mv "$tree" "$work/old/$(basename "$tree").$$.$(date +%s%N)"
  done
  cp -r "$pictures" "$work/in"
  mkdir -p "$work/out"
  sync
}
rules() {
  cat >"$work/rules.yaml" <<YAML
rules:
  - name: bench
    actions:
      - $1
YAML
}
# Runs of the fast commands are repeated on fresh trees and the best kept: on a shared
# machine one run of a fraction of a second can take twice as long as the next, and the speed
# of the machine drifts over minutes. Each reference (the floor, cp -r) therefore runs right
# after the lumarko run it is compared with, in the same repeats. exiftool's runs take minutes
# and are measured once, which if anything flatters exiftool.
repeats=${REPEATS:-3}

# best NEW OLD: the larger of two rates.
best() { awk -v a="$1" -v b="${2:-0}" 'BEGIN { printf "%.0f", (a > b ? a : b) }'; }
# per_second START END: files per second between two times.
per_second() { awk -v n="$files" -v s="$1" -v e="$2" 'BEGIN { t = e - s; printf "%.0f", (t > 0 ? n / t : 0) }'; }

# The floor (bench/lib.sh): read the first 64 KiB of each file and rename it, names computed
# beforehand.
floor=""
if lmk_helpers; then floor="$work/floor"; fi

# measure NAME KEY [REFNAME REFKEY COMMAND...]: runs the rule set over fresh pictures, and the
# reference command (if any) over fresh pictures right after it, `repeats` times. Prints the
# rate of the whole command (start-up, listing and the final flush included, as exiftool's and
# cp's rates include theirs), the processing rate that lumarko reports (first picture to the end
# of the range), and the reference's rate. The ratios are taken from the whole commands.
measure() {
  name=$1
  key=$2
  shift 2
  refname=""
  refkey=""
  if [ $# -gt 2 ]; then
    refname=$1
    refkey=$2
    shift 2
  fi
  r=0
  whole=0
  ref=0
  i=0
  while [ "$i" -lt "$repeats" ]; do
    fresh
    s=$(now)
    report=$("$lumarko" apply "$work/rules.yaml" "$work/in" --mode all --verbose)
    e=$(now)
    r=$(best "$(printf '%s\n' "$report" | awk '/^processed /{ printf "%.0f", $(NF-1) }')" "$r")
    whole=$(best "$(per_second "$s" "$e")" "$whole")
    if [ -n "$refkey" ]; then
      fresh
      find "$work/in" -maxdepth 1 -type f -name '*.jpg' | awk '{ print $0 "\t" $0 ".renamed" }' >"$work/list"
      s=$(now)
      "$@"
      e=$(now)
      ref=$(best "$(per_second "$s" "$e")" "$ref")
    fi
    i=$((i + 1))
  done
  printf '%-28s %8s files/s (processing alone: %s files/s)\n' "$name" "$whole" "$r"
  eval "rate_$key=$whole"
  if [ -n "$refkey" ]; then
    printf '%-28s %8s files/s\n' "$refname" "$ref"
    eval "rate_$refkey=$ref"
  fi
}

echo "$files pictures in $pictures"

rules "Action.Move: { destination: \"$work/out/{DateTaken:Year}/{DateTaken:Month0}\" }"
if [ -n "$floor" ]; then
  measure "lumarko move by date" lmove "read-and-rename floor" floor "$floor" "$work/list"
else
  echo "no C compiler: the floor is not measured"
  rate_floor=0
  measure "lumarko move by date" lmove
fi
fresh
s=$(now); exiftool -q -q '-Directory<DateTimeOriginal' -d "$work/out/%Y/%m" "$work/in"; e=$(now)
rate "exiftool move by date" "$s" "$e" xmove

rules "Action.Copy: { destination: \"$work/out/{DateTaken:Year}/{DateTaken:Month0}\" }"
measure "lumarko copy by date" lcopy "cp -r of the tree" cp \
  sh -c 'cp -r "$1/in" "$1/out/tree" && sync' sh "$work"
fresh
s=$(now); exiftool -q -q -o . '-Directory<DateTimeOriginal' -d "$work/out/%Y/%m" "$work/in"; e=$(now)
rate "exiftool copy by date" "$s" "$e" xcopy

rules "Action.Rename: { template: \"{DateTaken:6}_{DateTaken:11}_{FileName}\" }"
measure "lumarko rename by date" lrename
fresh
s=$(now); exiftool -q -q '-FileName<DateTimeOriginal' -d '%Y%m%d_%H%M%S_%%f.%%e' "$work/in"; e=$(now)
rate "exiftool rename by date" "$s" "$e" xrename

echo
awk -v lm="$rate_lmove" -v xm="$rate_xmove" -v lc="$rate_lcopy" -v xc="$rate_xcopy" \
    -v lr="$rate_lrename" -v xr="$rate_xrename" -v fl="$rate_floor" -v cp="$rate_cp" 'BEGIN {
  printf "move:   %.1f x exiftool (target >= 50), floor / lumarko %.1f (target <= 5)\n",
         (xm > 0 ? lm / xm : 0), (lm > 0 ? fl / lm : 0)
  printf "copy:   %.1f x exiftool (target >= 10), cp -r / lumarko %.2f (target <= 1.5)\n",
         (xc > 0 ? lc / xc : 0), (lc > 0 ? cp / lc : 0)
  printf "rename: %.1f x exiftool (target >= 50)\n", (xr > 0 ? lr / xr : 0)
}'
rm -rf "$work/in" "$work/out" "$work/old"
