#!/bin/sh
# Makes the samples in this folder from ffmpeg's synthetic sources: a few seconds each of H.264
# and H.265 with B-frames, and AAC. Run it again only to change them; the results are checked in.
set -eu
cd "$(dirname "$0")"

video="testsrc2=size=320x180:rate=25:duration=6"
audio="sine=frequency=440:beep_factor=4:sample_rate=48000:duration=6"
quiet="-hide_banner -loglevel error -y -bitexact"

# shellcheck disable=SC2086
{
ffmpeg $quiet -f lavfi -i "$video" -c:v libx264 -preset medium -crf 30 -bf 3 -g 50 -threads 1 \
  -x264-params b-pyramid=normal:aud=1 -pix_fmt yuv420p -f h264 clip.h264
ffmpeg $quiet -f lavfi -i "$video" -c:v libx265 -preset medium -crf 32 -threads 1 \
  -x265-params "log-level=error:bframes=3:keyint=50:pools=none:frame-threads=1:info=0" -pix_fmt yuv420p -f hevc clip.h265
ffmpeg $quiet -f lavfi -i "$audio" -c:a aac -b:a 64k -ac 2 -f adts clip.aac
}
ls -l clip.*
