#!/bin/sh
# Installs what is missing, builds, and starts Corvanta Zephtra on a demo data
# folder (build/demo-data unless CORVANTA_DATA_DIR or --data-dir says
# otherwise), with the four demo devices simulated on 127.0.0.1:18081-18084.
# Extra arguments go to the program.
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
sh scripts/build.sh
data="${CORVANTA_DATA_DIR:-$PWD/build/demo-data}"
# A first run gets the four demo devices.
[ -e "$data" ] || cp -r demo "$data"
build/bin/corvanta-devsim --demo >build/devsim.log 2>&1 &
simulator=$!
trap 'kill $simulator 2>/dev/null' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
case " $* " in
  *" --data-dir "*) build/bin/corvanta-zephtra "$@" ;;
  *) build/bin/corvanta-zephtra --data-dir "$data" "$@" ;;
esac
