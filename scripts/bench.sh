#!/bin/sh
# Builds and runs the benchmarks; each prints its figures.
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
sh scripts/build.sh
for b in build/bin/bench_*; do "$b"; done
