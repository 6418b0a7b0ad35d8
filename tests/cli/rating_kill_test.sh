#!/bin/sh
# Kills `lumarko apply` at random moments while it rates 500 pictures: after every kill each
# picture still opens and has one of the two ratings the runs give; a last complete run gives every
# picture one more star and leaves no temporary file. Then `lumarko record` and exiftool read
# the new values back, from the picture and from a RAW file's new sidecar.
# Usage: rating_kill_test.sh <path of lumarko> <samples folder> [kills]
set -u
KILLS=${3:-20}
. "$(dirname "$0")/cli_case.sh"
command -v exiftool >/dev/null || { echo "SKIP: exiftool is not installed"; exit 77; }

P=$WORK/pictures
mkdir "$P"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/master.jpg"
exiftool -q -overwrite_original -XMP:Rating=1 "$WORK/master.jpg" || exit 1
i=0
while [ $i -lt 500 ]; do
  cp "$WORK/master.jpg" "$P/p$i.jpg"
  i=$((i + 1))
done
for value in 1 3; do
  printf 'rules:\n  - name: Rate\n    actions:\n      - Action.SetXMPRating: { rating: %s }\n' \
    "$value" >"$WORK/rate$value.yaml"
done
printf 'rules:\n  - name: One more\n    actions:\n      - Action.SetXMPRating: { rating: one-more }\n' \
  >"$WORK/more.yaml"

# ratings EXPECTED...: all 500 pictures are there, and those written since $WORK/stamp (the
# others are as they were) open and have one of the ratings EXPECTED.
ratings() {
  [ "$(find "$P" -name 'p*.jpg' | wc -l)" -eq 500 ] || fail "$step: pictures are missing"
  find "$P" -name 'p*.jpg' -cnewer "$WORK/stamp" >"$WORK/changed"
  [ -s "$WORK/changed" ] || return 0
  exiftool -q -q -T -FileName -Error -XMP:Rating -@ "$WORK/changed" >"$WORK/ratings" 2>&1
  pattern=$(printf '%s|' "$@")
  bad=$(grep -Ecv "^p[0-9]+\.jpg	-	(${pattern%|})$" "$WORK/ratings")
  [ "$bad" -eq 0 ] || { fail "$step: $bad pictures damaged or with another rating"; head -5 "$WORK/ratings"; }
}
temporaries() { find "$P" -name '.lmk-*' | wc -l; }

# Kills alternate between rating every picture 3 and rating it 1 again, so that each run has
# all the pictures to write and the kills land mid-run.
kill=0 left=0 midway=0
while [ $kill -lt "$KILLS" ]; do
  kill=$((kill + 1))
  step="kill $kill"
  target=$((kill % 2 * 2 + 1))
  "$LUMARKO" apply "$WORK/rate$target.yaml" "$P" --mode all >/dev/null 2>&1 &
  touch "$WORK/stamp"
  pid=$!
  # Starting the program takes longer than a write: the delay counts from the first write.
  n=0
  while [ $n -lt 1000 ] && kill -0 "$pid" 2>/dev/null &&
    [ -z "$(find "$P" -cnewer "$WORK/stamp" -name 'p*' | head -1)" ]; do
    sleep 0.01
    n=$((n + 1))
  done
  sleep "$(printf '0.%03d' $(($(od -An -N2 -tu2 /dev/urandom) % 500)))"
  kill -9 "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null
  ratings 1 3
  left=$((left + $(temporaries)))
  # The previous run may have left its own value on pictures this one had not reached.
  written=$(wc -l <"$WORK/changed")
  [ "$written" -eq 0 ] || [ "$written" -eq 500 ] || midway=$((midway + 1))
done
step="last run"
touch "$WORK/stamp"
run "last run" 0 apply "$WORK/more.yaml" "$P" --mode all
ratings 2 4
[ "$(temporaries)" -eq 0 ] || fail "last run: temporaries left: $(find "$P" -name '.lmk-*')"
echo "$KILLS kills, $midway of them mid-run; $left temporaries left by them, none after the last run"

# Read back: the record, and exiftool from a RAW file's new sidecar.
run "record" 0 record "$P/p7.jpg"
has "record: new rating" out "Meta\.XMP\.Rating +VT_I2 +[24]$"
mkdir "$WORK/raw"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/raw/shot.nef"
printf 'rules:\n  - name: Red\n    actions:\n      - Action.SetXMPLabel: { label: red }\n' >"$WORK/red.yaml"
run "raw label" 0 apply "$WORK/red.yaml" "$WORK/raw" --mode all
cmp -s "$WORK/raw/shot.nef" "$SAMPLES/plain_nometa.jpg" || fail "raw label: the RAW file changed"
[ "$(exiftool -s3 -XMP:Label "$WORK/raw/shot.xmp")" = "Red" ] || fail "raw label: sidecar lacks Red"
run "raw record" 0 record "$WORK/raw/shot.nef"
has "raw record: label" out "Meta\.XMP\.Label +VT_I2 +1$"
finish
