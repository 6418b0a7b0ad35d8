#!/bin/sh
# Runs 'lumarko template' and 'lumarko vars' on the sample pictures in a private settings folder
# and checks each step's exit code, stdout and stderr.
# Usage: lumarko_template_test.sh <path of lumarko> <folder of the sample pictures>
set -u
LUMARKO=$1
SAMPLES=$2
. "$(dirname "$0")/cli_case.sh"
unset LC_ALL LANG LANGUAGE

failures=0

# check NAME EXPECTED_CODE STDOUT_PATTERN STDERR_PATTERN -- ARGS...
# Patterns are extended regular expressions matched against the whole output, its lines joined
# by '#' ("a: 1#b: 2"); an empty pattern demands empty output.
check() {
  name=$1 code=$2 out_pattern=$3 err_pattern=$4
  shift 5
  (cd "$WORK" && "$LUMARKO" "$@") >"$WORK/out" 2>"$WORK/err"
  actual=$?
  ok=1
  [ "$actual" -eq "$code" ] || { echo "$name: exit code $actual, expected $code"; ok=0; }
  for stream in out err; do
    if [ "$stream" = out ]; then pattern=$out_pattern; else pattern=$err_pattern; fi
    if [ -z "$pattern" ]; then
      [ ! -s "$WORK/$stream" ] || { echo "$name: unexpected std$stream:"; cat "$WORK/$stream"; ok=0; }
    elif ! tr '\n' '#' <"$WORK/$stream" | grep -Eq "^($pattern)#$"; then
      echo "$name: std$stream is not /$pattern/:"; cat "$WORK/$stream"; ok=0
    fi
  done
  if [ $ok -eq 1 ]; then echo "ok   $name"; else echo "FAIL $name"; failures=$((failures + 1)); fi
}

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
check day-name         0 "$names" '' -- \
  template '{DateTaken:13} {DateTaken:Day0} {DateTaken:15}' harbour_2023.jpg

# Counters: a preview shows the next value and leaves it; --live advances once per file.
check preview-first    0 '0 00' '' -- template '{AutoIncrement} {AutoCycle:2}' harbour_2023.jpg
check preview-again    0 '0 00' '' -- template '{AutoIncrement} {AutoCycle:2}' harbour_2023.jpg
check preview-many     0 'harbour_2023.jpg: 0#pics/IMG_0042.jpg: 0' '' -- \
  template '{AutoIncrement}' harbour_2023.jpg pics/IMG_0042.jpg
check live-many        0 'harbour_2023.jpg: 0000#pics/IMG_0042.jpg: 0001' '' -- \
  template --live '{AutoIncrement:4}' harbour_2023.jpg pics/IMG_0042.jpg
check live-advanced    0 '2' '' -- template '{AutoIncrement}' harbour_2023.jpg

# Back-references of a regular expression on the file name, and a nested text function.
check regex            0 '0042 IMG' '' -- template '{RegEx:([a-z]+)_(\d+)}{2} {1}' pics/IMG_0042.jpg
check regex-no-match   0 '-' '' -- template '{RegEx:(\d+)x}{1}-{0}' harbour_2023.jpg
check title-case       0 'ÉlanVital' '' -- \
  template '{InnerTrim{TitleCase{Replace{FileName},"_"," "}}}' élan_vital.jpg

# Names: shown for several inputs or a folder, as typed; forced or left out on request.
check folder           0 'pics/IMG_0042.jpg: IMG_0042' '' -- template '{FileName}' pics
check folder-recursive 0 'pics/IMG_0042.jpg: IMG_0042#pics/sub/night.jpg: night' '' -- \
  template -r '{FileName}' pics/
check with-filename    0 'harbour_2023.jpg: harbour_2023' '' -- \
  template -H '{FileName}' harbour_2023.jpg
check no-filename      0 'harbour_2023#IMG_0042' '' -- \
  template --no-filename '{FileName}' harbour_2023.jpg pics/IMG_0042.jpg
check empty-folder     0 '' '' -- template '{FileName}' empty

# A missing file is named on stderr; the others are still shown and the exit code says so.
check missing          1 'harbour_2023.jpg: harbour_2023' \
  'lumarko: error: gone\.jpg: no such file' -- template '{FileName}' gone.jpg harbour_2023.jpg
check no-file-given    2 '' 'lumarko: error: invalid command line: .*' -- template '{FileName}'
check help-examples    0 '.*\{RegEx:.*' '' -- template --help

# User-defined variables: a round trip through the settings, and their use in templates.
check vars-none        0 'No variables are defined\.' '' -- vars list
check set-string       0 '' '' -- vars set project Alps
check set-nested       0 '' '' -- vars set folder '{UserDefined:project}/{DateTaken:Year}'
check set-dword        0 '' '' -- vars set roll 12 --dword
check set-qword        0 '' '' -- vars set big 18446744073709551615 --qword
HOME_FOR_TEST=$WORK/home
export HOME_FOR_TEST
check set-expand       0 '' '' -- vars set archive '%HOME_FOR_TEST%/Archive' --expand
check get-string       0 'Alps' '' -- vars get project
check get-expand-kept  0 '%HOME_FOR_TEST%/Archive' '' -- vars get ARCHIVE
check get-qword        0 '18446744073709551615' '' -- vars get big
check list 0 'NAME +TYPE +VALUE#archive +expand +%HOME_FOR_TEST%/Archive#big +qword +18446744073709551615#folder +string +\{UserDefined:project\}/\{DateTaken:Year\}#project +string +Alps#roll +dword +12' \
  '' -- vars list
check template-vars    0 "Alps/$year/harbour_2023 12 $WORK/home/Archive" '' -- \
  template '{UserDefined:folder}/{FileName} {UserDefined:roll} {UserDefined:archive}' \
  harbour_2023.jpg
check replace-value    0 '' '' -- vars set project Dolomites
check replaced         0 'Dolomites' '' -- template '{UserDefined:project}' harbour_2023.jpg
check dword-not-number 2 '' "lumarko: error: invalid value 'twelve': a DWORD is .*" -- \
  vars set roll twelve --dword
check dword-too-big    2 '' "lumarko: error: invalid value '4294967296': .*" -- \
  vars set roll 4294967296 --dword
check dword-and-expand 2 '' 'lumarko: error: invalid command line: .*' -- \
  vars set roll 1 --dword --expand
check bad-name         1 '' "lumarko: error: cannot set a\{b: .*'\{'.*" -- vars set 'a{b' x
check unset            0 '' '' -- vars unset project
check unset-again      1 '' "lumarko: error: project: no such variable .*" -- vars unset project
check get-gone         1 '' "lumarko: error: project: no such variable .*" -- vars get project
check gone-in-template 0 '\{UserDefined~project\}' '' -- template '{UserDefined:project}' harbour_2023.jpg
check vars-no-action   2 '' 'lumarko: error: invalid command line: .*' -- vars

if [ $failures -ne 0 ]; then
  echo "$failures case(s) failed"
  exit 1
fi
