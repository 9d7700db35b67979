#!/usr/bin/env bash
# run.sh BUILD [whole|micro]: whole files against ffmpeg, ffprobe and cp in the same run, then the micro-benchmarks.
# Each command runs RUNS times (3 unless set); the row shows the run with the least processor time.
set -euo pipefail
build=$1
what=${2:-all}
here=$(cd "$(dirname "$0")" && pwd)
runs=${RUNS:-3}
data=$build/data
out=$build/out
mediakit=$build/bin/mediakit
ffmpeg="ffmpeg -hide_banner -loglevel error -y"

# measure COMMAND: prints "cpu wall peakKiB" of the best run
measure() {
  local best="" i line
  for ((i = 0; i < runs; i++)); do
    rm -rf "$out"; mkdir -p "$out"
    line=$(/usr/bin/time -f '%U %S %e %M' sh -c "exec $1" 2>&1 >/dev/null </dev/null | tail -n 1)
    line=$(awk '{printf "%.2f %s %s", $1 + $2, $3, $4}' <<<"$line")
    if [ -z "$best" ] || awk -v a="$line" -v b="$best" 'BEGIN {split(a, x); split(b, y); exit !(x[1] < y[1])}'; then
      best=$line
    fi
  done
  echo "$best"
}

row() {  # row NAME "cpu wall peak" "peer cpu wall peak" ["cp cpu wall peak"]
  awk -v n="$1" -v a="$2" -v p="$3" -v c="${4:-}" 'BEGIN {
    split(a, x); split(p, y); split(c, z);
    of_copy = c == "" ? "" : sprintf("x%-6.2f", x[2] / (z[2] ? z[2] : 0.01));
    printf "  %-26s %8.2f s %8.2f s %8.1f MiB   x%-6.3f %s\n", n, x[1], x[2], x[3] / 1024,
           x[1] / (y[1] ? y[1] : 0.01), of_copy}'
}

# compare TITLE OURS PEER [CP]: each "NAME: COMMAND". Leaves our measurement in $ours.
compare() {
  local peer copy=""
  [ -z "${4:-}" ] || copy=$(measure "${4#*: }")
  peer=$(measure "${3#*: }")
  ours=$(measure "${2#*: }")
  echo "$1"
  printf '  %-26s %10s %10s %12s   %-7s %s\n' "" "processor" "wall" "peak memory" "of peer" "${copy:+wall of cp}"
  row "${2%%: *}" "$ours" "$peer" "$copy"
  row "${3%%: *}" "$peer" "$peer" "$copy"
  [ -z "$copy" ] || row "${4%%: *}" "$copy" "$peer" "$copy"
  echo
}

record_case() {  # record_case TITLE NAME: data/NAME.h264 and data/NAME.aac recorded
  local video=$data/$2.h264 audio=$data/$2.aac
  cat "$video" "$audio" > /dev/null  # into the page cache for all alike
  compare "$1" "mediakit record: $mediakit record -q --force -o $out/ours.mp4 --video $video --audio $audio" \
    "ffmpeg -c copy: $ffmpeg -fflags +genpts -i $video -i $audio -map 0:v -map 1:a -c copy $out/peer.mp4" \
    "cp: cp $video $audio $out/"
}

open_case() {  # open_case TITLE FILE SAMPLES
  cat "$2" > /dev/null
  compare "$1" "mediakit info: $mediakit info $2" \
    "ffprobe: ffprobe -hide_banner -loglevel error -show_format -show_streams $2"
  local base
  base=$(measure "$mediakit info $data/small.mp4")
  awk -v a="$ours" -v b="$base" -v n="$3" 'BEGIN {
    split(a, x); split(b, y);
    printf "  %.1f bytes a sample (peak memory above that of a file of a second)\n\n", (x[3] - y[3]) * 1024 / n}'
}

whole_files() {
  "$here/make-inputs.sh" "$data" "$mediakit"
  record_case "Record about 1 GB of 1080p H.264 with B-frames and AAC (aims: 0.35 of the peer, 1.5 of cp)" big
  record_case "Record ten hours of tiny samples, 2.4 million in 300 MB (aims: 0.12 of the peer, 1.5 of cp)" tiny
  open_case "Open a file of ten hours and 2.4 million samples (aims: 0.5 of the peer, 64 bytes a sample)" \
    "$data/tiny.mp4" 2400000
  open_case "Open a tenth of it (linear: a tenth of the time)" "$data/tenth.mp4" 240000
  compare "List all samples of the ten hours" "mediakit samples: $mediakit samples -q $data/tiny.mp4" \
    "ffprobe -show_packets: ffprobe -loglevel error -show_packets -of csv $data/tiny.mp4"
  cat "$data/big.mp4" > /dev/null
  compare "Extract the H.264 of 1 GB as Annex B (aims: 0.5 of the peer, 1.5 of cp)" \
    "mediakit extract: $mediakit extract -q $data/big.mp4 -o $out/ours.h264" \
    "ffmpeg -c copy: $ffmpeg -i $data/big.mp4 -map 0:v -c copy -f h264 $out/peer.h264" \
    "cp: cp $data/big.h264 $out/"
  compare "Remux 1 GB (aims: 0.9 of the peer, 2 of cp)" \
    "mediakit remux: $mediakit remux -q $data/big.mp4 -o $out/ours.mp4" \
    "ffmpeg -c copy: $ffmpeg -i $data/big.mp4 -map 0 -c copy $out/peer.mp4" \
    "cp: cp $data/big.mp4 $out/"
  rm -rf "$out"
}

if [ "$what" != micro ]; then whole_files; fi
if [ "$what" != whole ]; then
  [ -f "$data/tiny.mp4" ] || "$here/make-inputs.sh" "$data" "$mediakit"
  MEDIAKIT_BENCH_FILE=$data/tiny.mp4 "$build/bin/mediakit_benchmarks"
fi
