#!/bin/sh
# Installs what is missing, builds, and starts Corvanta Zephtra on a demo data
# folder (build/demo-data unless CORVANTA_DATA_DIR or --data-dir says
# otherwise). Extra arguments go to the program.
set -e
cd "$(dirname "$0")/.."
sh scripts/deps.sh
sh scripts/build.sh
data="${CORVANTA_DATA_DIR:-$PWD/build/demo-data}"
# A first run gets the four demo devices.
[ -e "$data" ] || cp -r demo "$data"
case " $* " in *" --data-dir "*) exec build/bin/corvanta-zephtra --headless "$@" ;; esac
exec build/bin/corvanta-zephtra --headless --data-dir "$data" "$@"
