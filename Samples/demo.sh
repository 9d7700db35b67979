#!/bin/sh
# Records the samples with the given mediakit program and says where the files lie.
set -eu
mediakit=$1
samples=$(dirname "$0")
out=${2:-build/demo}
mkdir -p "$out"

echo "== H.264 with B-frames and AAC =="
"$mediakit" record --force -o "$out/h264-aac.mp4" --video "$samples/clip.h264" --audio "$samples/clip.aac" \
  --faststart --title "MediaKit demo" --progress always
echo
echo "== H.265 with B-frames, from a pipe =="
"$mediakit" record --force -o "$out/h265.mp4" --video - < "$samples/clip.h265"
echo
echo "The recordings: $out/h264-aac.mp4 and $out/h265.mp4; any player opens them."
