#!/bin/sh
# Installs what is missing, builds, and runs every test through ctest.
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
sh scripts/build.sh
cd build
ctest --output-on-failure --timeout 600 -j2
cd ..
# The reply and configuration parsers under the fuzzer, about a minute each.
sh scripts/fuzz.sh
