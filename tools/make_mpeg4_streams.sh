#!/bin/sh
# Makes the bundled MPEG-4 Part 2 sample streams and their reference decodes
# (raw planar YUV, gzip-compressed) with ffmpeg; compared by PSNR.
# Usage: tools/make_mpeg4_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/mpeg4}
mkdir -p "$out"
enc() {
  name=$1 graph=$2 frames=$3
  shift 3
  ffmpeg -v error -f lavfi -i "$graph" -frames:v "$frames" -pix_fmt yuv420p -c:v mpeg4 -bf 0 "$@" -f m4v -y "$out/$name"
}
enc h263_quant.m4v "testsrc=size=176x144:rate=25" 8 -qscale:v 4
enc mpeg_quant.m4v "testsrc2=size=176x144:rate=25" 8 -qscale:v 6 -mpeg_quant 1
enc custom_matrices.m4v "testsrc=size=176x144:rate=25" 6 -qscale:v 5 -mpeg_quant 1 \
  -intra_matrix "8,10,12,14,16,18,20,22,10,12,14,16,18,20,22,24,12,14,16,18,20,22,24,26,14,16,18,20,22,24,26,28,16,18,20,22,24,26,28,30,18,20,22,24,26,28,30,32,20,22,24,26,28,30,32,34,22,24,26,28,30,32,34,36" \
  -inter_matrix "16,17,18,19,20,21,22,23,17,18,19,20,21,22,23,24,18,19,20,21,22,23,24,25,19,20,21,22,23,24,25,26,20,21,22,23,24,25,26,27,21,22,23,24,25,26,27,28,22,23,24,25,26,27,28,29,23,24,25,26,27,28,29,30"
enc mv4_acpred.m4v "testsrc2=size=176x144:rate=25" 8 -qscale:v 4 -flags +mv4+aic
enc packets.m4v "testsrc=size=176x144:rate=25" 8 -qscale:v 3 -ps 200
enc q1.m4v "testsrc2=size=128x96:rate=25" 4 -qscale:v 1
enc q31.m4v "testsrc2=size=176x144:rate=25" 8 -qscale:v 31
enc partitioned.m4v "testsrc=size=176x144:rate=25" 8 -qscale:v 4 -data_partitioning 1
enc partitioned_mv4_acpred.m4v "testsrc2=size=176x144:rate=25" 8 -qscale:v 4 -data_partitioning 1 -flags +mv4+aic -ps 400
enc odd_size.m4v "testsrc2=size=120x88:rate=25" 6 -qscale:v 5 -flags +mv4
: > "$out/psnr.txt"
for s in "$out"/*.m4v; do
  ffmpeg -v error -i "$s" -f rawvideo -pix_fmt yuv420p -fps_mode passthrough - | gzip -9n > "$s.yuv.gz"
  echo "psnr  $(basename "$s")  $(basename "$s").yuv.gz" >> "$out/psnr.txt"
done
cat "$out/psnr.txt"
du -sh "$out"
