#!/bin/sh
# Installs what is missing, builds, and makes the Debian package
# build/corvanta-zephtra_<version>-1_<arch>.deb. Install it with
#   sudo apt-get install ./build/corvanta-zephtra_*.deb
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
sh scripts/build.sh
cd build
rm -f corvanta-zephtra_*.deb
cpack -G DEB
ls corvanta-zephtra_*.deb
