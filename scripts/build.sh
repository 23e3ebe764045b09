#!/bin/sh
# Configures and builds into build/ (programs land in build/bin/).
set -e
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build build
