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

# check NAME CODE STDOUT_PATTERN STDERR_PATTERN -- ARGS...: runs lumarko in $WORK, for at most
# a minute; each pattern, an extended regular expression, must match the whole stream with its
# lines joined by '#' ("a: 1#b: 2"); an empty pattern demands empty output, '*' takes any.
check() {
  name=$1 code=$2 out_pattern=$3 err_pattern=$4
  shift 5
  (cd "$WORK" && timeout 60 "$LUMARKO" "$@") >"$WORK/out" 2>"$WORK/err"
  actual=$?
  ok=1
  [ "$actual" -eq "$code" ] || { echo "$name: exit code $actual, expected $code"; ok=0; }
  for stream in out err; do
    if [ "$stream" = out ]; then pattern=$out_pattern; else pattern=$err_pattern; fi
    if [ "$pattern" = '*' ]; then
      :
    elif [ -z "$pattern" ]; then
      [ ! -s "$WORK/$stream" ] || { echo "$name: unexpected std$stream:"; cat "$WORK/$stream"; ok=0; }
    elif ! tr '\n' '#' <"$WORK/$stream" | grep -Eq "^($pattern)#$"; then
      echo "$name: std$stream is not /$pattern/:"; cat "$WORK/$stream"; ok=0
    fi
  done
  [ $ok -eq 1 ] && echo "ok   $name" || fail "$name"
}

finish() {
  if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
  fi
  echo "all checks passed"
}
