#!/bin/sh
# Builds the fuzz targets with clang (AddressSanitizer, UndefinedBehavior-
# Sanitizer) and runs each for FUZZ_SECONDS (default 60). Fails on any crash
# or sanitizer report.
set -e
cd "$(dirname "$0")/.."
seconds="${FUZZ_SECONDS:-60}"
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANTA_FUZZ=ON >/dev/null
cmake --build build-fuzz >/dev/null
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for target in FuzzReply FuzzConfiguration; do
  case $target in FuzzReply) seeds=tests/fuzz/seeds/reply ;; *) seeds=tests/fuzz/seeds/config ;; esac
  corpus="build-fuzz/corpus-$target"
  mkdir -p "$corpus"
  echo "Fuzzing $target for $seconds s"
  status=0
  "build-fuzz/bin/$target" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 "$corpus" "$seeds" >"build-fuzz/$target.log" 2>&1 || status=$?
  grep -E "^stat::number_of_executed_units|^stat::peak_rss_mb|Done [0-9]+ runs" "build-fuzz/$target.log" || true
  if [ "$status" -ne 0 ] || grep -q "runtime error:" "build-fuzz/$target.log"; then
    tail -60 "build-fuzz/$target.log"
    echo "$target failed: see build-fuzz/$target.log"
    exit 1
  fi
done
