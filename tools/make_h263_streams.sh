#!/bin/sh
# Makes the bundled H.263 sample streams (baseline and H.263+ with the
# optional modes the decoder supports) and their reference decodes (raw
# planar YUV, gzip-compressed) with ffmpeg; compared by PSNR.
# Usage: tools/make_h263_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/h263}
mkdir -p "$out"
enc() {
  name=$1 codec=$2 graph=$3 frames=$4
  shift 4
  ffmpeg -v error -f lavfi -i "$graph" -frames:v "$frames" -pix_fmt yuv420p -c:v "$codec" "$@" -f h263 -y "$out/$name"
}
enc baseline.263 h263 "testsrc=size=176x144:rate=25" 8 -qscale:v 4
enc subqcif_coarse.263 h263 "testsrc2=size=128x96:rate=25" 8 -qscale:v 28
enc advanced_prediction.263 h263 "testsrc=size=176x144:rate=25" 8 -qscale:v 4 -flags +mv4 -obmc 1
enc plus_aic.263 h263p "testsrc=size=176x144:rate=25" 8 -qscale:v 5 -flags +aic
enc plus_obmc.263 h263p "testsrc=size=176x144:rate=25" 8 -qscale:v 5 -obmc 1
enc plus_deblock.263 h263p "testsrc2=size=176x144:rate=25" 8 -qscale:v 9 -flags +loop
enc plus_slices_motion.263 h263p "testsrc2=size=176x144:rate=25" 8 -qscale:v 5
enc plus_unrestricted.263 h263p "testsrc=size=176x144:rate=25" 8 -qscale:v 4 -umv 1
enc plus_custom_size.263 h263p "testsrc2=size=160x112:rate=25" 6 -qscale:v 3 -flags +aic+loop
: > "$out/psnr.txt"
for s in "$out"/*.263; do
  ffmpeg -v error -i "$s" -f rawvideo -pix_fmt yuv420p -fps_mode passthrough - | gzip -9n > "$s.yuv.gz"
  echo "psnr  $(basename "$s")  $(basename "$s").yuv.gz" >> "$out/psnr.txt"
done
cat "$out/psnr.txt"
du -sh "$out"
