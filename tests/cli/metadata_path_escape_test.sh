#!/bin/sh
# Pictures whose metadata, sidecar, file or folder names hold "..", ".", separators, absolute
# paths, a leading dot or 4,000 characters, copied, linked, renamed and moved with overwrite on:
# every file made stays inside its destination, none is hidden, no file beside them changes.
# Usage: metadata_path_escape_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
# Scratch files and the program's settings and logs live in $S, apart from what is checked.
S=$WORK/state
LUMARKO_CONFIG_DIR=$S/config
XDG_DATA_HOME=$S/data

ROOT=$WORK/root
IN=$ROOT/in
ODD='x\..\..\..\victim'
mkdir -p "$S" "$IN/$ODD" "$ROOT/in2" "$ROOT/dest"
# The victims: where an escaping value would land, with overwrite on.
for victim in "$WORK/victim.jpg" "$ROOT/victim.jpg" "$ROOT/victim/exif_climb.jpg"; do
  mkdir -p "$(dirname "$victim")"
  echo "victim" >"$victim"
done

# The crafted pictures: one exiftool process writes them all.
base=$SAMPLES/plain_nometa.jpg
long=$(printf '%4000s' '' | tr ' ' 'a')
{
  for pair in "exif_climb|-EXIF:Model=../../victim" "exif_dotdot|-EXIF:Model=.." \
    "exif_dot|-EXIF:Model=." "exif_backslash|-EXIF:Model=..\\..\\victim" \
    "exif_absolute|-EXIF:Model=$ROOT/victim" "exif_hidden|-EXIF:Model=.hidden" \
    "xmp_climb|-XMP-tiff:Model=../../victim" "xmp_lens|-XMP-exifEX:LensModel=../../../victim"; do
    name=${pair%%|*}
    printf -- '-q\n%s\n-o\n%s\n%s\n-execute\n' "${pair#*|}" "$IN/$name.jpg" "$base"
  done
  printf -- '-q\n%s\n-o\n%s\n%s\n-execute\n' "-XMP-tiff:Model=../../victim" "$IN/sidecar_climb.xmp" "$base"
  printf -- '-q\n%s\n-o\n%s\n%s\n-execute\n' "-EXIF:Model=$long" "$ROOT/in2/long.jpg" "$base"
} >"$S/exiftool.args"
exiftool -m -@ "$S/exiftool.args" || { echo "exiftool failed"; exit 1; }
cp "$base" "$IN/sidecar_climb.jpg"
cp "$base" "$IN/$ODD/in_odd_folder.jpg"
cp "$base" "$IN/x\\..\\..\\..\\..\\victim.jpg"

# Everything outside the destination and the pictures' folders, with its content.
snapshot() {
  (cd "$WORK" && find . -path ./root/dest -prune -o -path ./root/in -prune -o \
    -path ./root/in2 -prune -o -path ./state -prune -o -type f -print | sort |
    while read -r f; do echo "$f $(cksum <"$f")"; done)
}
snapshot >"$S/before"

cat >"$S/rules.yaml" <<YAML
rules:
  - name: Copy by folder
    actions:
      - Action.Copy: { destination: "$ROOT/dest/c/{CameraModel}", overwrite: true }
  - name: Copy by name
    actions:
      - Action.Copy: { destination: "$ROOT/dest/n", rename: "{CameraModel}_{FileName}", overwrite: true }
  - name: Copy with folders
    actions:
      - Action.Copy: { destination: "$ROOT/dest/h", preserve-hierarchy: true, overwrite: true }
  - name: Copy by file name
    actions:
      - Action.Copy: { destination: "$ROOT/dest/f\\\\{RegEx*:.*/(.*)}{1}\\\\{LensModel}", overwrite: true }
  - name: Copy by user value
    actions:
      - Action.Copy: { destination: "$ROOT/dest/u/{UserDefined:up}", overwrite: true }
  - name: Link
    actions:
      - Action.Link: { destination: "../dest/l/{CameraModel}", overwrite: true }
  - name: Rename
    actions:
      - Action.Rename: { template: "{CameraModel}_{FileName}", overwrite: true }
  - name: Move
    actions:
      - Action.Move: { destination: "...\\\\..\\\\dest\\\\m\\\\{CameraModel}", rename: "{CameraModel}_{FileName}", overwrite: true }
YAML
"$LUMARKO" vars set up 'sub/{CameraModel}' || fail "vars set"
"$LUMARKO" apply "$S/rules.yaml" "$IN" --recursive --mode all >"$S/out" 2>&1
status=$?
[ $status -eq 0 ] || { fail "apply: exit status $status, expected 0"; sed 's/^/  /' "$S/out"; }

# Where the values landed: inside the destination, each as one visible name.
absolute=$(printf '%s' "$ROOT/victim" | tr / '~')
for made in "c/~.~..~victim/exif_climb.jpg" "c/~/exif_dotdot.jpg" "c/~/exif_dot.jpg" \
  "c/~.~..~victim/exif_backslash.jpg" "c/$absolute/exif_absolute.jpg" \
  "c/~hidden/exif_hidden.jpg" "c/~.~..~victim/xmp_climb.jpg" "c/~.~..~victim/sidecar_climb.jpg" \
  "c/~.~..~victim/sidecar_climb.xmp" "n/~.~..~victim_exif_climb.jpg" "n/~hidden_exif_hidden.jpg" \
  "h/x~..~..~..~victim/in_odd_folder.jpg" "f/x~..~..~..~..~victim/x\\..\\..\\..\\..\\victim.jpg" \
  "u/sub/~.~..~victim/exif_climb.jpg" "u/sub/~/exif_dot.jpg" \
  "f/xmp_lens/~.~..~..~victim/xmp_lens.jpg" "l/~/exif_dot.jpg" \
  "m/~/~_~_exif_dotdot.jpg" "m/~hidden/~hidden_~hidden_exif_hidden.jpg"; do
  [ -f "$ROOT/dest/$made" ] || fail "not made: dest/$(printf '%s' "$made" | tr '\\' '|')"
done
hidden=$(cd "$ROOT" && find dest in -name '.*')
[ -z "$hidden" ] || fail "hidden names made: $hidden"
snapshot >"$S/after"
cmp -s "$S/before" "$S/after" || { fail "files outside the destination changed:"; diff "$S/before" "$S/after"; }

# A value too long for a name: every action fails with the reason, nothing is written.
cat >"$S/long.yaml" <<YAML
rules:
  - name: Copy by folder
    actions:
      - Action.Copy: { destination: "$ROOT/dest/long/{CameraModel}", overwrite: true }
  - name: Copy by name
    actions:
      - Action.Copy: { destination: "$ROOT/dest/long", rename: "{CameraModel}", overwrite: true }
  - name: Rename
    actions:
      - Action.Rename: { template: "{CameraModel}", overwrite: true }
  - name: Move
    actions:
      - Action.Move: { destination: "$ROOT/dest/long", rename: "{CameraModel}", overwrite: true }
YAML
"$LUMARKO" apply "$S/long.yaml" "$ROOT/in2" --mode all >"$S/out" 2>&1
status=$?
[ $status -eq 4 ] || { fail "long value: exit status $status, expected 4"; sed 's/^/  /' "$S/out"; }
"$LUMARKO" events --filter errors >"$S/events" 2>&1
count=$(grep -c "is too long" "$S/events")
[ "$count" -eq 4 ] || { fail "long value: $count errors name the cause, expected 4"; cat "$S/events"; }
[ -f "$ROOT/in2/long.jpg" ] || fail "long value: the picture left its folder"
[ -z "$(find "$ROOT/dest/long" -type f 2>/dev/null)" ] || fail "long value: a file was written"
snapshot >"$S/after"
cmp -s "$S/before" "$S/after" || { fail "long value: files outside changed"; diff "$S/before" "$S/after"; }

finish
