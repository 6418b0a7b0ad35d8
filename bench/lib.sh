# The set-up that the comparison scripts share, sourced by them (not run): the work folder,
# the lumarko command, the generated pictures, and two small C helpers (`timed` and the floor).
# Before sourcing, a script sets `here` (the bench folder) and `me` (its own name, for messages).

# lmk_setup WORK_DIR: makes the work folder (tmpfs when none is named and /dev/shm can be used,
# so that the disk does not hide the processor), makes `lumarko` an absolute command (every
# command may run inside the pictures' folder, where a relative path would be taken from), and
# keeps the run's settings inside the work folder. Sets `work` and `lumarko`.
lmk_setup() {
  default_work=${TMPDIR:-/tmp}
  [ -d /dev/shm ] && [ -w /dev/shm ] && default_work=/dev/shm
  work=${1:-$(mktemp -d "$default_work/lumarko-bench.XXXXXX")}
  lumarko=${LUMARKO:-lumarko}
  case $lumarko in
    */*) [ -x "$lumarko" ] && lumarko=$(cd "$(dirname "$lumarko")" && pwd)/$(basename "$lumarko") ;;
  esac
  command -v "$lumarko" >/dev/null 2>&1 ||
    { echo "$me: set LUMARKO to the lumarko command" >&2; exit 1; }
  mkdir -p "$work"
  work=$(cd "$work" && pwd)
  export LUMARKO_CONFIG_DIR="$work/config"
}

# lmk_need TOOL...: stops with a hint when a tool is missing.
lmk_need() {
  for tool in "$@"; do
    command -v "$tool" >/dev/null 2>&1 ||
      { echo "$me: $tool is missing (make bench installs it)" >&2; exit 1; }
  done
}

# lmk_pictures DIR N: N pictures in DIR, made once and kept: up to 5,000 made by
# make_pictures.sh, then copies of those under new names, since exiftool writes a few hundred
# pictures per second at best.
lmk_pictures() {
  [ -d "$1" ] && return 0
  base=$2
  [ "$base" -gt 5000 ] && base=5000
  "$here/make_pictures.sh" "$1.tmp" "$base" >/dev/null
  i=$((base + 1))
  while [ "$i" -le "$2" ]; do
    cp "$(printf '%s/pic_%05d.jpg' "$1.tmp" $(((i - 1) % base + 1)))" \
      "$(printf '%s/pic_%05d.jpg' "$1.tmp" "$i")"
    i=$((i + 1))
  done
  mv "$1.tmp" "$1"
}

# lmk_helpers: builds "$work/timed" and "$work/floor"; returns non-zero without a C compiler.
#   timed COMMAND...   runs the command (its output thrown away) and prints its wall time in
#                      seconds and its peak resident size in KiB.
#   floor LIST [copy]  for each "from<TAB>to" line, reads the first 64 KiB of `from`, then
#                      renames it to `to` (or, with `copy`, writes what it read to `to` through
#                      a temporary name): the least any tool can do, with the names known.
lmk_helpers() {
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
  cc -O2 -o "$work/timed" "$work/timed.c" 2>/dev/null && cc -O2 -o "$work/floor" "$work/floor.c" 2>/dev/null
}
