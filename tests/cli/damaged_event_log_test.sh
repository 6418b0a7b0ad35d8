#!/bin/sh
# Regression: a damaged event log was reported as "cannot read <log>: failed (0x8007000D)" or
# only warned about. `lumarko events` must list the events before the damage, then say on
# stderr what is wrong and at which byte, and exit with 1.
# Usage: damaged_event_log_test.sh <path of lumarko> <samples folder>
set -u
LUMARKO=$1
SAMPLES=$2
WORK=$(mktemp -d "${TMPDIR:-/tmp}/lmk-damage-test-XXXXXX") || exit 1
trap 'rm -rf "$WORK"' EXIT INT TERM
LUMARKO_CONFIG_DIR=$WORK/config
XDG_DATA_HOME=$WORK/data
export LUMARKO_CONFIG_DIR XDG_DATA_HOME
unset LUMARKO_PLUGIN

# A real log to damage: the run's start and end, one file's line.
mkdir "$WORK/pics"
cp "$SAMPLES/harbour_2023.jpg" "$WORK/pics/"
printf 'rules:\n  - name: Everything\n' >"$WORK/r.yaml"
"$LUMARKO" apply "$WORK/r.yaml" "$WORK/pics" --mode all >/dev/null 2>&1 || { echo "apply failed"; exit 1; }
LOG=$XDG_DATA_HOME/Lumarko/Logs/LMKBatchProcessorLog.etl
SIZE=$(wc -c <"$LOG")
BLOCK=$(od -An -tu4 -N4 "$LOG" | tr -d ' ')  # the header's size: the first event starts there
LINES=$("$LUMARKO" events --log "$LOG" | wc -l)
[ "$LINES" -eq 3 ] || { echo "the intact log lists $LINES events, expected 3"; exit 1; }

poke() {  # poke FILE OFFSET OCTAL: one byte overwritten
  printf "\\$3" | dd of="$1" bs=1 seek="$2" conv=notrunc 2>/dev/null
}

failures=0
# case NAME EVENTS STDERR_PATTERN: makes $WORK/d.etl with the function damage_NAME, then checks
# the number of listed events, the exit status 1 and the one line on stderr.
case_() {
  name=$1 events=$2 pattern=$3
  cp "$LOG" "$WORK/d.etl"
  "damage_$name" "$WORK/d.etl"
  "$LUMARKO" events --log "$WORK/d.etl" >"$WORK/out" 2>"$WORK/err"
  status=$?
  listed=$(wc -l <"$WORK/out")
  ok=1
  [ "$status" -eq 1 ] || { echo "$name: exit status $status, expected 1"; ok=0; }
  [ "$listed" -eq "$events" ] || { echo "$name: $listed events listed, expected $events"; ok=0; }
  tr '\n' '#' <"$WORK/err" | grep -Eq "^lumarko: error: ($pattern)#$" ||
    { echo "$name: stderr is not /$pattern/:"; cat "$WORK/err"; ok=0; }
  if [ $ok -eq 1 ]; then echo "ok   $name"; else echo "FAIL $name"; failures=$((failures + 1)); fi
}
head_() { head -c "$2" "$LOG" >"$1"; }

damaged="damaged event log: The event log \"$WORK/d.etl\""
unreadable="cannot read $WORK/d.etl: The event log \"$WORK/d.etl\" cannot be read"

damage_cut_in_first_event() { head_ "$1" $((BLOCK + 10)); }
case_ cut_in_first_event 0 "$damaged is cut short at byte $BLOCK: the file ends inside an event\. The 0 event\(s\) before it are shown; .*"
damage_cut_in_last_byte() { head_ "$1" $((SIZE - 1)); }
case_ cut_in_last_byte 2 "$damaged is cut short at byte [0-9]+: the file ends inside an event\. The 2 event\(s\) .*"
damage_cut_in_header() { head_ "$1" 100; }
case_ cut_in_header 0 "$unreadable: the file ends inside its header\. .*"
damage_zero_length() { : >"$1"; }
case_ zero_length 0 "$unreadable: the file is empty\. .*"
damage_bad_header() { poke "$1" 24 377; }
case_ bad_header 0 "$unreadable: its header does not carry this program's mark\. .*"
damage_flipped_level() { poke "$1" $((BLOCK + 5)) 011; }
case_ flipped_level 0 "$damaged is damaged at byte $BLOCK: an event's level is 9 \(1 to 5 expected\)\. .*"
damage_garbage() { head -c 3000 /dev/zero | tr '\0' 'G' >"$1"; }
case_ garbage 0 "$unreadable: its header announces [0-9]+ bytes, which no log header has\. .*"
damage_random_tail() { printf '\023\067\300\377\356' >>"$1"; }
case_ random_tail 3 "$damaged is damaged at byte $SIZE: an event's size field says 14099 bytes \(48 or 64 expected\)\. .*"

[ $failures -eq 0 ] || { echo "$failures failure(s)"; exit 1; }
