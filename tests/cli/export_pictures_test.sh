#!/bin/sh
# Convert and SaveForWeb write real pictures: read back for their size, orientation, colour
# space and metadata; a damaged picture, a destination that cannot be written and a full file
# system give an error naming the file and leave nothing under a final name.
# Usage: export_pictures_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
command -v convert >/dev/null && command -v exiftool >/dev/null || { echo "needs imagemagick and exiftool"; exit 77; }

# A 640x480 picture whose stored top-left quarter is red, marked to be shown turned 90 degrees
# clockwise: upright, the red quarter is at the top right.
mkdir -p "$WORK/in"
convert -size 640x480 xc:blue -fill red -draw 'rectangle 0,0 319,239' "$WORK/in/a.jpg"
exiftool -q -overwrite_original -Orientation#=6 -Copyright='(c) Jo Doe' -Artist='Jo Doe' \
  -Make='Lumen Optics' "$WORK/in/a.jpg"
cp "$WORK/in/a.jpg" "$WORK/original.jpg"

# export NAME ACTION SOURCE: applies one rule with ACTION to SOURCE (a file of $WORK).
export_one() {
  printf 'rules:\n  - name: %s\n    conditions: []\n    actions:\n      - %s\n' "$1" "$2" \
    >"$WORK/rules.yaml"
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/$3" >"$WORK/apply.log" 2>&1
  "$LUMARKO" events >"$WORK/events" 2>&1
}

# check NAME FILE WANTED...: each WANTED is "Tag=value" as exiftool -s3 prints it (empty: absent)
# or "pixel@X,Y=colour" as ImageMagick names the pixel's colour.
check() {
  name=$1 file=$WORK/web/$2
  shift 2
  [ -f "$file" ] || { fail "$name: $2 was not written"; sed 's/^/  /' "$WORK/events"; return; }
  for wanted in "$@"; do
    key=${wanted%%=*} value=${wanted#*=}
    case $key in
      pixel@*)
        actual=$(convert "$file" -format "%[pixel:p{${key#pixel@}}]" info:) ;;
      *) actual=$(exiftool -s3 -"$key" "$file" 2>/dev/null) ;;
    esac
    case $actual in
      $value) ;;
      *) fail "$name: $key is '$actual', expected '$value'" ;;
    esac
  done
}

dest='destination: "'$WORK'/web"'
while IFS='|' read -r name action file checks; do
  rm -rf "$WORK/web"
  export_one "$name" "$action $dest }" in/a.jpg
  # shellcheck disable=SC2086 # the checks are words
  eval "set -- $checks"
  check "$name" "$file" "$@"
done <<'EOF'
web copy|Action.SaveForWeb: { long-edge: 200,|a.jpg|ImageSize=150x200 Orientation='Horizontal (normal)' Copyright='(c) Jo Doe' Artist='Jo Doe' Make= EncodingProcess='Progressive DCT*' 'pixel@140,10=srgb(2[0-9][0-9],[0-3]*,[0-3]*)' 'pixel@10,10=srgb([0-3]*,[0-3]*,2[0-9][0-9])'
web copy keeps all|Action.SaveForWeb: { long-edge: 200, metadata: keep,|a.jpg|Make='Lumen Optics' Orientation='Horizontal (normal)'
never enlarged|Action.SaveForWeb: { long-edge: 5000, progressive: false,|a.jpg|ImageSize=480x640 EncodingProcess='Baseline DCT*'
webp in a box|Action.SaveForWeb: { box-width: 100, box-height: 100, format: webp,|a.webp|ImageSize=75x100 Copyright='(c) Jo Doe' Make=
png without metadata|Action.Convert: { format: png, metadata: strip,|a.png|ImageSize=480x640 Copyright= Make= 'pixel@470,10=srgb(2[0-9][0-9],[0-3]*,[0-3]*)'
tiff|Action.Convert: { format: tiff,|a.tif|ImageSize=480x640 Orientation='Horizontal (normal)'
EOF

# Failures: the events name the file, nothing stands under a final name, no temporary stays,
# the source is untouched.
refused() {
  name=$1 pattern=$2 folder=$3
  has "$name" events "$pattern"
  if [ -d "$folder" ] && [ -n "$(ls -A "$folder")" ]; then fail "$name: $folder holds $(ls -A "$folder")"; fi
  cmp -s "$WORK/in/a.jpg" "$WORK/original.jpg" || fail "$name: the source changed"
}
rm -rf "$WORK/web"
head -c 2000 "$WORK/in/a.jpg" >"$WORK/in/cut.jpg"
export_one damaged "Action.Convert: { $dest }" in/cut.jpg
refused damaged "Cannot export '.*cut.jpg'.*damaged" "$WORK/web"
printf 'not a picture' >"$WORK/in/b.jpg"
export_one "not a picture" "Action.Convert: { $dest }" in/b.jpg
refused "not a picture" "Cannot export '.*b.jpg'.*not a picture this system can read" "$WORK/web"
rm "$WORK/in/cut.jpg" "$WORK/in/b.jpg"
printf 'a file' >"$WORK/blocker"
export_one unwritable "Action.Convert: { destination: \"$WORK/blocker/out\" }" in/a.jpg
refused unwritable "Cannot create folder '.*blocker/out'" "$WORK/blocker"
rm -rf "$WORK/web" && mkdir -p "$WORK/web" && printf 'kept' >"$WORK/web/a.jpg"
export_one "exists" "Action.Convert: { $dest }" in/a.jpg
has exists events "File already exists: '.*web/a.jpg'"
[ "$(cat "$WORK/web/a.jpg")" = kept ] || fail "exists: the existing file was replaced"

# A full file system (a small tmpfs, where root may mount one).
if [ "$(id -u)" = 0 ] && mkdir -p "$WORK/full" && mount -t tmpfs -o size=16k tmpfs "$WORK/full" 2>/dev/null; then
  convert -size 1200x900 plasma:fractal "$WORK/in/big.jpg"
  export_one "full" "Action.Convert: { destination: \"$WORK/full\", format: png }" in/big.jpg
  has full events "Cannot export '.*big.jpg'"
  [ -z "$(ls -A "$WORK/full")" ] || fail "full: $(ls -A "$WORK/full") left behind"
  umount "$WORK/full"
  rm "$WORK/in/big.jpg"
fi

# A picture of 105 megapixels (315 MB of pixels) streams through in bounded memory.
python3 "$(dirname "$0")/make_huge_png.py" "$WORK/in/huge.png" 10240
rm -rf "$WORK/web"
printf 'rules:\n  - name: huge\n    actions:\n      - Action.Convert: { %s }\n' "$dest" >"$WORK/rules.yaml"
ASAN_OPTIONS=quarantine_size_mb=0:detect_leaks=0 /usr/bin/time -f %M -o "$WORK/peak" \
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/in/huge.png" >/dev/null 2>&1 ||
  fail "huge: exit status $?"
check huge huge.jpg ImageSize=10240x10240
[ "$(cat "$WORK/peak")" -lt 350000 ] || fail "huge: $(cat "$WORK/peak") KB at the peak"
rm "$WORK/in/huge.png"

# The rule check describes both actions.
printf 'rules:\n  - name: web\n    actions:\n      - Action.SaveForWeb: { %s, attach-to-email: true }\n      - Action.Convert: { %s, format: png }\n' \
  "$dest" "$dest" >"$WORK/rules.yaml"
run "check" 0 rules check "$WORK/rules.yaml"
has check out "Save a copy of the image for the web, its long edge at most 2048 pixels .*attach it to an e-mail"
has check out "Convert the image to .* as PNG, keeping the metadata"
finish
