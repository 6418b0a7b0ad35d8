#!/bin/sh
# Names made by templates hold no character that memory cards, network shares or Windows refuse
# and no wildcard a shell would expand, on every system; `lumarko template` shows exactly the
# name and folder that rename and copy then make.
# Usage: portable_names_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"

# name TEMPLATE EXPECTED: the preview, then the rename itself.
name() {
  templ=$1 expected=$2
  rm -rf "$WORK/pics" && mkdir "$WORK/pics" && cp "$SAMPLES/harbour_2023.jpg" "$WORK/pics/shot.jpg"
  shown=$("$LUMARKO" template --name "$templ" "$WORK/pics/shot.jpg")
  [ "$shown" = "$expected" ] || fail "template --name '$templ' shows '$shown', expected '$expected'"
  printf 'rules:\n  - name: R\n    actions:\n      - Action.Rename: { template: %s }\n' \
    "'$templ'" >"$WORK/rename.yaml"
  "$LUMARKO" apply "$WORK/rename.yaml" "$WORK/pics" --mode all >/dev/null 2>&1 ||
    fail "rename with '$templ' failed"
  made=$(ls "$WORK/pics")
  [ "$made" = "$expected.jpg" ] || fail "rename with '$templ' made '$made', expected '$expected.jpg'"
}

name 'a:b' 'a~b'
name '{FileName}?*"<>|' 'shot~~~~~~'
name 'x/y\z' 'x~y~z'
name '.{FileName}' '~shot'
name '{CameraModel}:{FileName}' 'LX 5~shot'

# folder TEMPLATE EXPECTED: the preview, then where a copy lands.
folder() {
  templ=$1 expected=$2
  shown=$("$LUMARKO" template "$templ" "$SAMPLES/harbour_2023.jpg")
  [ "$shown" = "$expected" ] || fail "template '$templ' shows '$shown', expected '$expected'"
  rm -rf "$WORK/out" && mkdir "$WORK/out"
  printf 'rules:\n  - name: C\n    actions:\n      - Action.Copy: { destination: %s }\n' \
    "'$WORK/out/$templ'" >"$WORK/copy.yaml"
  "$LUMARKO" apply "$WORK/copy.yaml" "$SAMPLES/harbour_2023.jpg" --mode all >/dev/null 2>&1 ||
    fail "copy to '$templ' failed"
  [ -f "$WORK/out/$expected/harbour_2023.jpg" ] || fail "copy to '$templ' is not in '$expected'"
}

folder '{CameraModel}/{FileName}:x' 'LX 5/harbour_2023~x'
folder 'a|b\c?' 'a~b/c~'
folder '.cache/{FileName}*' '~cache/harbour_2023~'

finish
