#!/bin/sh
# Kills `lumarko apply` at random moments while it copies over existing files and while it
# moves files over existing ones to another file system; after one complete run again no
# temporary file is left, no picture is lost and none stands at two places. Then: a move out of
# a read-only folder takes its copy back, and a picture found at both places with the same
# content is finished on the next run while one with other content is reported.
# Runs as root in a private mount namespace on two memory file systems; skipped otherwise.
# Usage: transfer_kill_test.sh <path of lumarko> <samples folder> [kills per case]
set -u
KILLS=${3:-20}
[ "$(id -u)" -eq 0 ] || { echo "SKIP: needs root to mount two memory file systems"; exit 77; }
if [ -z "${LMK_PRIVATE_MOUNTS:-}" ]; then
  unshare -m true 2>/dev/null || { echo "SKIP: root cannot make a private mount namespace"; exit 77; }
  LMK_PRIVATE_MOUNTS=1 exec unshare -m --propagation private sh "$0" "$@"
fi
. "$(dirname "$0")/cli_case.sh"
trap 'umount "$WORK/a/ro-src" "$WORK/a" "$WORK/b" 2>/dev/null; rm -rf "$WORK"' EXIT INT TERM
A=$WORK/a B=$WORK/b
mkdir "$A" "$B"
mount -t tmpfs -o size=512m lmk-a "$A" && mount -t tmpfs -o size=512m lmk-b "$B" ||
  { echo "SKIP: cannot mount memory file systems"; exit 77; }
# Each case runs in its own subshell with its own settings, event log and scratch folder S.
own_state() {  # own_state NAME
  S=$WORK/$1
  mkdir -p "$S"
  LUMARKO_CONFIG_DIR=$S/config XDG_DATA_HOME=$S/data
}
rules() {  # rules FILE ACTION DESTINATION OVERWRITE
  printf 'rules:\n  - name: Everything\n    actions:\n      - %s: { destination: "%s", overwrite: %s }\n' \
    "$2" "$3" "$4" >"$1"
}
random_delay() {  # 0 to 200 ms
  ms=$(($(od -An -N2 -tu2 /dev/urandom) % 201))
  printf '0.%03d' "$ms"
}
apply_killed() {  # apply_killed RULES FOLDER: killed 0-200 ms after it opens a picture of FOLDER
  "$LUMARKO" apply "$1" "$2" --mode all >/dev/null 2>&1 &
  pid=$!
  # Starting the program takes longer than the copies: the delay counts from the first picture.
  n=0
  while [ $n -lt 500 ] && kill -0 "$pid" 2>/dev/null &&
    ! ls -l "/proc/$pid/fd" 2>/dev/null | grep -q -- "$2/"; do
    sleep 0.005
    n=$((n + 1))
  done
  sleep "$(random_delay)"
  kill -9 "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null
}
apply_whole() {  # apply_whole NAME CODE RULES FOLDER
  "$LUMARKO" apply "$3" "$4" --mode all >"$S/out" 2>"$S/err"
  code=$?
  [ "$code" -eq "$2" ] || {
    fail "$1: exit status $code, expected $2"
    sed 's/^/  /' "$S/out" "$S/err"
  }
}
OLD="an older file of the same name"
is_old() { [ "$(wc -c <"$1")" -eq ${#OLD} ] && [ "$(cat "$1")" = "$OLD" ]; }
temporaries() { find "$@" -name '.lmk-*' | wc -l; }
events_have() {  # events_have NAME PATTERN
  "$LUMARKO" events >"$S/events" 2>&1
  grep -Eq -- "$2" "$S/events" || { fail "$1: events lack /$2/"; sed 's/^/  /' "$S/events"; }
}

# Pictures of real bytes, large enough that a kill lands in the middle of a copy.
NAMES="p1 p2 p3"
mkdir "$A/master"
for name in $NAMES; do
  cat "$SAMPLES/street_2023.jpg" >"$A/master/$name.jpg"
  head -c 20971520 /dev/urandom >>"$A/master/$name.jpg"
done

copy_kills() {  # copies over existing files
  own_state copy
  mkdir "$A/copy-src" "$A/copy-out"
  cp "$A/master/"*.jpg "$A/copy-src/"
  rules "$S/rules.yaml" Action.Copy "$A/copy-out" true
  left=0 midway=0 i=0
  while [ $i -lt "$KILLS" ]; do
    i=$((i + 1))
    for name in $NAMES; do printf '%s' "$OLD" >"$A/copy-out/$name.jpg"; done
    apply_killed "$S/rules.yaml" "$A/copy-src"
    left=$((left + $(temporaries "$A/copy-out")))
    old=0
    for name in $NAMES; do
      target=$A/copy-out/$name.jpg
      if is_old "$target"; then
        old=1
      else
        cmp -s "$target" "$A/master/$name.jpg" ||
          fail "copy kill $i: $target is neither the old file nor a complete copy"
      fi
    done
    midway=$((midway + old))
    apply_whole "copy re-run $i" 0 "$S/rules.yaml" "$A/copy-src"
    [ "$(temporaries "$A/copy-src" "$A/copy-out")" -eq 0 ] ||
      fail "copy re-run $i: temporaries left: $(find "$A/copy-out" -name '.lmk-*')"
    for name in $NAMES; do
      cmp -s "$A/copy-out/$name.jpg" "$A/master/$name.jpg" || fail "copy re-run $i: $name.jpg differs"
    done
  done
  for name in $NAMES; do
    cmp -s "$A/copy-src/$name.jpg" "$A/master/$name.jpg" || fail "copy: the source $name.jpg changed"
  done
  echo "copy over existing files: $KILLS kills, $midway before the last copy stood," \
    "$left temporaries left by them, none after the re-runs"
  exit "$failures"
}

move_kills() {  # moves over existing files to the other file system
  own_state move
  mkdir "$A/move-src" "$B/move-out"
  rules "$S/rules.yaml" Action.Move "$B/move-out" true
  left=0 midway=0 pairs=0 i=0
  while [ $i -lt "$KILLS" ]; do
    i=$((i + 1))
    cp "$A/master/"*.jpg "$A/move-src/"
    for name in $NAMES; do printf '%s' "$OLD" >"$B/move-out/$name.jpg"; done
    apply_killed "$S/rules.yaml" "$A/move-src"
    left=$((left + $(temporaries "$B/move-out")))
    pair=0
    for name in $NAMES; do
      source=$A/move-src/$name.jpg target=$B/move-out/$name.jpg
      if is_old "$target"; then
        cmp -s "$source" "$A/master/$name.jpg" || fail "move kill $i: $name.jpg lost"
      elif ! cmp -s "$target" "$A/master/$name.jpg"; then
        fail "move kill $i: $target is neither the old file nor a complete copy"
      elif [ -e "$source" ]; then
        pair=1
      fi
    done
    pairs=$((pairs + pair))
    if [ -n "$(ls "$A/move-src")" ]; then
      midway=$((midway + 1))
    else
      # Killed after the last source went: the next run that writes there does the cleaning.
      cp "$SAMPLES/street_2023.jpg" "$A/move-src/p0.jpg"
    fi
    apply_whole "move re-run $i" 0 "$S/rules.yaml" "$A/move-src"
    rm -f "$B/move-out/p0.jpg"
    [ "$pair" -eq 0 ] || events_have "move re-run $i" "the move was finished by removing"
    [ "$(temporaries "$A/move-src" "$B/move-out")" -eq 0 ] ||
      fail "move re-run $i: temporaries left: $(find "$A/move-src" "$B/move-out" -name '.lmk-*')"
    for name in $NAMES; do
      [ ! -e "$A/move-src/$name.jpg" ] || fail "move re-run $i: $name.jpg is still at the source"
      cmp -s "$B/move-out/$name.jpg" "$A/master/$name.jpg" || fail "move re-run $i: $name.jpg differs"
    done
  done
  echo "move over existing files: $KILLS kills, $midway before the last source went, $pairs left" \
    "a picture at both places, $left temporaries left by them; neither after the re-runs"
  exit "$failures"
}

# The two kill cases run side by side: starting the program is most of their time.
(copy_kills) >"$WORK/copy.log" 2>&1 &
copy_pid=$!
(move_kills) >"$WORK/move.log" 2>&1
move_status=$?
wait "$copy_pid"
copy_status=$?
cat "$WORK/copy.log" "$WORK/move.log"
failures=$((copy_status + move_status))

own_state single
# A move out of a read-only folder: the copy is taken back, an older target comes back.
mkdir -p "$A/ro-src" "$B/ro-out"
cp "$SAMPLES/street_2023.jpg" "$SAMPLES/night_2024.jpg" "$A/ro-src/"
printf '%s' "$OLD" >"$B/ro-out/night_2024.jpg"
if mount --bind "$A/ro-src" "$A/ro-src" && mount -o remount,bind,ro "$A/ro-src"; then
  rules "$S/ro.yaml" Action.Move "$B/ro-out" true
  apply_whole "read-only source" 4 "$S/ro.yaml" "$A/ro-src"
  events_have "read-only source" "street_2023.jpg' could not be removed, so the copy was taken back"
  events_have "read-only source: why" "write protected"
  [ ! -e "$B/ro-out/street_2023.jpg" ] || fail "read-only source: the copy stayed at the target"
  is_old "$B/ro-out/night_2024.jpg" || fail "read-only source: the older target did not come back"
  cmp -s "$A/ro-src/street_2023.jpg" "$SAMPLES/street_2023.jpg" || fail "read-only source: the source changed"
  [ "$(temporaries "$A/ro-src" "$B/ro-out")" -eq 0 ] || fail "read-only source: temporaries left"
else
  echo "SKIP: read-only source: cannot make a read-only bind mount"
fi

# The same content at both places finishes the move; other content is still "exists".
mkdir "$A/pair-src" "$B/pair-out"
cp "$SAMPLES/street_2023.jpg" "$SAMPLES/night_2024.jpg" "$A/pair-src/"
cp "$SAMPLES/street_2023.jpg" "$B/pair-out/"
cp "$SAMPLES/street_2023.jpg" "$B/pair-out/night_2024.jpg"
rules "$S/pair.yaml" Action.Move "$B/pair-out" false
apply_whole "pair" 4 "$S/pair.yaml" "$A/pair-src"
events_have "pair: same content" "street_2023.jpg' already stood at .*; the move was finished by removing"
events_have "pair: other content" "File already exists: '$B/pair-out/night_2024.jpg'"
[ ! -e "$A/pair-src/street_2023.jpg" ] || fail "pair: the same picture stayed at the source"
cmp -s "$B/pair-out/street_2023.jpg" "$SAMPLES/street_2023.jpg" || fail "pair: the target changed"
cmp -s "$A/pair-src/night_2024.jpg" "$SAMPLES/night_2024.jpg" || fail "pair: the other picture moved"
cmp -s "$B/pair-out/night_2024.jpg" "$SAMPLES/street_2023.jpg" || fail "pair: the other target changed"

finish
