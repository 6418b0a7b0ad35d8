# Shared by the command-line regression cases: a private work folder, settings and log, and
# checks that count failures. Source it from a case run as `case.sh <lumarko> [<samples folder>]`;
# call `finish` last.
LUMARKO=$1
SAMPLES=${2:-}
WORK=$(mktemp -d "${TMPDIR:-/tmp}/lmk-cli-case-XXXXXX") || exit 1
trap 'rm -rf "$WORK"' EXIT INT TERM
LUMARKO_CONFIG_DIR=$WORK/config
XDG_DATA_HOME=$WORK/data
export LUMARKO_CONFIG_DIR XDG_DATA_HOME
unset LUMARKO_PLUGIN
failures=0

# pictures NAME...: copies these samples into $WORK/pictures.
pictures() {
  mkdir -p "$WORK/pictures"
  for picture in "$@"; do cp "$SAMPLES/$picture" "$WORK/pictures/" || exit 1; done
}

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

# run NAME CODE ARGS...: runs lumarko with stdout and stderr in $WORK/out and $WORK/err.
run() {
  name=$1 code=$2
  shift 2
  "$LUMARKO" "$@" >"$WORK/out" 2>"$WORK/err"
  actual=$?
  if [ "$actual" -ne "$code" ]; then
    fail "$name: exit status $actual, expected $code"
    sed 's/^/  out: /' "$WORK/out"
    sed 's/^/  err: /' "$WORK/err"
  fi
}

# same NAME FILE EXPECTED: the whole of $WORK/FILE is EXPECTED.
same() {
  printf '%s\n' "$3" >"$WORK/expected"
  diff -u "$WORK/expected" "$WORK/$2" >"$WORK/diff" || { fail "$1: $2 differs"; cat "$WORK/diff"; }
}

# has NAME FILE PATTERN: $WORK/FILE matches the extended regular expression PATTERN.
has() {
  grep -Eq -- "$3" "$WORK/$2" || { fail "$1: $2 lacks /$3/"; sed 's/^/  /' "$WORK/$2"; }
}

# lacks NAME FILE PATTERN: $WORK/FILE does not match PATTERN.
lacks() {
  ! grep -Eq -- "$3" "$WORK/$2" || { fail "$1: $2 has /$3/"; sed 's/^/  /' "$WORK/$2"; }
}

finish() {
  if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
  fi
  echo "all checks passed"
}
