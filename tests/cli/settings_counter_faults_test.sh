#!/bin/sh
# Renames pictures by {AutoIncrement} with overwrite on while the settings database is damaged,
# foreign, read-only, busy, missing or a folder: every run either fails the renames with an
# error naming the database and its fault, or waits and hands out fresh values. No value is
# ever repeated, no picture is replaced, and a damaged file is left exactly as it was.
# Usage: settings_counter_faults_test.sh <path of lumarko> <samples folder>
# (it runs itself as "... inner <work folder>" in a private mount namespace for one case)
set -u
. "$(dirname "$0")/cli_case.sh"
if [ "${3:-}" = inner ]; then rm -rf "$WORK"; trap - EXIT INT TERM; WORK=$4; fi
chmod 755 "$WORK"  # the read-only case runs as another user
unset LUMARKO_SETTINGS_WAIT
PICTURES="street_2023.jpg night_2024.jpg harbour_2023.jpg"

# Runs lumarko as the case's user with the case's settings, output in $DIR/out and $DIR/err.
lmk() {
  LUMARKO_CONFIG_DIR=$DIR/config XDG_DATA_HOME=$DIR/data $AS "$LUMARKO" "$@" \
    >"$DIR/out" 2>"$DIR/err"
}

# A fresh case folder: three pictures and a valid database whose counter stands at 1.
prepare() {
  DIR=$WORK/$1 AS=
  mkdir -p "$DIR/pictures" "$DIR/config"
  for picture in $PICTURES; do cp "$SAMPLES/$picture" "$DIR/pictures/"; done
  printf 'rules:\n  - name: Number\n    actions:\n      - Action.Rename: { template: "n{AutoIncrement}", overwrite: true }\n' >"$DIR/rules.yaml"
  DB=$DIR/config/settings.db
  lmk template --live '{AutoIncrement}' "$DIR/pictures/street_2023.jpg" || fail "$1: seeding"
}

# hold SECONDS: another program holds the database for writing.
hold() {
  python3 - "$DB" "$1" "$DIR/held" <<'PY' &
import sqlite3, sys, time
db = sqlite3.connect(sys.argv[1], isolation_level=None)
db.execute("BEGIN IMMEDIATE")
open(sys.argv[3], "w").close()
time.sleep(float(sys.argv[2]))
db.execute("COMMIT")
PY
  HOLDER=$!
  for _ in $(seq 100); do [ -e "$DIR/held" ] && return; sleep 0.05; done
  fail "$NAME: the database was never held"
}

damage() {  # damage CASE
  case $1 in
    garbage) head -c 8192 /dev/urandom >"$DB" ;;
    truncated) truncate -s 6000 "$DB" ;;
    emptied) : >"$DB" ;;
    flipped_bytes)
      python3 -c 'import sys
data = bytearray(open(sys.argv[1], "rb").read())
for page in (4096, 8192):
    for i in range(page, page + 16): data[i] ^= 0xFF
open(sys.argv[1], "wb").write(data)' "$DB" ;;
    foreign)
      rm -f "$DB"*
      python3 -c 'import sqlite3, sys; sqlite3.connect(sys.argv[1]).execute("CREATE TABLE t(x)")' "$DB" ;;
    folder) rm -f "$DB"*; mkdir "$DB" ;;
    missing) rm -f "$DB"* ;;
    read_only)
      chmod 444 "$DB"
      # The file's mode does not bind root: the run is made as another user.
      if [ "$(id -u)" -eq 0 ]; then chown -R nobody "$DIR"; AS="setpriv --reuid=nobody --regid=nogroup --clear-groups"; fi ;;
    busy_briefly) hold 2; export LUMARKO_SETTINGS_WAIT=8 ;;
    busy_too_long) hold 60; export LUMARKO_SETTINGS_WAIT=0.5 ;;
    read_only_file_system)
      mount -t tmpfs lmk-test "$DIR/config" && lmk template --live '{AutoIncrement}' "$DIR/pictures/street_2023.jpg" &&
        mount -o remount,ro "$DIR/config" || fail "$NAME: cannot make a read-only file system" ;;
  esac
}

# scenario CASE NAMES PREVIEW FAULT: damages the database, renames by counter, checks.
# NAMES: the pictures' names after the run ("n1 n2 n3"), or "kept" when every rename must fail
# with FAULT (an extended regular expression following the database's path in each error);
# PREVIEW: what `lumarko template` shows, or "fails" when it must fail with FAULT.
scenario() {
  NAME=$1 names=$2 preview=$3 fault=$4 HOLDER=
  prepare "$NAME"
  damage "$NAME"
  before=$(cksum "$DB" 2>/dev/null)
  lmk apply "$DIR/rules.yaml" "$DIR/pictures" --mode all
  status=$?
  [ -n "$HOLDER" ] && kill "$HOLDER" 2>/dev/null
  [ -n "$HOLDER" ] && wait "$HOLDER" 2>/dev/null
  unset LUMARKO_SETTINGS_WAIT
  count=$(ls "$DIR/pictures" | wc -l)
  [ "$count" -eq 3 ] || fail "$NAME: $count pictures left, expected 3: $(ls "$DIR/pictures" | tr '\n' ' ')"
  if [ "$names" = kept ]; then
    [ "$status" -eq 4 ] || fail "$NAME: exit status $status, expected 4 (errors)"
    for picture in $PICTURES; do
      [ -e "$DIR/pictures/$picture" ] || fail "$NAME: $picture was renamed"
    done
    [ "$(cksum "$DB" 2>/dev/null)" = "$before" ] || fail "$NAME: the database was changed"
    lmk events --filter errors
    errors=$(grep -Ec "counter \"AutoIncrementValue\" cannot be read or advanced.*settings database $DB $fault" "$DIR/out")
    [ "$errors" -eq 3 ] || { fail "$NAME: $errors errors naming the fault, expected 3"; sed 's/^/  /' "$DIR/out"; }
  else
    [ "$status" -eq 0 ] || { fail "$NAME: exit status $status, expected 0"; sed 's/^/  /' "$DIR/out" "$DIR/err"; }
    got=$(ls "$DIR/pictures" | sed 's/\.jpg$//' | sort | tr '\n' ' ')
    [ "$got" = "$names " ] || fail "$NAME: pictures named '$got', expected '$names'"
  fi
  [ "$NAME" = busy_too_long ] && return  # the holder is gone: the preview would read the next value
  lmk template '{AutoIncrement}' "$SAMPLES/street_2023.jpg"
  status=$?
  if [ "$preview" = fails ]; then
    [ "$status" -eq 1 ] && [ ! -s "$DIR/out" ] && grep -Eq "settings database $DB $fault" "$DIR/err" ||
      { fail "$NAME: preview status $status, out '$(cat "$DIR/out")', err '$(cat "$DIR/err")'"; }
  else
    [ "$status" -eq 0 ] && [ "$(cat "$DIR/out")" = "$preview" ] ||
      fail "$NAME: preview status $status, shows '$(cat "$DIR/out")', expected '$preview'"
  fi
}

if [ "${3:-}" = inner ]; then
  scenario read_only_file_system kept fails "is on a read-only file system"
  exit "$failures"
fi

scenario garbage kept fails "is damaged \(file is not a database\)"
scenario truncated kept fails "is damaged \(database disk image is malformed\)"
scenario emptied kept fails "is damaged \(the file is empty"
scenario flipped_bytes kept fails "is damaged \(integrity check"
scenario foreign kept fails "is not one this program can use \(it belongs to another program\)"
scenario folder kept fails "is a folder, not a database file"
scenario missing "n0 n1 n2" 3 ""
leftovers=$(ls -A "$WORK/missing/config" | grep -Ev '^settings\.db(-wal|-shm)?$')
[ -z "$leftovers" ] || fail "missing: files left beside the new database: $leftovers"
if [ "$(id -u)" -ne 0 ] || command -v setpriv >/dev/null; then
  scenario read_only kept 1 "is read-only"
else
  echo "SKIP read_only: root ignores file modes and setpriv is missing"
fi
scenario busy_briefly "n1 n2 n3" 4 ""
scenario busy_too_long kept - "is busy: another program has held it for 0.5 s"

# A read-only file system needs a mount of its own, which only root may make, in a private
# mount namespace so that nothing outside the test sees it.
mkdir -p "$WORK/probe"
if [ "$(id -u)" -eq 0 ] && unshare -m mount -t tmpfs lmk-probe "$WORK/probe" 2>/dev/null; then
  mkdir -p "$WORK/read_only_file_system"
  unshare -m sh "$0" "$LUMARKO" "$SAMPLES" inner "$WORK"
  failures=$((failures + $?))
else
  echo "SKIP read_only_file_system: mounting needs root and a private mount namespace"
fi

# A run whose templates need no counter still runs, with one warning naming the database.
prepare no_counter
damage garbage
sed -i 's/n{AutoIncrement}/x_{FileName}/' "$DIR/rules.yaml"
lmk apply "$DIR/rules.yaml" "$DIR/pictures" --mode all
status=$?
[ "$status" -eq 3 ] || fail "no_counter: exit status $status, expected 3 (warnings)"
[ -e "$DIR/pictures/x_street_2023.jpg" ] || fail "no_counter: the pictures were not renamed"
lmk events --filter warnings
warnings=$(grep -c "^Warning" "$DIR/out")
[ "$warnings" -eq 1 ] && grep -q "Settings database $DB is damaged" "$DIR/out" ||
  { fail "no_counter: $warnings warnings, expected one naming the database"; sed 's/^/  /' "$DIR/out"; }

# A copy into a folder named by counter fails the same way, with the database's reason, and copies nothing.
prepare copy
damage garbage
printf 'rules:\n  - name: Copy\n    actions:\n      - Action.Copy: { destination: "%s/{AutoIncrement}" }\n' "$DIR/copies" >"$DIR/rules.yaml"
lmk apply "$DIR/rules.yaml" "$DIR/pictures" --mode all
status=$?
[ "$status" -eq 4 ] || fail "copy: exit status $status, expected 4 (errors)"
[ -z "$(ls -A "$DIR/copies" 2>/dev/null)" ] || fail "copy: pictures were copied"
lmk events --filter errors
errors=$(grep -Ec "AutoIncrementValue.*settings database $DB is damaged" "$DIR/out")
[ "$errors" -eq 3 ] || { fail "copy: $errors errors naming the database, expected 3"; sed 's/^/  /' "$DIR/out"; }

finish
