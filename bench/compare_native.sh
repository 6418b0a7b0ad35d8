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
count=${1:-5000}
rounds=${ROUNDS:-5}
default_work=${TMPDIR:-/tmp}
[ -d /dev/shm ] && [ -w /dev/shm ] && default_work=/dev/shm
work=${2:-$(mktemp -d "$default_work/lumarko-native.XXXXXX")}
lumarko=${LUMARKO:-lumarko}

for tool in jhead exiv2 exiftool cc; do
  command -v "$tool" >/dev/null 2>&1 ||
    { echo "compare_native.sh: $tool is missing (make bench installs it)" >&2; exit 1; }
done
# Every command runs inside the pictures' folder: a relative path is taken from here first.
case $lumarko in
  */*) [ -x "$lumarko" ] && lumarko=$(cd "$(dirname "$lumarko")" && pwd)/$(basename "$lumarko") ;;
esac
command -v "$lumarko" >/dev/null 2>&1 ||
  { echo "compare_native.sh: set LUMARKO to the lumarko command" >&2; exit 1; }
mkdir -p "$work"
work=$(cd "$work" && pwd)
export LUMARKO_CONFIG_DIR="$work/config"

# The pictures: up to 5,000 made by make_pictures.sh, then copies of those under new names,
# since exiftool writes a few hundred pictures per second at best.
pictures="$work/pictures-$count"
if [ ! -d "$pictures" ]; then
  base=$count
  [ "$base" -gt 5000 ] && base=5000
  "$here/make_pictures.sh" "$pictures.tmp" "$base" >/dev/null
  i=$((base + 1))
  while [ "$i" -le "$count" ]; do
    cp "$(printf '%s/pic_%05d.jpg' "$pictures.tmp" $(((i - 1) % base + 1)))" \
      "$(printf '%s/pic_%05d.jpg' "$pictures.tmp" "$i")"
    i=$((i + 1))
  done
  mv "$pictures.tmp" "$pictures"
fi

# timed: runs a command and prints its wall time in seconds and its peak resident size in KiB.
cat >"$work/timed.c" <<'C'
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
int main(int argc, char** argv) {
  struct timespec s, e;
  struct rusage usage;
  int status = 0;
  if (argc < 2) return 2;
  clock_gettime(CLOCK_MONOTONIC, &s);
  pid_t pid = fork();
  if (pid == 0) {
    freopen("/dev/null", "w", stdout);
    execvp(argv[1], argv + 1);
    _exit(127);
  }
  if (pid < 0 || wait4(pid, &status, 0, &usage) != pid) return 2;
  clock_gettime(CLOCK_MONOTONIC, &e);
  printf("%.4f %ld\n", (e.tv_sec - s.tv_sec) + (e.tv_nsec - s.tv_nsec) / 1e9, usage.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
C
# The floors: read the first 64 KiB of each file, then rename it (or copy it whole into place
# through a temporary name), with the names computed beforehand.
cat >"$work/floor.c" <<'C'
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
int main(int argc, char** argv) {
  static char buffer[65536], line[8192], part[8300];
  int copy = argc > 2;
  FILE* list = fopen(argv[1], "r");
  if (list == NULL) return 1;
  while (fgets(line, sizeof line, list) != NULL) {
    line[strcspn(line, "\n")] = 0;
    char* to = strchr(line, '\t');
    if (to == NULL) continue;
    *to++ = 0;
    int fd = open(line, O_RDONLY);
    ssize_t n = fd < 0 ? -1 : read(fd, buffer, sizeof buffer);
    if (n < 0) return 1;
    if (copy) {
      snprintf(part, sizeof part, "%s.part", to);
      int out = open(part, O_WRONLY | O_CREAT | O_EXCL, 0644);
      if (out < 0 || write(out, buffer, n) != n || close(out) != 0 || rename(part, to) != 0) return 1;
    } else if (rename(line, to) != 0) {
      return 1;
    }
    close(fd);
  }
  return 0;
}
C
cc -O2 -o "$work/timed" "$work/timed.c"
cc -O2 -o "$work/floor" "$work/floor.c"

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
