#!/bin/sh
# Runs 'lumarko template' and 'lumarko vars' on the sample pictures in a private settings folder
# and checks each step's exit code, stdout and stderr.
# Usage: lumarko_template_test.sh <path of lumarko> <folder of the sample pictures>
set -u
. "$(dirname "$0")/cli_case.sh"
unset LC_ALL LANG LANGUAGE

# Pictures under names the cases need, in the working folder so that relative names work;
# "élan_vital" checks that case changes know more than ASCII even without a chosen locale.
mkdir -p "$WORK/pics/sub" "$WORK/empty"
cp "$SAMPLES/harbour_2023.jpg" "$WORK/harbour_2023.jpg"
cp "$SAMPLES/mountain_2024.jpg" "$WORK/pics/IMG_0042.jpg"
cp "$SAMPLES/night_2024.jpg" "$WORK/pics/sub/night.jpg"
cp "$SAMPLES/plain_nometa.jpg" "$WORK/élan_vital.jpg"

# The date the picture carries, read by an independent tool: "2023:08:02 18:45:10".
taken=$(exiftool -s -s -s -DateTimeOriginal "$SAMPLES/harbour_2023.jpg")
year=$(echo "$taken" | cut -c1-4)
month=$(echo "$taken" | cut -c6-7)
day=$(echo "$taken" | cut -c9-10)
[ -n "$year" ] && [ -n "$month" ] && [ -n "$day" ] || { echo "exiftool gave no date: '$taken'"; exit 1; }
# Day and month names as the C library writes them without a locale ("Wednesday 02 August").
names=$(LC_ALL=C date -u -d "$year-$month-$day" '+%A %d %B')

# The date is the camera's wall-clock time: shown the same in every time zone.
for zone in UTC America/New_York Asia/Kathmandu; do
  TZ=$zone check "date-folder-$zone" 0 "$year/$month/harbour_2023" '' -- \
    template '{DateTaken:Year}/{DateTaken:Month0}/{FileName}' harbour_2023.jpg
done
HOME_FOR_TEST=$WORK/home
export HOME_FOR_TEST
while read -r line; do
  case $line in '' | '#'*) continue ;; esac
  eval "check $line" </dev/null
done <"$(dirname "$0")/../data/cases/cli_template.txt"
finish
