#!/usr/bin/env bash
# run.sh BUILD SECONDS [NAME...]: runs each harness (or those named) one after the other, from its corpus. What is new
# goes to BUILD/fuzz-corpus, what is a fault to BUILD/fuzz-faults. Fails when there was one.
set -u
build=$1 seconds=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
[ $# -gt 0 ] || set -- $(cd "$here" && ls ./*_fuzz.cpp | sed 's,^\./,,; s,_fuzz\.cpp$,,')

faults=0
for name in "$@"; do
  mkdir -p "$build/fuzz-corpus/$name" "$build/fuzz-faults"
  echo "== $name, $seconds s"
  "$build/bin/${name}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=1024 \
    -dict="$here/boxes.dict" -max_len=16384 -print_final_stats=1 -artifact_prefix="$build/fuzz-faults/$name-" \
    "$build/fuzz-corpus/$name" "$here/corpus/$name" >"$build/fuzz-$name.log" 2>&1 || {
      faults=$((faults + 1))
      echo "FAULT, see $build/fuzz-$name.log"
      grep -m1 -E '^(SUMMARY|fault:)|ERROR:' "$build/fuzz-$name.log"
    }
  grep -E 'number_of_executed_units|average_exec_per_sec|peak_rss_mb' "$build/fuzz-$name.log"
done
exit $((faults != 0))
