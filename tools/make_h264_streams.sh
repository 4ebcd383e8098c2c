#!/bin/sh
# Makes the bundled H.264 sample streams and records the MD5 of each one's
# decoded output as written by a reference decoder. Needs x264 and ffmpeg;
# neither is needed to build or test the project (streams and sums are
# committed). Usage: tools/make_h264_streams.sh [OUT_DIR]
set -eu
out=${1:-tests/streams/h264}
mkdir -p "$out"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# src NAME SIZE FRAMES LAVFI_GRAPH: a raw y4m clip.
src() {
  ffmpeg -v error -f lavfi -i "$4" -frames:v "$3" -s "$2" -pix_fmt yuv420p -f yuv4mpegpipe -y "$tmp/$1.y4m"
}
src moving 176x144 12 "testsrc=size=176x144:rate=25"
src mandel 176x144 10 "mandelbrot=size=176x144:rate=25"
src noise 176x144 6 "nullsrc=size=176x144:rate=25,geq=lum='random(1)*255':cb='random(2)*255':cr='random(3)*255'"
src flat 176x144 6 "color=c=0x808040:size=176x144:rate=25"
src fade 176x144 12 "testsrc=size=176x144:rate=25,fade=in:0:12"
src cif 352x288 30 "testsrc2=size=352x288:rate=25"
src odd 200x120 6 "mandelbrot=size=200x120:rate=25"

# enc NAME SOURCE X264_OPTIONS...: CAVLC without the 8x8 transform.
enc() {
  name=$1 source=$2
  shift 2
  x264 --quiet --no-progress --no-cabac --no-8x8dct --threads 1 "$@" -o "$out/$name.264" "$tmp/$source.y4m" 2>/dev/null
}
enc baseline_p      moving --profile baseline --qp 26 --keyint 6
enc qp51            moving --profile baseline --qp 51
enc lowqp_aq        mandel --crf 1 --aq-mode 1 --aq-strength 2 --bframes 1
enc partitions_ref16 moving --partitions all --ref 16 --bframes 3 --b-pyramid normal --qp 30
enc bframes_flat    mandel --bframes 2 --b-pyramid none --qp 28 --ref 3
enc weightp         fade --weightp 2 --ref 3 --qp 28 --bframes 0
enc weightb_spatial fade --weightb --bframes 3 --b-adapt 0 --direct spatial --qp 30 --ref 4
enc temporal        moving --direct temporal --bframes 2 --b-adapt 0 --b-pyramid strict --qp 27 --ref 2
enc pyramid_temporal mandel --direct temporal --bframes 3 --b-adapt 0 --b-pyramid normal --weightb --ref 4 --qp 29
enc slices_deblock  mandel --slices 4 --deblock -3:2 --qp 24 --bframes 2
enc no_deblock      moving --no-deblock --qp 35 --bframes 1 --slices 2
enc deblock_hi      noise --deblock 6:6 --qp 40 --bframes 2
enc noise_lowqp     noise --qp 8 --bframes 1
enc flat            flat --qp 20 --bframes 2
enc constrained     mandel --constrained-intra --qp 22 --keyint 4 --bframes 0 --slice-max-mbs 30
enc odd_size        odd --qp 25 --bframes 2 --direct temporal
enc cif             cif --preset medium --tune psnr --bframes 3 --weightp 2 --ref 4 --qp 26

: > "$out/md5.txt"
for s in "$out"/*.264; do
  sum=$(ffmpeg -v error -i "$s" -f rawvideo -fps_mode passthrough - | md5sum | cut -d' ' -f1)
  frames=$(ffmpeg -v error -i "$s" -f rawvideo -fps_mode passthrough - | wc -c)
  echo "$sum  $(basename "$s")  $frames" >> "$out/md5.txt"
done
cat "$out/md5.txt"
du -sh "$out"

# Streams using tools the decoder refuses (each must end with a "not supported" error).
mkdir -p "$out/unsupported"
src tiny 64x64 2 "testsrc=size=64x64:rate=25"
x264 --quiet --no-progress --threads 1 --no-8x8dct --qp 30 -o "$out/unsupported/cabac.264" "$tmp/tiny.y4m" 2>/dev/null
x264 --quiet --no-progress --threads 1 --no-cabac --qp 30 -o "$out/unsupported/transform8x8.264" "$tmp/tiny.y4m" 2>/dev/null
x264 --quiet --no-progress --threads 1 --no-cabac --no-8x8dct --interlaced --qp 30 -o "$out/unsupported/interlaced.264" "$tmp/tiny.y4m" 2>/dev/null
