#!/bin/sh
# Deleting pictures with "remove-empty-folders" never removes a folder outside the paths the run
# was given, nor the home folder, its ancestors or a mount point. The guarded tree lives in a
# private mount namespace on a tmpfs (root only), where a climb that went too far could harm
# nothing.
# Usage: emptied_folder_climb_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
# The run inside the mount namespace is a shell of its own.
export LUMARKO SAMPLES WORK

cat >"$WORK/delete.yaml" <<'YAML'
rules:
  - name: Delete and tidy up
    actions:
      - Action.Delete: { trash: false, remove-empty-folders: true }
YAML

# The checks, shared with the run inside the mount namespace: they print one FAIL line each.
cat >"$WORK/checks.sh" <<'SH'
picture() { mkdir -p "$(dirname "$1")" && cp "$SAMPLES/plain_nometa.jpg" "$1"; }
apply() {  # apply NAME PATH...: deletes every picture under PATH...
  name=$1
  shift
  "$LUMARKO" apply "$WORK/delete.yaml" "$@" --recursive >"$WORK/out" 2>&1 ||
    { echo "FAIL: $name: exit status $?"; sed 's/^/  /' "$WORK/out"; }
}
gone() { [ ! -e "$2" ] || echo "FAIL: $1: $2 is still there"; }
kept() { [ -d "$2" ] || echo "FAIL: $1: $2 was removed"; }
SH
. "$WORK/checks.sh"

{
  # Two trees: the climb takes the emptied folders up to each given path, and stops there.
  T=$WORK/var/tmp
  picture "$T/a/home/u/Pictures/trip/2024/p1.jpg"
  picture "$T/b/day/p2.jpg"
  apply "two trees" "$T/a/home/u/Pictures/trip" "$T/b/day"
  gone "two trees" "$T/a/home/u/Pictures/trip"
  gone "two trees" "$T/b/day"
  kept "two trees" "$T/a/home/u/Pictures"
  kept "two trees" "$T/b"

  if [ "$(id -u)" -ne 0 ]; then
    echo "SKIP: the home and mount point cases need root (a private mount namespace, a tmpfs)"
  elif ! unshare -m true 2>/dev/null; then
    echo "SKIP: the home and mount point cases need a private mount namespace (unshare -m)"
  else
    # HOME lies on one tmpfs, a second tree on another; the run is given both whole.
    mkdir -p "$WORK/one" "$WORK/two"
    unshare -m sh -c '
      . "$WORK/checks.sh"
      mount -t tmpfs none "$WORK/one" && mount -t tmpfs none "$WORK/two" ||
        { echo "FAIL: cannot mount a tmpfs"; exit 1; }
      HOME=$WORK/one/home/u
      export HOME
      picture "$HOME/Pictures/trip/p1.jpg"
      picture "$WORK/two/var/tmp/x/p2.jpg"
      apply "home and mounts" "$WORK/one" "$WORK/two"
      gone "home and mounts" "$HOME/Pictures"
      kept "home and mounts" "$HOME"
      gone "home and mounts" "$WORK/two/var"
      kept "home and mounts" "$WORK/two"
    '
  fi
} 2>&1 | tee "$WORK/log"

failures=$(grep -c "^FAIL" "$WORK/log")
[ "$failures" -eq 0 ] || { echo "$failures failure(s)"; exit 1; }
echo "all emptied-folder cases passed"
