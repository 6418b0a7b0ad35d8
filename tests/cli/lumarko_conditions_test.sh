#!/bin/sh
# Runs `lumarko apply` over a copy of the sample pictures once per case, each with a rule set of
# one rule, and compares the pictures of the "matches the selection condition(s)" events with the
# case's list (the values tests/data/make_samples.sh writes with exiftool). Case lines:
# NAME @ PICTURES @ CONDITIONS @ EXCEPTIONS, rule elements separated by ';'; a picture without
# extension is .jpg, "all -x" is every picture but x. Only exit statuses 0 and 3 (warnings: the
# truncated sample) pass: errors mean a condition failed to evaluate on some picture.
# Usage: lumarko_conditions_test.sh <path of lumarko> <samples folder>
set -u
. "$(dirname "$0")/cli_case.sh"
cp -R "$SAMPLES" "$WORK/pictures"
# Pictures without a value read it as 0 (truncated reads nothing at all); sidecar_2025.xmp is no
# picture.
ALL="below_sea_2024 graphic.png harbour_2023 mountain_2024 night_2024 plain_nometa portrait_2025
  rejected_2025 sensitivity_2025 sidecar_2025 street_2023 truncated xmp_gps_2024"
cases=0

names() {  # names WORDS...: the file names, sorted, one a line
  : >"$WORK/drop"
  for w in "$@"; do
    case $w in
      all) printf '%s\n' $ALL ;;
      -*) echo "${w#-}" >>"$WORK/drop" ;;
      *) echo "$w" ;;
    esac
  done | grep -vxFf "$WORK/drop" | sed '/\./!s/$/.jpg/' | LC_ALL=C sort -u
}
elements() {  # elements KEY LIST: a rule entry's list of elements
  [ -n "$2" ] || return 0
  echo "    $1:"
  printf '%s\n' "$2" | tr ';' '\n' | sed 's/^ *//; s/ *$//; s/^/      - /'
}

while IFS=@ read -r name expected conditions exceptions; do
  case $name in '' | '#'*) continue ;; esac
  name=$(echo $name) cases=$((cases + 1))
  { printf 'rules:\n  - name: Case\n'; elements conditions "$conditions"
    elements exceptions "${exceptions:-}"; } >"$WORK/rules.yaml"
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/pictures" --mode all >"$WORK/out" 2>"$WORK/err" </dev/null
  status=$?
  "$LUMARKO" events >"$WORK/events" 2>>"$WORK/err" </dev/null
  sed -n 's|.*/\([^/"]*\)" matches the selection condition(s)\.$|\1|p' "$WORK/events" |
    LC_ALL=C sort -u >"$WORK/got"
  # shellcheck disable=SC2086  # the expected list is split on purpose
  names $expected >"$WORK/want"
  if [ "$status" -ne 0 ] && [ "$status" -ne 3 ]; then
    fail "$name: exit status $status"
    sed 's/^/  rules: /' "$WORK/rules.yaml"; sed 's/^/  err: /' "$WORK/err"
    grep '^Error' "$WORK/events" | sed 's/^/  event: /'
  elif ! cmp -s "$WORK/want" "$WORK/got"; then
    fail "$name"
    LC_ALL=C comm -23 "$WORK/want" "$WORK/got" | sed 's/^/  missing:    /'
    LC_ALL=C comm -13 "$WORK/want" "$WORK/got" | sed 's/^/  unexpected: /'
  fi
done <<'CASES'
file type jpeg @ all -graphic.png @ Condition.FileType: { type: jpeg }
file type not-jpeg @ graphic.png @ Condition.FileType: { type: not-jpeg }
# Dates: 2023-03-14 and 2023-08-02 are the only 2023 ones; no date never matches. portrait_2025
# has only the digitized date (2025-07-04), xmp_gps_2024 only an XMP date (2024-04-01).
date taken before 2024 @ street_2023 harbour_2023 @ Condition.DateTaken: { when: before, date: 2024-01-01 }
date taken after 2024-12-31 @ rejected_2025 sidecar_2025 portrait_2025 sensitivity_2025 @ Condition.DateTaken: { when: after, date: 2024-12-31 }
date taken on or before 2024-01-20 @ street_2023 harbour_2023 mountain_2024 @ Condition.DateTaken: { when: on-or-before, date: 2024-01-20 }
# Rating: street 5, mountain 4, sidecar_2025 4 from its sidecar (its own XMP says 1); night 1,
# below_sea, xmp_gps and graphic.png 2; portrait_2025 0 and rejected -1 (all bits set) are "not set".
rating >= 4 @ street_2023 mountain_2024 sidecar_2025 @ Condition.Xmp.Rating: { compare: ">=", rating: 4 }
rating not set @ plain_nometa portrait_2025 truncated rejected_2025 @ Condition.Xmp.Rating: { compare: not set }
rating <= 2 @ night_2024 below_sea_2024 xmp_gps_2024 graphic.png @ Condition.Xmp.Rating: { compare: "<=", rating: 2 }
# Label 3 is "Green" (harbour, graphic.png) and "Approved" in the workflow names (rejected);
# 4, "Blue", is mountain's, and sidecar_2025's from its sidecar (its own XMP says Red).
label = 3 @ harbour_2023 graphic.png rejected_2025 @ Condition.Xmp.Label: { compare: "=", label: 3 }
label = 4 @ mountain_2024 sidecar_2025 @ Condition.Xmp.Label: { compare: "=", label: 4 }
# Urgency: street 1 and below_sea 5 in XMP, harbour 4 in IPTC-IIM only.
urgency >= 4 @ harbour_2023 below_sea_2024 @ Condition.Photoshop.Urgency: { compare: ">=", urgency: 4 }
# ISO: harbour 400, rejected 800, below_sea 1600, night 6400, sensitivity 12800 (given only as the
# recommended exposure index). A rule takes each element once: an upper bound is an exception.
ISO from 400 to 1600 @ harbour_2023 rejected_2025 below_sea_2024 @ Condition.ISOSpeed: { compare: ">=", iso: 400 } @ Exception.ISOSpeed: { compare: ">", iso: 1600 }
ISO above 6400 @ sensitivity_2025 @ Condition.ISOSpeed: { compare: ">", iso: 6400 }
# Aperture compares the opening: "<" f/4 is a larger f-number (harbour 5.6, mountain 8, rejected
# 11; below_sea's f/4 itself is not smaller).
aperture smaller than f/4 @ harbour_2023 mountain_2024 rejected_2025 @ Condition.Aperture: { compare: "<", aperture: f/4 }
aperture = f/2.8 @ street_2023 @ Condition.Aperture: { compare: "=", aperture: "2.8" }
# Shutter: harbour's 0.0166667 s is 1/60 s within tolerance; night 2 s; street 0.004 s, mountain
# 1/500, below_sea 1/1000, sensitivity 1/2000. No exposure time reads 0, shorter than anything.
shutter speed 1/60s or longer @ harbour_2023 night_2024 @ Condition.ShutterSpeed: { compare: ">=", shutter-speed: 1/60s }
shutter speed shorter than 1/250s @ mountain_2024 below_sea_2024 sensitivity_2025 @ Condition.ShutterSpeed: { compare: "<", shutter-speed: 1/250s } @ Exception.ShutterSpeed: { compare: "<", shutter-speed: 1/16000s }
# Focal length: harbour 50, night 50, sensitivity 85, rejected 105.
focal length >= 50 mm @ harbour_2023 night_2024 sensitivity_2025 rejected_2025 @ Condition.FocalLength: { compare: ">=", focal-length: 50 }
# Wildcards ignore case; xmp_gps_2024's make is only in XMP (tiff:Make); a list of two names.
camera make wildcard @ harbour_2023 below_sea_2024 rejected_2025 sensitivity_2025 @ Condition.CameraMakeMatch: { pattern: "lumen*", syntax: wildcards }
camera make list @ mountain_2024 night_2024 portrait_2025 sidecar_2025 street_2023 xmp_gps_2024 @ Condition.CameraMakeMatch: { pattern: "Corvid|Nikon", syntax: wildcards }
# The file name without extension; the expression must match the whole name.
file name regex @ below_sea_2024 mountain_2024 night_2024 xmp_gps_2024 @ Condition.FileName: { pattern: ".*_2024", syntax: regex }
file name regex anchored @ @ Condition.FileName: { pattern: "_2024", syntax: regex }
# A position in EXIF (street, harbour, mountain, below_sea) or only in XMP (xmp_gps);
# sensitivity_2025 has GPS time and datum but no position. Street's speed of 0 km/h is present.
GPS position present @ street_2023 harbour_2023 mountain_2024 below_sea_2024 xmp_gps_2024 @ Condition.GpsMetadata: { has: true, fields: [position] }
GPS position absent @ graphic.png night_2024 plain_nometa portrait_2025 rejected_2025 sensitivity_2025 sidecar_2025 truncated @ Condition.GpsMetadata: { has: false, fields: [position] }
GPS speed present @ street_2023 harbour_2023 mountain_2024 below_sea_2024 @ Condition.GpsMetadata: { has: true, fields: [speed] }
# Distances: street (Paris) and mountain (Zermatt, ~470 km); xmp_gps is New York (74.0445 W read
# from XMP as a negative longitude); harbour 33.8568 S. Pictures without a position fail the
# test, so each rule first asks for one.
GPS within 600 km of Paris @ street_2023 mountain_2024 @ Condition.GpsMetadata: { has: true, fields: [position] }; Condition.GpsPosition: { place: "48.8584, 2.2945", distance: 600 km, range: within }
GPS farther than 5 miles from New York @ street_2023 harbour_2023 mountain_2024 below_sea_2024 @ Condition.GpsMetadata: { has: true, fields: [position] }; Condition.GpsPosition: { place: "40.6892, -74.0445", distance: 5 mi, range: farther than }
GPS southern hemisphere @ harbour_2023 @ Condition.GpsMetadata: { has: true, fields: [position] }; Condition.GpsPosition: { place: "-33.8568, 151.2153", distance: 1 km }
# Altitude: below_sea 430 m below sea level, the others 5 m and up; 3883 m is 12739.5 ft.
GPS altitude below sea level @ below_sea_2024 @ Condition.GpsAltitude: { operator: "<", altitude: 0 m }
GPS altitude in feet @ mountain_2024 @ Condition.GpsAltitude: { operator: ">=", altitude: 12740 ft }
# Speed: street 0 km/h, harbour 12 km/h, mountain 10 kn (18.5 km/h), below_sea 60 mph; "= 0"
# holds for street, not for pictures without a speed.
GPS speed above 15 km/h @ mountain_2024 below_sea_2024 @ Condition.GpsSpeed: { operator: ">", speed: 15 km/h }
GPS speed = 10 knots @ mountain_2024 @ Condition.GpsSpeed: { operator: "=", speed: 10 kn }
GPS speed = 0 @ street_2023 @ Condition.GpsSpeed: { operator: "=", speed: 0 km/h }
# Direction: street 90 true, mountain 15 true, harbour 200 magnetic; Sydney's declination in 2023
# is about 12.8 E, so 200 magnetic is about 213 true, not 200.
GPS direction east @ street_2023 @ Condition.GpsDirection: { direction: 90, tolerance: 5, reference: true north }
GPS direction magnetic @ harbour_2023 @ Condition.GpsDirection: { direction: 200, tolerance: 1, reference: magnetic north }
GPS direction true against magnetic @ harbour_2023 @ Condition.GpsDirection: { direction: 213, tolerance: 3, reference: true north }
GPS direction not converted as is @ @ Condition.GpsDirection: { direction: 200, tolerance: 3, reference: true north }
# Every picture is 64 x 48 (0.003 megapixel) in its stored pixels, whatever its orientation tag
# (mountain 6, portrait_2025 8); truncated reads 0.
portrait @ @ Condition.Portrait: { portrait: true }
landscape @ all @ Condition.Portrait: { portrait: false }
sidecar present @ sidecar_2025 @ Condition.Sidecar: { exists: true }
image dimension = 64 @ all -truncated @ Condition.ImageDimension: { compare: "=", pixels: 64 }
image dimension < 64 @ truncated @ Condition.ImageDimension: { compare: "<", pixels: 64 }
megapixels >= 0.1 @ @ Condition.ImageMegapixels: { compare: ">=", megapixels: 0.1 }
megapixels < 0.1 @ all @ Condition.ImageMegapixels: { compare: "<", megapixels: 0.1 }
# Exceptions veto: located but not below sea level; JPEGs rated 4 and up without a sidecar.
exception vetoes below sea level @ street_2023 harbour_2023 mountain_2024 xmp_gps_2024 @ Condition.GpsMetadata: { has: true, fields: [position] } @ Exception.GpsAltitude: { operator: "<", altitude: 0 m }
exception vetoes sidecar @ street_2023 mountain_2024 @ Condition.FileType: { type: jpeg }; Condition.Xmp.Rating: { compare: ">=", rating: 4 } @ Exception.Sidecar: { exists: true }
CASES
echo "$cases cases run"
finish
