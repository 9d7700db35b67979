#!/usr/bin/env bash
# run.sh BUILD [whole|micro]: whole files against ffmpeg and cp in the same run, then the micro-benchmarks.
# Each command runs RUNS times (3 unless set); the row shows the run with the least processor time.
set -euo pipefail
build=$1
what=${2:-all}
here=$(cd "$(dirname "$0")" && pwd)
runs=${RUNS:-3}
data=$build/data
out=$build/out
mediakit=$build/bin/mediakit

# measure NAME COMMAND...: prints "cpu wall peakKiB" of the best run
measure() {
  local best="" i line
  for ((i = 0; i < runs; i++)); do
    rm -rf "$out"; mkdir -p "$out"
    line=$(/usr/bin/time -f '%U %S %e %M' "$@" 2>&1 >/dev/null </dev/null | tail -n 1)
    line=$(awk '{printf "%.2f %s %s", $1 + $2, $3, $4}' <<<"$line")
    if [ -z "$best" ] || awk -v a="$line" -v b="$best" 'BEGIN {split(a, x); split(b, y); exit !(x[1] < y[1])}'; then
      best=$line
    fi
  done
  echo "$best"
}

row() {  # row NAME "cpu wall peak" "peer cpu wall peak" "cp cpu wall peak"
  awk -v n="$1" -v a="$2" -v p="$3" -v c="$4" 'BEGIN {
    split(a, x); split(p, y); split(c, z);
    printf "  %-22s %8.2f s %8.2f s %8.1f MiB   x%-6.3f x%-6.2f\n", n, x[1], x[2], x[3] / 1024,
           x[1] / (y[1] ? y[1] : 0.01), x[2] / (z[2] ? z[2] : 0.01)}'
}

whole_case() {  # whole_case TITLE NAME: data/NAME.h264 and data/NAME.aac recorded
  local title=$1 name=$2 ours peer copy
  cat "$data/$name.h264" "$data/$name.aac" > /dev/null  # into the page cache for all alike
  copy=$(measure sh -c "cp '$data/$name.h264' '$data/$name.aac' '$out/'")
  peer=$(measure ffmpeg -hide_banner -loglevel error -y -fflags +genpts -i "$data/$name.h264" -i "$data/$name.aac" \
         -map 0:v -map 1:a -c copy "$out/peer.mp4")
  ours=$(measure "$mediakit" record -q --force -o "$out/ours.mp4" --video "$data/$name.h264" --audio "$data/$name.aac")
  echo "$title"
  printf '  %-22s %10s %10s %12s   %-7s %-6s\n' "" "processor" "wall" "peak memory" "of peer" "of cp's wall"
  row "mediakit record" "$ours" "$peer" "$copy"
  row "ffmpeg -c copy" "$peer" "$peer" "$copy"
  row "cp" "$copy" "$peer" "$copy"
  if [ -n "${SAMPLES_NOTE:-}" ]; then echo "  $SAMPLES_NOTE"; fi
  echo
}

if [ "$what" != micro ]; then
  "$here/make-inputs.sh" "$data"
  whole_case "Record about 1 GB of 1080p H.264 with B-frames and AAC (aims: 0.35 of the peer, 1.5 of cp)" big
  whole_case "Record ten hours of tiny samples, 2.4 million in 300 MB (aims: 0.12 of the peer, 1.5 of cp)" tiny
  rm -rf "$out"
fi
if [ "$what" != whole ]; then
  "$build/bin/mediakit_benchmarks"
fi
