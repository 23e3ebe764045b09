#!/bin/sh
# Installs what is missing, builds, and runs every test through ctest; then
# the Debian package is built, checked, installed and removed; then the same
# tests built with AddressSanitizer and UndefinedBehaviorSanitizer; then the
# parsers under the fuzzer.
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh --checks
sh scripts/build.sh
cd build
ctest --output-on-failure --timeout 600 -j2
cd ..
# The Debian package: built, validated, installed, run, and removed.
sh scripts/package.sh
sh tests/packaging/package_test.sh build-package/corvanta-zephtra_*.deb
# The sanitizer build: every test again, the window tests included
# (offscreen); any report fails the run.
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCORVANTA_SANITIZE=ON -DCORVANTA_BUILD_BENCH=OFF >/dev/null
cmake --build build-asan
export ASAN_OPTIONS="detect_leaks=0:abort_on_error=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
(cd build-asan && ctest --output-on-failure --timeout 900 -j2)
unset ASAN_OPTIONS UBSAN_OPTIONS
# The reply and configuration parsers under the fuzzer, about a minute each.
sh scripts/fuzz.sh
