#!/bin/sh
# Makes the bundled H.261 sample streams and their reference decodes (raw
# planar YUV, gzip-compressed) with ffmpeg; compared by PSNR.
# Usage: tools/make_h261_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/h261}
mkdir -p "$out"
enc() {
  name=$1 graph=$2 frames=$3
  shift 3
  ffmpeg -v error -f lavfi -i "$graph" -frames:v "$frames" -pix_fmt yuv420p -c:v h261 "$@" -f h261 -y "$out/$name"
}
enc qcif_moving.261 "testsrc=size=176x144:rate=25" 10 -qscale:v 4
enc qcif_coarse.261 "testsrc2=size=176x144:rate=25" 8 -qscale:v 31
enc qcif_fine.261 "testsrc2=size=176x144:rate=25" 6 -qscale:v 1
enc cif.261 "testsrc=size=352x288:rate=25" 4 -qscale:v 6
: > "$out/psnr.txt"
for s in "$out"/*.261; do
  ffmpeg -v error -i "$s" -f rawvideo -pix_fmt yuv420p -fps_mode passthrough - | gzip -9n > "$s.yuv.gz"
  echo "psnr  $(basename "$s")  $(basename "$s").yuv.gz" >> "$out/psnr.txt"
done
cat "$out/psnr.txt"
du -sh "$out"
