#!/bin/sh
# make-inputs.sh DIR MEDIAKIT: the inputs of the whole-file benchmarks, made once by repeating an encoded minute.
#   big.h264, big.aac    about 1 GB of 1080p H.264 with B-frames, with stereo AAC
#   tiny.h264, tiny.aac  ten hours of 160x120 at 20 frames a second with low-rate AAC:
#                        2.4 million samples in about 300 MB
#   big.mp4, tiny.mp4    both as recorded by the program MEDIAKIT; tenth.mp4 of the first hour, small.mp4 of the
#                        first second of the ten hours
set -eu
dir=$1
mediakit=$(realpath "$2")
mkdir -p "$dir"
cd "$dir"
quiet="-hide_banner -loglevel error -y"

repeat() {  # repeat FILE COUNT OUT
  : > "$3"
  i=0
  while [ $i -lt "$2" ]; do cat "$1" >> "$3"; i=$((i + 1)); done
}

if [ ! -f big.done ]; then
  echo "Making big.h264 and big.aac (about 1 GB) ..." >&2
  # Noise keeps the encoder from finding the picture easy: about 20 Mbit a second.
  # shellcheck disable=SC2086
  ffmpeg $quiet -f lavfi -i "testsrc2=size=1920x1080:rate=25:duration=60,noise=alls=12:allf=t" \
    -c:v libx264 -preset superfast -b:v 20M -maxrate 24M -bufsize 40M -bf 3 -g 50 -pix_fmt yuv420p \
    -f h264 minute.h264
  # shellcheck disable=SC2086
  ffmpeg $quiet -f lavfi -i "anoisesrc=amplitude=0.3:sample_rate=48000:duration=60" -c:a aac -b:a 128k -ac 2 \
    -f adts minute.aac
  repeat minute.h264 7 big.h264
  repeat minute.aac 7 big.aac
  rm -f minute.h264 minute.aac
  touch big.done
fi

if [ ! -f tiny.done ]; then
  echo "Making tiny.h264 and tiny.aac (ten hours, 2.4 million samples) ..." >&2
  # shellcheck disable=SC2086
  ffmpeg $quiet -f lavfi -i "testsrc2=size=160x120:rate=20:duration=60" -c:v libx264 -preset medium -b:v 32k \
    -maxrate 40k -bufsize 80k -bf 3 -g 100 -pix_fmt yuv420p -f h264 minute.h264
  # shellcheck disable=SC2086
  ffmpeg $quiet -f lavfi -i "sine=frequency=330:beep_factor=3:sample_rate=48000:duration=60" -c:a aac -b:a 32k -ac 1 \
    -f adts minute.aac
  repeat minute.h264 600 tiny.h264
  repeat minute.aac 600 tiny.aac
  rm -f minute.h264 minute.aac
  touch tiny.done
fi

record() {  # record NAME VIDEO AUDIO
  if [ ! -f "$1.mp4" ]; then
    echo "Recording $1.mp4 ..." >&2
    "$mediakit" record -q --force -o "$1.part" --video "$2" --audio "$3"
    mv "$1.part" "$1.mp4"
  fi
}

first() {  # first PART OF NAME: the first PART OF-ths of tiny.h264 and tiny.aac, recorded as NAME
  [ ! -f "$3.mp4" ] || return 0
  head -c $(($(wc -c < tiny.h264) * $1 / $2)) tiny.h264 > part.h264
  head -c $(($(wc -c < tiny.aac) * $1 / $2)) tiny.aac > part.aac
  record "$3" part.h264 part.aac
  rm -f part.h264 part.aac
}

record big big.h264 big.aac
record tiny tiny.h264 tiny.aac
first 1 10 tenth
first 1 36000 small
