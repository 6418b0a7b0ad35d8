#!/bin/sh
# Regression: a damaged event log was reported as "cannot read <log>: failed (0x8007000D)" or
# only warned about. `lumarko events` must list the events before the damage, then say on
# stderr what is wrong and at which byte, and exit with 1.
# Usage: damaged_event_log_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

# A real log to damage: the run's start and end, one file's line.
pictures harbour_2023.jpg
printf 'rules:\n  - name: Everything\n' >"$WORK/r.yaml"
"$LUMARKO" apply "$WORK/r.yaml" "$WORK/pictures" --mode all >/dev/null 2>&1 || { echo "apply failed"; exit 1; }
LOG=$XDG_DATA_HOME/Lumarko/Logs/LMKBatchProcessorLog.etl
SIZE=$(wc -c <"$LOG")
BLOCK=$(od -An -tu4 -N4 "$LOG" | tr -d ' ')  # the header's size: the first event starts there
LINES=$("$LUMARKO" events --log "$LOG" | wc -l)
[ "$LINES" -eq 3 ] || { echo "the intact log lists $LINES events, expected 3"; exit 1; }
D=$WORK/d.etl
damaged="damaged event log: The event log \"$D\""
unreadable="cannot read $D: The event log \"$D\" cannot be read"

# Case lines: NAME @ EVENTS LISTED @ DAMAGE (a command on $D, a copy of the log) @ STDERR PATTERN
while IFS=@ read -r name events damage pattern; do
  cp "$LOG" "$D"
  eval "$damage"
  run "$name" 1 events --log "$D"
  listed=$(wc -l <"$WORK/out")
  [ "$listed" -eq "$events" ] || fail "$name: $listed events listed, expected $events"
  pattern=$(eval "printf '%s' \"$pattern\"")
  tr '\n' '#' <"$WORK/err" | grep -Eq "^lumarko: error: ($pattern)#$" ||
    { fail "$name: stderr is not /$pattern/:"; cat "$WORK/err"; }
done <<'CASES'
cut_in_first_event@0@head -c $((BLOCK + 10)) "$LOG" >"$D"@$damaged is cut short at byte $BLOCK: the file ends inside an event\\. The 0 event\\(s\\) before it are shown; .*
zero_length@0@: >"$D"@$unreadable: the file is empty\\. .*
random_tail@3@printf '\023\067\300\377\356' >>"$D"@$damaged is damaged at byte $SIZE: an event's size field says 14099 bytes \\(48 or 64 expected\\)\\. .*
CASES
finish
