#!/bin/sh
# Save for Web throughput and peak memory against vipsthumbnail and ImageMagick, in one run over
# the same generated 24-megapixel JPEGs, each tool keeping both cores busy.
# Usage: bench/export_bench.sh <path of lumarko> [count, 200 by default]
# Needs libvips-tools (vips, vipsthumbnail), imagemagick and /usr/bin/time.
set -eu
lumarko=$1
count=${2:-200}
jobs=$(nproc)
work=$(mktemp -d "${TMPDIR:-/tmp}/lmk-export-bench-XXXXXX")
trap 'rm -rf "$work"' EXIT INT TERM
export LUMARKO_CONFIG_DIR="$work/config" XDG_DATA_HOME="$work/data"

echo "making $count pictures of 6000x4000..."
mkdir -p "$work/in"
vips gaussnoise "$work/noise.v" 6000 4000 --mean 128 --sigma 30
vips bandjoin "$work/noise.v $work/noise.v $work/noise.v" "$work/rgb.v"
vips gaussblur "$work/rgb.v" "$work/soft.v" 1.5
vips colourspace "$work/soft.v" "$work/in/p0.jpg[Q=90]" srgb
i=1
while [ "$i" -lt "$count" ]; do cp "$work/in/p0.jpg" "$work/in/p$i.jpg"; i=$((i + 1)); done

# measure NAME COMMAND...: wall time, pictures per second and the peak memory of one process.
measure() {
  name=$1
  shift
  rm -rf "$work/out" && mkdir -p "$work/out"
  start=$(date +%s.%N)
  /usr/bin/time -f %M -o "$work/peak" "$@" >/dev/null 2>"$work/err" || { cat "$work/err"; exit 1; }
  end=$(date +%s.%N)
  made=$(ls "$work/out" | wc -l)
  awk -v n="$name" -v s="$start" -v e="$end" -v c="$made" -v m="$(cat "$work/peak")" \
    'BEGIN { printf "%-28s %7.2f s  %6.2f pictures/s  %4d made  peak %d MB (one process)\n", n, e - s, c / (e - s), c, m / 1024 }'
}

cat >"$work/rules.yaml" <<YAML
rules:
  - name: web
    actions:
      - Action.SaveForWeb: { destination: "$work/out", long-edge: 2048 }
YAML
measure "lumarko SaveForWeb" "$lumarko" apply "$work/rules.yaml" "$work/in" --mode all
measure "vipsthumbnail -s 2048" sh -c "ls '$work'/in/*.jpg | xargs -P $jobs -n 10 vipsthumbnail -s 2048 -o '$work/out/%s.jpg'"
measure "convert -resize -sharpen" sh -c "ls '$work'/in/*.jpg | xargs -P $jobs -I{} sh -c 'convert \"{}\" -resize 2048x2048 -sharpen 0x0.5 \"$work/out/\$(basename {})\"'"
