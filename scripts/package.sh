#!/bin/sh
# Installs what is missing, builds what the package holds (no tests,
# benchmarks or simulator) in build-package/, and makes the Debian package
# build-package/corvanta-zephtra_<version>-1_<arch>.deb. Install it with
#   sudo apt-get install ./build-package/corvanta-zephtra_*.deb
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
cmake -S . -B build-package -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANTA_BUILD_TESTS=OFF \
    -DCORVANTA_BUILD_BENCH=OFF -DCORVANTA_BUILD_SIMULATOR=OFF >/dev/null
cmake --build build-package
cd build-package
rm -f corvanta-zephtra_*.deb
cpack -G DEB
ls corvanta-zephtra_*.deb
