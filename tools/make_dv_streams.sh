#!/bin/sh
# Makes the bundled DV sample streams (raw DIF) and their reference decodes
# (raw planar YUV at the stream's chroma format, gzip-compressed) with ffmpeg.
# Usage: tools/make_dv_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/dv}
mkdir -p "$out"
enc() {
  name=$1 graph=$2 frames=$3
  shift 3
  ffmpeg -v error -f lavfi -i "$graph" -frames:v "$frames" "$@" -c:v dvvideo -y "$out/$name"
}
enc ntsc_411.dv "testsrc2=size=720x480:rate=30000/1001" 2 -pix_fmt yuv411p
enc pal_420.dv "testsrc2=size=720x576:rate=25" 1 -pix_fmt yuv420p
# Interlaced motion makes the encoder choose 2-4-8 blocks where the fields differ.
enc ntsc_248.dv "testsrc2=size=720x480:rate=60000/1001,interlace" 1 -pix_fmt yuv411p -flags +ildct
: > "$out/psnr.txt"
for s in "$out"/*.dv; do
  ffmpeg -v error -i "$s" -f rawvideo -fps_mode passthrough - | gzip -9n > "$s.yuv.gz"
  echo "psnr  $(basename "$s")  $(basename "$s").yuv.gz" >> "$out/psnr.txt"
done
cat "$out/psnr.txt"
du -sh "$out"
