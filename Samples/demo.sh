#!/bin/sh
# Records the samples with the given mediakit program, reads them back, and says where the files lie.
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
echo "== What is in the first recording =="
"$mediakit" info "$out/h264-aac.mp4"
echo
echo "== Its first video samples from second 1 on =="
"$mediakit" samples "$out/h264-aac.mp4" --pin 0 --from 1 | head -n 6
echo
echo "== A copy of the second recording, and its video as a stream again =="
"$mediakit" remux --force "$out/h265.mp4" -o "$out/h265-copy.mp4" --faststart
"$mediakit" extract --force "$out/h265-copy.mp4" -o "$out/copy.h265"
echo
echo "The recordings: $out/h264-aac.mp4 and $out/h265.mp4; any player opens them."
