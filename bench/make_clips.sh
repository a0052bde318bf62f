#!/usr/bin/env bash
# make_clips.sh FOLDER: makes the clips that docs/speed.md measures: moving shapes under noise, so
# that decoding costs what it costs on camera pictures.
set -euo pipefail
folder=${1:?usage: make_clips.sh FOLDER}
mkdir -p "$folder"

# clip FILE SIZE FRAMES NOISE ENCODER...
clip() {
    local file=$1 size=$2 frames=$3 noise=$4
    shift 4
    ffmpeg -nostdin -v error -y \
        -f lavfi -i "testsrc2=size=$size:rate=25,noise=alls=$noise:allf=t" \
        -frames:v "$frames" "$@" "$folder/$file"
}

clip h264_1080p.mp4 1920x1080 250 12 -c:v libx264 -preset veryfast -b:v 20M -pix_fmt yuv420p
clip prores_1080p.mov 1920x1080 200 12 -c:v prores_ks -profile:v 2 -pix_fmt yuv422p10le
clip h264_uhd.mp4 3840x2160 100 10 -c:v libx264 -preset veryfast -b:v 50M -pix_fmt yuv420p
