#!/bin/sh
# Runs `lumarko apply` over a copy of the sample pictures once per case, each time with a rule set
# of one rule, and checks that the rule selects exactly the expected pictures: the names in the
# "matches the selection condition(s)" lines of `lumarko events` are compared with the case's list.
# The expected lists come from the values tests/data/make_samples.sh writes with exiftool.
# Usage: lumarko_conditions_test.sh <path of lumarko> <samples folder>
set -u
LUMARKO=$1
SAMPLES=$2
. "$(dirname "$0")/cli_case.sh"

cp -R "$SAMPLES" "$WORK/pictures"
failures=0
cases=0

# sorted_lines WORDS...: one word a line, sorted, no duplicates.
sorted_lines() { printf '%s\n' "$@" | sed '/^$/d' | LC_ALL=C sort -u; }

# selects NAME "EXPECTED NAMES": the rule body (its conditions and exceptions, indented as a rule
# entry's keys) comes on standard input. Only exit statuses 0 (clean) and 3 (warnings: the
# truncated sample) are accepted: errors mean a condition failed to evaluate on some picture.
selects() {
  name=$1 expected=$2
  cases=$((cases + 1))
  { printf 'rules:\n  - name: Case\n'; cat; } >"$WORK/rules.yaml"
  "$LUMARKO" apply "$WORK/rules.yaml" "$WORK/pictures" --mode all >"$WORK/out" 2>"$WORK/err"
  status=$?
  "$LUMARKO" events >"$WORK/events" 2>>"$WORK/err"
  sed -n 's|.*/\([^/"]*\)" matches the selection condition(s)\.$|\1|p' "$WORK/events" |
    LC_ALL=C sort -u >"$WORK/got"
  # shellcheck disable=SC2086  # the expected list is split on purpose
  sorted_lines $expected >"$WORK/want"
  if [ "$status" -ne 0 ] && [ "$status" -ne 3 ]; then
    echo "FAIL $name: exit status $status"
    sed 's/^/  rules: /' "$WORK/rules.yaml"
    sed 's/^/  out: /' "$WORK/out"; sed 's/^/  err: /' "$WORK/err"
    grep '^Error' "$WORK/events" | sed 's/^/  event: /'
    failures=$((failures + 1))
  elif cmp -s "$WORK/want" "$WORK/got"; then
    echo "ok   $name"
  else
    echo "FAIL $name"
    LC_ALL=C comm -23 "$WORK/want" "$WORK/got" | sed 's/^/  missing:    /'
    LC_ALL=C comm -13 "$WORK/want" "$WORK/got" | sed 's/^/  unexpected: /'
    failures=$((failures + 1))
  fi
}

# The thirteen pictures: below_sea_2024 graphic.png harbour_2023 mountain_2024 night_2024
# plain_nometa portrait_2025 rejected_2025 sensitivity_2025 sidecar_2025 street_2023 truncated
# xmp_gps_2024 (all .jpg but graphic.png); sidecar_2025.xmp is no picture. Pictures without a
# value read it as 0 (truncated.jpg reads nothing at all).

# File type by extension.
selects "file type jpeg" "below_sea_2024.jpg harbour_2023.jpg mountain_2024.jpg night_2024.jpg
  plain_nometa.jpg portrait_2025.jpg rejected_2025.jpg sensitivity_2025.jpg sidecar_2025.jpg
  street_2023.jpg truncated.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.FileType: { type: jpeg }
YAML
selects "file type not-jpeg" "graphic.png" <<'YAML'
    conditions:
      - Condition.FileType: { type: not-jpeg }
YAML

# Date taken: 2023-03-14 and 2023-08-02 are the only 2023 dates; no date never matches.
selects "date taken before 2024" "street_2023.jpg harbour_2023.jpg" <<'YAML'
    conditions:
      - Condition.DateTaken: { when: before, date: 2024-01-01 }
YAML
# portrait_2025 has only the digitized date (2025-07-04); xmp_gps_2024 only an XMP date.
selects "date taken after 2024-12-31" "rejected_2025.jpg sidecar_2025.jpg portrait_2025.jpg
  sensitivity_2025.jpg" <<'YAML'
    conditions:
      - Condition.DateTaken: { when: after, date: 2024-12-31 }
YAML
# 2024-01-20 itself is "on or before", the XMP-only date 2024-04-01 is not.
selects "date taken on or before 2024-01-20" "street_2023.jpg harbour_2023.jpg
  mountain_2024.jpg" <<'YAML'
    conditions:
      - Condition.DateTaken: { when: on-or-before, date: 2024-01-20 }
YAML

# Rating: street 5, mountain 4, and sidecar_2025 4 from its sidecar (its own XMP says 1).
selects "rating >= 4" "street_2023.jpg mountain_2024.jpg sidecar_2025.jpg" <<'YAML'
    conditions:
      - Condition.Xmp.Rating: { compare: ">=", rating: 4 }
YAML
# "not set": rating 0 (portrait_2025 writes 0, the others none) and rejected (-1, all bits set).
selects "rating not set" "plain_nometa.jpg portrait_2025.jpg truncated.jpg
  rejected_2025.jpg" <<'YAML'
    conditions:
      - Condition.Xmp.Rating: { compare: not set }
YAML
# "<= 2" leaves unrated (0) and rejected (-1) pictures out: night 1, below_sea 2, xmp_gps 2,
# graphic.png 2.
selects "rating <= 2" "night_2024.jpg below_sea_2024.jpg xmp_gps_2024.jpg graphic.png" <<'YAML'
    conditions:
      - Condition.Xmp.Rating: { compare: "<=", rating: 2 }
YAML

# Label 3 is "Green" (harbour, graphic.png) and "Approved" in the workflow names (rejected).
selects "label = 3" "harbour_2023.jpg graphic.png rejected_2025.jpg" <<'YAML'
    conditions:
      - Condition.Xmp.Label: { compare: "=", label: 3 }
YAML
# Label 4, "Blue": mountain, and sidecar_2025 from its sidecar (its own XMP says Red).
selects "label = 4" "mountain_2024.jpg sidecar_2025.jpg" <<'YAML'
    conditions:
      - Condition.Xmp.Label: { compare: "=", label: 4 }
YAML

# Urgency: street 1 and below_sea 5 in XMP, harbour 4 in IPTC-IIM only.
selects "urgency >= 4" "harbour_2023.jpg below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.Photoshop.Urgency: { compare: ">=", urgency: 4 }
YAML

# ISO 400..1600 inclusive (a rule takes each element once: the upper bound is an exception):
# harbour 400, rejected 800, below_sea 1600; not night 6400 nor sensitivity 12800 (given only as
# the recommended exposure index).
selects "ISO from 400 to 1600" "harbour_2023.jpg rejected_2025.jpg below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.ISOSpeed: { compare: ">=", iso: 400 }
    exceptions:
      - Exception.ISOSpeed: { compare: ">", iso: 1600 }
YAML
selects "ISO above 6400" "sensitivity_2025.jpg" <<'YAML'
    conditions:
      - Condition.ISOSpeed: { compare: ">", iso: 6400 }
YAML

# Aperture compares the opening: "<" f/4 is a larger f-number, harbour 5.6, mountain 8,
# rejected 11 (f/4 itself, below_sea, is not smaller).
selects "aperture smaller than f/4" "harbour_2023.jpg mountain_2024.jpg rejected_2025.jpg" <<'YAML'
    conditions:
      - Condition.Aperture: { compare: "<", aperture: f/4 }
YAML
selects "aperture = f/2.8" "street_2023.jpg" <<'YAML'
    conditions:
      - Condition.Aperture: { compare: "=", aperture: "2.8" }
YAML

# Shutter speed: harbour's 0.0166667 s equals 1/60 s within the tables' tolerance; night 2 s.
selects "shutter speed 1/60s or longer" "harbour_2023.jpg night_2024.jpg" <<'YAML'
    conditions:
      - Condition.ShutterSpeed: { compare: ">=", shutter-speed: 1/60s }
YAML
# Exposures shorter than 1/250 s (street's own 0.004 s is not): mountain 1/500, below_sea
# 1/1000, sensitivity 1/2000. Pictures without an exposure time read 0, shorter than anything:
# the exception leaves them out.
selects "shutter speed shorter than 1/250s" "mountain_2024.jpg below_sea_2024.jpg
  sensitivity_2025.jpg" <<'YAML'
    conditions:
      - Condition.ShutterSpeed: { compare: "<", shutter-speed: 1/250s }
    exceptions:
      - Exception.ShutterSpeed: { compare: "<", shutter-speed: 1/16000s }
YAML

# Focal length >= 50 mm: harbour 50, night 50, sensitivity 85, rejected 105.
selects "focal length >= 50 mm" "harbour_2023.jpg night_2024.jpg sensitivity_2025.jpg
  rejected_2025.jpg" <<'YAML'
    conditions:
      - Condition.FocalLength: { compare: ">=", focal-length: 50 }
YAML

# Camera make "Lumen Optics": harbour, below_sea, rejected, sensitivity; wildcards ignore case.
selects "camera make wildcard" "harbour_2023.jpg below_sea_2024.jpg rejected_2025.jpg
  sensitivity_2025.jpg" <<'YAML'
    conditions:
      - Condition.CameraMakeMatch: { pattern: "lumen*", syntax: wildcards }
YAML
# The make of xmp_gps_2024 is only in XMP (tiff:Make); a list of two names.
selects "camera make list" "mountain_2024.jpg night_2024.jpg portrait_2025.jpg
  sidecar_2025.jpg street_2023.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.CameraMakeMatch: { pattern: "Corvid|Nikon", syntax: wildcards }
YAML

# File name without its extension; the expression must match the whole name.
selects "file name regex" "below_sea_2024.jpg mountain_2024.jpg night_2024.jpg
  xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.FileName: { pattern: ".*_2024", syntax: regex }
YAML
selects "file name regex anchored" "" <<'YAML'
    conditions:
      - Condition.FileName: { pattern: "_2024", syntax: regex }
YAML

# A GPS position in EXIF (street, harbour, mountain, below_sea) or only in XMP (xmp_gps);
# sensitivity_2025 has GPS time and datum but no position.
selects "GPS position present" "street_2023.jpg harbour_2023.jpg mountain_2024.jpg
  below_sea_2024.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
YAML
selects "GPS position absent" "graphic.png night_2024.jpg plain_nometa.jpg portrait_2025.jpg
  rejected_2025.jpg sensitivity_2025.jpg sidecar_2025.jpg truncated.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: false, fields: [position] }
YAML
# A speed of 0 km/h (street) is present all the same.
selects "GPS speed present" "street_2023.jpg harbour_2023.jpg mountain_2024.jpg
  below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [speed] }
YAML

# Within 600 km of street_2023's place (Paris): street itself and mountain (Zermatt, ~470 km).
# Pictures without a position fail the test, so the rule first asks for one.
selects "GPS position within 600 km of Paris" "street_2023.jpg mountain_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
      - Condition.GpsPosition: { place: "48.8584, 2.2945", distance: 600 km, range: within }
YAML
# Farther than 5 mi from xmp_gps_2024's place (New York, 74.0445 W read from XMP as a negative
# longitude): every located picture but that one.
selects "GPS position farther than 5 miles from New York" "street_2023.jpg harbour_2023.jpg
  mountain_2024.jpg below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
      - Condition.GpsPosition: { place: "40.6892, -74.0445", distance: 5 mi, range: farther than }
YAML
# Harbour is in the southern hemisphere (33.8568 S): 1 km from the northern point misses it.
selects "GPS position southern hemisphere" "harbour_2023.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
      - Condition.GpsPosition: { place: "-33.8568, 151.2153", distance: 1 km }
YAML

# Altitude: below_sea 430 m with the below-sea-level reference; the others 5 m and up.
selects "GPS altitude below sea level" "below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsAltitude: { operator: "<", altitude: 0 m }
YAML
# 3883 m is 12739.5 ft: ">=" 12740 ft holds within half a foot.
selects "GPS altitude in feet" "mountain_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsAltitude: { operator: ">=", altitude: 12740 ft }
YAML

# Speed: street 0 km/h, harbour 12 km/h, mountain 10 kn (18.5 km/h), below_sea 60 mph.
selects "GPS speed above 15 km/h" "mountain_2024.jpg below_sea_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsSpeed: { operator: ">", speed: 15 km/h }
YAML
selects "GPS speed = 10 knots" "mountain_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsSpeed: { operator: "=", speed: 10 kn }
YAML
# "= 0" holds for street's speed of 0, not for pictures that have none.
selects "GPS speed = 0" "street_2023.jpg" <<'YAML'
    conditions:
      - Condition.GpsSpeed: { operator: "=", speed: 0 km/h }
YAML

# Direction: street 90 (true north), mountain 15 (true), harbour 200 (magnetic, Sydney).
selects "GPS direction east" "street_2023.jpg" <<'YAML'
    conditions:
      - Condition.GpsDirection: { direction: 90, tolerance: 5, reference: true north }
YAML
selects "GPS direction magnetic" "harbour_2023.jpg" <<'YAML'
    conditions:
      - Condition.GpsDirection: { direction: 200, tolerance: 1, reference: magnetic north }
YAML
# Sydney's declination in 2023 is about 12.8 degrees east: 200 magnetic is about 213 true, so a
# wanted 213 true reaches harbour and a wanted 200 true does not.
selects "GPS direction true against magnetic" "harbour_2023.jpg" <<'YAML'
    conditions:
      - Condition.GpsDirection: { direction: 213, tolerance: 3, reference: true north }
YAML
selects "GPS direction not converted as is" "" <<'YAML'
    conditions:
      - Condition.GpsDirection: { direction: 200, tolerance: 3, reference: true north }
YAML

# Portrait tests the stored pixels: every picture is 64 x 48, and the orientation tags of
# mountain (6) and portrait_2025 (8) do not make them portrait.
selects "portrait" "" <<'YAML'
    conditions:
      - Condition.Portrait: { portrait: true }
YAML
selects "landscape" "below_sea_2024.jpg graphic.png harbour_2023.jpg mountain_2024.jpg
  night_2024.jpg plain_nometa.jpg portrait_2025.jpg rejected_2025.jpg sensitivity_2025.jpg
  sidecar_2025.jpg street_2023.jpg truncated.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.Portrait: { portrait: false }
YAML

# Only sidecar_2025.jpg has a sidecar.xmp beside it.
selects "sidecar present" "sidecar_2025.jpg" <<'YAML'
    conditions:
      - Condition.Sidecar: { exists: true }
YAML

# The longer side is 64 pixels in every readable picture, 0 in the truncated one.
selects "image dimension = 64" "below_sea_2024.jpg graphic.png harbour_2023.jpg
  mountain_2024.jpg night_2024.jpg plain_nometa.jpg portrait_2025.jpg rejected_2025.jpg
  sensitivity_2025.jpg sidecar_2025.jpg street_2023.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.ImageDimension: { compare: "=", pixels: 64 }
YAML
selects "image dimension < 64" "truncated.jpg" <<'YAML'
    conditions:
      - Condition.ImageDimension: { compare: "<", pixels: 64 }
YAML

# 64 x 48 is 0.003 megapixel: no picture reaches 0.1.
selects "megapixels >= 0.1" "" <<'YAML'
    conditions:
      - Condition.ImageMegapixels: { compare: ">=", megapixels: 0.1 }
YAML
selects "megapixels < 0.1" "below_sea_2024.jpg graphic.png harbour_2023.jpg
  mountain_2024.jpg night_2024.jpg plain_nometa.jpg portrait_2025.jpg rejected_2025.jpg
  sensitivity_2025.jpg sidecar_2025.jpg street_2023.jpg truncated.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.ImageMegapixels: { compare: "<", megapixels: 0.1 }
YAML

# Exceptions veto: the located pictures, but not the one below sea level.
selects "exception vetoes below sea level" "street_2023.jpg harbour_2023.jpg
  mountain_2024.jpg xmp_gps_2024.jpg" <<'YAML'
    conditions:
      - Condition.GpsMetadata: { has: true, fields: [position] }
    exceptions:
      - Exception.GpsAltitude: { operator: "<", altitude: 0 m }
YAML
# JPEGs rated 4 and up, but not those with a sidecar.
selects "exception vetoes sidecar" "street_2023.jpg mountain_2024.jpg" <<'YAML'
    conditions:
      - Condition.FileType: { type: jpeg }
      - Condition.Xmp.Rating: { compare: ">=", rating: 4 }
    exceptions:
      - Exception.Sidecar: { exists: true }
YAML

if [ "$failures" -ne 0 ]; then
  echo "$failures of $cases case(s) failed"
  exit 1
fi
echo "all $cases cases passed"
