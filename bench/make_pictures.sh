#!/bin/sh
# Generates N pictures for the benchmarks from one base JPEG, each with its own date taken,
# camera, ISO, rating and GPS position. The values go in through one CSV file and a single
# exiftool run, not one process per picture.
#
#   bench/make_pictures.sh OUT_DIR [N=5000] [BASE_JPEG=tests/data/samples/plain_nometa.jpg]
set -eu

here=$(cd "$(dirname "$0")" && pwd)
out=${1:?usage: make_pictures.sh OUT_DIR [N] [BASE_JPEG]}
count=${2:-5000}
base=${3:-$here/../tests/data/samples/plain_nometa.jpg}

command -v exiftool >/dev/null 2>&1 || { echo "make_pictures.sh: exiftool is missing" >&2; exit 1; }
[ -f "$base" ] || { echo "make_pictures.sh: no base picture $base" >&2; exit 1; }
mkdir -p "$out"
out=$(cd "$out" && pwd)

csv=$(mktemp)
trap 'rm -f "$csv"' EXIT INT TERM
start=$(date +%s)

i=1
while [ "$i" -le "$count" ]; do
  cp "$base" "$(printf '%s/pic_%05d.jpg' "$out" "$i")"
  i=$((i + 1))
done

awk -v n="$count" -v out="$out" 'BEGIN {
  split("Corvid,Lumen Optics,Aster,Halden", makes, ",")
  print "SourceFile,EXIF:DateTimeOriginal,EXIF:Make,EXIF:Model,EXIF:ISO,XMP-xmp:Rating," \
        "EXIF:GPSLatitude,EXIF:GPSLatitudeRef,EXIF:GPSLongitude,EXIF:GPSLongitudeRef,EXIF:GPSAltitude"
  for (i = 1; i <= n; i++) {
    lat = -60 + (i * 37) % 12000 / 100.0
    lon = -170 + (i * 53) % 34000 / 100.0
    printf "%s/pic_%05d.jpg,%04d:%02d:%02d %02d:%02d:%02d,%s,M-%d,%d,%d,%.4f,%s,%.4f,%s,%d\n",
      out, i, 2023 + i % 3, 1 + i % 12, 1 + i % 28, i % 24, i % 60, (i * 7) % 60,
      makes[1 + i % 4], 100 + i % 7, 100 * (1 + i % 32), i % 6,
      (lat < 0 ? -lat : lat), (lat < 0 ? "S" : "N"), (lon < 0 ? -lon : lon), (lon < 0 ? "W" : "E"),
      i % 3000
  }
}' >"$csv"

exiftool -q -q -m -overwrite_original -csv="$csv" "$out" >/dev/null
echo "make_pictures.sh: $count pictures in $out ($(( $(date +%s) - start )) s)"
