#!/bin/sh
# Makes the small sample pictures used by the host's tests and by the demo: JPEGs with varied
# EXIF, GPS, IPTC and XMP values, an ".xmp" sidecar, a PNG, a picture without metadata and a
# damaged JPEG. Needs ImageMagick's `convert` and exiftool; the pictures are committed, so this
# runs only when the set changes.
#
#   tests/data/make_samples.sh [OUT_DIR...]    (default: tests/data/samples and demo/pictures)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
[ $# -gt 0 ] || set -- "$here/samples" "$root/demo/pictures"

for tool in convert exiftool; do
  command -v "$tool" >/dev/null 2>&1 || { echo "make_samples.sh: $tool is missing" >&2; exit 1; }
done
convert -version 2>/dev/null | grep -q ImageMagick ||
  { echo "make_samples.sh: convert is not ImageMagick (apt-get install imagemagick)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT INT TERM

# picture NAME GRADIENT: a 64x48 JPEG without any metadata.
picture() {
  convert -size 64x48 "gradient:$2" -strip -quality 80 "$work/$1"
}

# tag NAME ARGS...: writes tags in place (exiftool keeps no "_original" copy).
tag() {
  name=$1
  shift
  exiftool -q -overwrite_original -m "$@" "$work/$name"
}

picture street_2023.jpg red-yellow
tag street_2023.jpg \
  -EXIF:DateTimeOriginal='2023:03:14 08:15:30' -EXIF:CreateDate='2023:03:14 08:15:30' \
  -EXIF:Make='Corvid' -EXIF:Model='C-200' -EXIF:ISO=100 -EXIF:FNumber=2.8 \
  -EXIF:ExposureTime=0.004 -EXIF:FocalLength=35 -EXIF:FocalLengthIn35mmFormat=35 \
  -EXIF:Orientation#=1 -EXIF:Flash#=0 -EXIF:MeteringMode#=5 -EXIF:ExposureProgram#=3 \
  -EXIF:WhiteBalance#=0 -EXIF:ExposureMode#=0 -EXIF:MaxApertureValue=2.0 \
  -EXIF:Artist='Ana Pereira' -EXIF:Copyright='(c) 2023 Ana Pereira' \
  -EXIF:GPSLatitude=48.8584 -EXIF:GPSLatitudeRef=N -EXIF:GPSLongitude=2.2945 \
  -EXIF:GPSLongitudeRef=E -EXIF:GPSAltitude=35 -EXIF:GPSAltitudeRef#=0 \
  -EXIF:GPSSpeed=0 -EXIF:GPSSpeedRef#=K -EXIF:GPSImgDirection=90 -EXIF:GPSImgDirectionRef=T \
  -EXIF:GPSDateStamp='2023:03:14' -EXIF:GPSTimeStamp='07:15:30' -EXIF:GPSStatus#=A \
  -EXIF:GPSMapDatum='WGS-84' \
  -XMP-xmp:Rating=5 -XMP-xmp:Label=Red -XMP-photoshop:Urgency=1 \
  -XMP-photoshop:City=Paris -XMP-photoshop:Country=France -XMP-iptcCore:CountryCode=FR \
  -XMP-dc:Title='Morning street' -XMP-dc:Subject='street' -XMP-dc:Subject='morning' \
  -XMP-dc:Creator='Ana Pereira' -XMP-photoshop:Headline='A quiet street'

picture harbour_2023.jpg navy-skyblue
tag harbour_2023.jpg \
  -EXIF:DateTimeOriginal='2023:08:02 18:45:10' -EXIF:Make='Lumen Optics' -EXIF:Model='LX 5' \
  -EXIF:ISO=400 -EXIF:FNumber=5.6 -EXIF:ExposureTime=0.0166667 -EXIF:FocalLength=50 \
  -EXIF:ExposureCompensation=0.3333 -EXIF:Flash#=16 -EXIF:LightSource#=1 \
  -EXIF:GPSLatitude=33.8568 -EXIF:GPSLatitudeRef=S -EXIF:GPSLongitude=151.2153 \
  -EXIF:GPSLongitudeRef=E -EXIF:GPSAltitude=5 -EXIF:GPSAltitudeRef#=0 \
  -EXIF:GPSSpeed=12 -EXIF:GPSSpeedRef#=K -EXIF:GPSImgDirection=200 -EXIF:GPSImgDirectionRef=M \
  -XMP-xmp:Rating=3 -XMP-xmp:Label=Green \
  -IPTC:City=Sydney -IPTC:Country-PrimaryLocationName=Australia -IPTC:Keywords=harbour \
  -IPTC:Keywords=evening -IPTC:By-line='Sam Lee' -IPTC:Headline='Ferries at dusk' \
  -IPTC:Caption-Abstract='Ferries leaving the quay' -IPTC:Urgency=4

picture mountain_2024.jpg white-gray
tag mountain_2024.jpg \
  -EXIF:DateTimeOriginal='2024:01:20 11:00:00' -EXIF:Make='Corvid' -EXIF:Model='C-300' \
  -EXIF:ISO=200 -EXIF:FNumber=8 -EXIF:ExposureTime=0.002 -EXIF:FocalLength=24 \
  -EXIF:Orientation#=6 -EXIF:Contrast#=1 -EXIF:Saturation#=2 -EXIF:Sharpness#=1 \
  -EXIF:GPSLatitude=45.9763 -EXIF:GPSLatitudeRef=N -EXIF:GPSLongitude=7.6586 \
  -EXIF:GPSLongitudeRef=E -EXIF:GPSAltitude=3883 -EXIF:GPSAltitudeRef#=0 \
  -EXIF:GPSSpeed=10 -EXIF:GPSSpeedRef#=N -EXIF:GPSImgDirection=15 -EXIF:GPSImgDirectionRef=T \
  -XMP-xmp:Rating=4 -XMP-xmp:Label=Blue -XMP-photoshop:City=Zermatt \
  -XMP-photoshop:Country=Switzerland -XMP-iptcCore:Location='Klein Matterhorn'

picture below_sea_2024.jpg khaki-sienna
tag below_sea_2024.jpg \
  -EXIF:DateTimeOriginal='2024:06:11 14:20:05' -EXIF:Make='Lumen Optics' -EXIF:Model='LX 7' \
  -EXIF:ISO=1600 -EXIF:FNumber=4 -EXIF:ExposureTime=0.001 -EXIF:FocalLength=18 \
  -EXIF:GPSLatitude=31.559 -EXIF:GPSLatitudeRef=N -EXIF:GPSLongitude=35.4732 \
  -EXIF:GPSLongitudeRef=E -EXIF:GPSAltitude=430 -EXIF:GPSAltitudeRef#=1 \
  -EXIF:GPSSpeed=60 -EXIF:GPSSpeedRef#=M \
  -XMP-xmp:Rating=2 -XMP-xmp:Label=Yellow -XMP-photoshop:Urgency=5

picture night_2024.jpg black-purple
tag night_2024.jpg \
  -EXIF:DateTimeOriginal='2024:11:30 22:10:45' -EXIF:Make='Corvid' -EXIF:Model='C-300' \
  -EXIF:ISO=6400 -EXIF:FNumber=1.8 -EXIF:ExposureTime=2 -EXIF:FocalLength=50 \
  -EXIF:ExposureCompensation=-0.7 -EXIF:Flash#=16 -EXIF:MeteringMode#=2 \
  -EXIF:UserComment='Long exposure from the bridge' \
  -XMP-xmp:Rating=1 -XMP-xmp:Label=Purple \
  -XMP-dc:Creator='Ana Pereira' -XMP-photoshop:Headline='City lights' \
  -XMP-photoshop:Instructions='No crop' -XMP-photoshop:Credit='Corvid Collective' \
  -XMP-photoshop:Source='Own work'

picture rejected_2025.jpg gray-black
tag rejected_2025.jpg \
  -EXIF:DateTimeOriginal='2025:02:28 07:05:00' -EXIF:Make='Lumen Optics' -EXIF:Model='LX 7' \
  -EXIF:ISO=800 -EXIF:FNumber=11 -EXIF:ExposureTime=0.01 -EXIF:FocalLength=105 \
  -XMP-xmp:Rating=-1 -XMP-xmp:Label=Approved

picture sidecar_2025.jpg green-yellow
tag sidecar_2025.jpg \
  -EXIF:DateTimeOriginal='2025:04:05 16:30:00' -EXIF:Make='Corvid' -EXIF:Model='C-200' \
  -EXIF:ISO=250 -XMP-xmp:Rating=1 -XMP-xmp:Label=Red -XMP-photoshop:City=Porto
exiftool -q -m -o "$work/sidecar_2025.xmp" -XMP-xmp:Rating=4 -XMP-xmp:Label=Blue \
  -XMP-photoshop:City=Lisbon

# Only DateTimeDigitized; IPTC written both as IIM and as XMP with different cities (XMP wins),
# a creation date with its zone, and the IIM-only fields.
picture portrait_2025.jpg orange-brown
tag portrait_2025.jpg \
  -EXIF:CreateDate='2025:07:04 10:11:12' -EXIF:Make='Corvid' -EXIF:Model='C-200' \
  -EXIF:ISO=320 -EXIF:Orientation#=8 -XMP-xmp:Rating=0 \
  -IPTC:City=Lyon -XMP-photoshop:City=Grenoble -IPTC:Province-State='Isere' \
  -IPTC:DateCreated='2025:07:04' -IPTC:TimeCreated='10:11:12+02:00' \
  -IPTC:ObjectName='Portrait' -IPTC:SpecialInstructions='Embargo until August' \
  -IPTC:Credit='Studio Nord' -IPTC:Source='Archive'

# ISO only through the newer sensitivity tags; GPS time, status and datum; lens and serial.
picture sensitivity_2025.jpg teal-white
tag sensitivity_2025.jpg \
  -EXIF:DateTimeOriginal='2025:09:09 09:09:09' -EXIF:Make='Lumen Optics' -EXIF:Model='LX 9' \
  -EXIF:SensitivityType#=2 -EXIF:RecommendedExposureIndex=12800 -EXIF:FNumber=2 \
  -EXIF:ExposureTime=0.0005 -EXIF:FocalLength=85 -EXIF:MaxApertureValue=1.4 \
  -EXIF:LensModel='LO 85mm F1.4' -EXIF:SerialNumber='LO-0042-7731' \
  -EXIF:ImageUniqueID='5f2b8c1e9a7d4e3fb6c0d2a1e4f7b9c3' \
  -EXIF:GPSDateStamp='2025:09:09' -EXIF:GPSTimeStamp='07:09:09' -EXIF:GPSStatus#=V \
  -EXIF:GPSMapDatum='WGS-84' -XMP-xmp:Rating=3

# GPS written only into XMP (as geotagging tools do for sidecar workflows).
picture xmp_gps_2024.jpg pink-red
tag xmp_gps_2024.jpg \
  -XMP-exif:DateTimeOriginal='2024:04:01 12:00:00' -XMP-tiff:Make='Corvid' \
  -XMP-exif:GPSLatitude=40.6892 -XMP-exif:GPSLongitude=-74.0445 -XMP-exif:GPSAltitude=93 \
  -XMP-exif:GPSAltitudeRef=0 -XMP-xmp:Rating=2

convert -size 64x48 gradient:none-blue -strip "PNG32:$work/graphic.png"
tag graphic.png -XMP-xmp:Rating=2 -XMP-xmp:Label=Green

picture plain_nometa.jpg cyan-magenta

# A JPEG cut off inside its metadata segment.
head -c 300 "$work/street_2023.jpg" >"$work/truncated.jpg"

for out in "$@"; do
  mkdir -p "$out"
  cp "$work"/* "$out"/
done
ls -l "$1"
du -sh "$@"
