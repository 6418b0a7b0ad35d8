#!/bin/sh
# Compares `lumarko apply` with the native tools photographers use for the same jobs, on the
# same generated pictures: rename by date (`jhead -n`, `exiv2 rename`), move into year/month
# folders (`jhead -n` with a path), copy into year/month folders (`cp -r` of the tree), and a
# rule that only selects. The C floors of compare_exiftool.sh (read and rename from a
# precomputed list; read and copy) run beside them. A measurement, not a test.
#
# Every round runs each command once on a fresh copy of the pictures, one command after the
# other, so that a machine whose speed drifts charges every command alike; each ratio is taken
# within a round and printed as min/median/max over the rounds. Peak memory is the largest
# resident size of a run. The work folder is on tmpfs (/dev/shm) unless named, so that the disk
# does not hide the processor; on ext4, see the notes in compare_exiftool.sh.
#
#   LUMARKO=build/bench/bin/lumarko [ROUNDS=5] bench/compare_native.sh [N=5000] [WORK_DIR]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
me=compare_native.sh
count=${1:-5000}
rounds=${ROUNDS:-5}
. "$here/lib.sh"
lmk_need jhead exiv2 exiftool cc
lmk_setup "${2:-}"
pictures="$work/pictures-$count"
lmk_pictures "$pictures" "$count"
lmk_helpers || { echo "$me: the C helpers do not compile" >&2; exit 1; }

rules() {
  cat >"$work/$1.yaml" <<YAML
rules:
  - name: bench
$2
YAML
}
rules select "    conditions:
      - Condition.FileType: { type: jpeg }"
rules rename "    actions:
      - Action.Rename: { template: \"{DateTaken:6}_{DateTaken:11}_{FileName}\" }"
# Renaming by counter, against renaming by date: counter values come from blocks reserved per run.
rules counter "    actions:
      - Action.Rename: { template: \"n{AutoIncrement:6}_{FileName}\" }"
rules move "    actions:
      - Action.Move: { destination: \"$work/out/{DateTaken:Year}/{DateTaken:Month0}\" }"
rules copy "    actions:
      - Action.Copy: { destination: \"$work/out/{DateTaken:Year}/{DateTaken:Month0}\" }"

# fresh: an untouched copy of the pictures and an empty output folder (not timed).
fresh() {
  rm -rf "$work/in" "$work/out"
  cp -r "$pictures" "$work/in"
  mkdir -p "$work/out"
}

results="$work/results"
: >"$results"
# run JOB TOOL COMMAND...: one timed run on fresh pictures, remembered as "round job tool s kib".
run() {
  job=$1
  tool=$2
  shift 2
  fresh
  if [ "$tool" = floor ]; then
    find "$work/in" -maxdepth 1 -type f -name '*.jpg' |
      awk -v out="$work/out" -v copy="$job" '{
        n = split($0, p, "/")
        print $0 "\t" (copy == "copy" ? out "/" p[n] : $0 ".renamed")
      }' >"$work/list"
  fi
  measured=$(cd "$work/in" && "$work/timed" "$@") ||
    { echo "compare_native.sh: $tool failed at $job" >&2; exit 1; }
  echo "$round $job $tool $measured" >>"$results"
}

files=$(find "$pictures" -maxdepth 1 -type f -name '*.jpg' | wc -l)
echo "$files pictures, $rounds rounds, work folder $work"
round=1
while [ "$round" -le "$rounds" ]; do
  apply() { run "$1" lumarko "$lumarko" apply "$work/$1.yaml" "$work/in" --mode all; }
  apply rename
  apply counter
  run rename jhead jhead -q -n%Y%m%d_%H%M%S_%f $(ls "$pictures")
  run rename exiv2 exiv2 -q -F -r %Y%m%d_%H%M%S_:basename: rename $(ls "$pictures")
  run rename floor "$work/floor" "$work/list"
  apply move
  run move jhead jhead -q "-n$work/out/%Y/%m/%f" $(ls "$pictures")
  run move floor "$work/floor" "$work/list"
  apply copy
  run copy cp cp -r "$work/in" "$work/out/tree"
  run copy floor "$work/floor" "$work/list" copy
  apply select
  echo "round $round of $rounds done" >&2
  round=$((round + 1))
done

# Per job: each tool's median time and peak memory, and lumarko's time over the tool's, as
# min/median/max of the per-round ratios; select-only in pictures per second.
awk -v files="$files" '
  function isort(a, n,   i, j, t) {
    for (i = 2; i <= n; i++) { t = a[i]; for (j = i - 1; j >= 1 && a[j] > t; j--) a[j + 1] = a[j]; a[j + 1] = t }
  }
  function median(a, n) { isort(a, n); return n % 2 ? a[(n + 1) / 2] : (a[n / 2] + a[n / 2 + 1]) / 2 }
  { t[$2, $3, $1] = $4; if ($5 > mem[$2, $3]) mem[$2, $3] = $5; tools[$2, $3] = 1; if ($1 > rounds) rounds = $1 }
  END {
    printf "%-7s %-8s %9s %10s %11s   %s\n", "job", "tool", "median s", "files/s", "peak MiB", "lumarko / tool: min median max"
    split("rename move copy select", jobs, " ")
    split("lumarko jhead exiv2 cp floor", names, " ")
    for (j = 1; j <= 4; j++) for (k = 1; k <= 5; k++) {
      job = jobs[j]; tool = names[k]
      if (!((job, tool) in tools)) continue
      n = 0; m = 0
      for (r = 1; r <= rounds; r++) {
        if ((job, tool, r) in t) { s[++n] = t[job, tool, r] }
        if (tool != "lumarko" && (job, tool, r) in t && (job, "lumarko", r) in t)
          q[++m] = t[job, "lumarko", r] / t[job, tool, r]
      }
      med = median(s, n)
      line = sprintf("%-7s %-8s %9.3f %10.0f %11.1f", job, tool, med, files / med, mem[job, tool] / 1024)
      if (m > 0) { isort(q, m); line = line sprintf("   %.2f %.2f %.2f", q[1], median(q, m), q[m]) }
      print line
    }
    m = 0
    for (r = 1; r <= rounds; r++)
      if (("counter", "lumarko", r) in t && ("rename", "lumarko", r) in t) c[++m] = t["counter", "lumarko", r] / t["rename", "lumarko", r]
    if (m > 0) { isort(c, m); printf "rename by counter / rename by date (lumarko): %.2f %.2f %.2f\n", c[1], median(c, m), c[m] }
  }' "$results"
rm -rf "$work/in" "$work/out"
