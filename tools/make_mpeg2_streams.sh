#!/bin/sh
# Makes the bundled MPEG-1 and MPEG-2 sample streams and their reference
# decodes (raw planar YUV, gzip-compressed) with ffmpeg; the tests compare by
# PSNR, the inverse DCT not being bit-exact across decoders. Needs ffmpeg only
# to remake the data. Usage: tools/make_mpeg2_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/mpeg2}
mkdir -p "$out"
src="mandelbrot=size=128x96:rate=25"
moving="testsrc=size=128x96:rate=25"
# enc NAME GRAPH FRAMES FFMPEG_OPTIONS...
enc() {
  name=$1 graph=$2 frames=$3
  shift 3
  ffmpeg -v error -f lavfi -i "$graph" -frames:v "$frames" -pix_fmt yuv420p "$@" -y "$out/$name"
}
enc mpeg1_ipb.m1v "$moving" 9 -c:v mpeg1video -bf 2 -g 6 -qscale:v 4
enc mpeg1_coarse.m1v "$src" 7 -c:v mpeg1video -bf 1 -g 12 -qscale:v 24
enc mpeg2_ipb.m2v "$moving" 9 -c:v mpeg2video -bf 2 -g 6 -qscale:v 3
enc mpeg2_intravlc_altscan.m2v "$src" 8 -c:v mpeg2video -bf 2 -intra_vlc 1 -alternate_scan 1 -qscale:v 5
enc mpeg2_matrices.m2v "$moving" 7 -c:v mpeg2video -bf 1 -qscale:v 6 \
  -intra_matrix "8,10,12,14,16,18,20,22,10,12,14,16,18,20,22,24,12,14,16,18,20,22,24,26,14,16,18,20,22,24,26,28,16,18,20,22,24,26,28,30,18,20,22,24,26,28,30,32,20,22,24,26,28,30,32,34,22,24,26,28,30,32,34,36" \
  -inter_matrix "16,17,18,19,20,21,22,23,17,18,19,20,21,22,23,24,18,19,20,21,22,23,24,25,19,20,21,22,23,24,25,26,20,21,22,23,24,25,26,27,21,22,23,24,25,26,27,28,22,23,24,25,26,27,28,29,23,24,25,26,27,28,29,30"
enc mpeg2_dc10_nonlinear.m2v "$src" 6 -c:v mpeg2video -bf 2 -dc 10 -non_linear_quant 1 -qmax 28 -qscale:v 8
enc mpeg2_dc11_hiq.m2v "$moving" 5 -c:v mpeg2video -bf 0 -dc 11 -qscale:v 1
enc mpeg2_field_dct.m2v "$moving" 6 -c:v mpeg2video -bf 2 -flags +ildct -qscale:v 4
enc mpeg2_odd_size.m2v "mandelbrot=size=100x60:rate=25" 6 -c:v mpeg2video -bf 2 -qscale:v 7

for s in "$out"/*.m1v "$out"/*.m2v; do
  ffmpeg -v error -i "$s" -f rawvideo -pix_fmt yuv420p -fps_mode passthrough - | gzip -9n > "$s.yuv.gz"
done
: > "$out/psnr.txt"
for s in "$out"/*.m1v "$out"/*.m2v; do
  echo "psnr  $(basename "$s")  $(basename "$s").yuv.gz" >> "$out/psnr.txt"
done
cat "$out/psnr.txt"
du -sh "$out"
