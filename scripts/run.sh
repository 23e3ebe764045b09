#!/bin/sh
# Installs what is missing, builds, and starts Corvanta Zephtra on a demo data
# folder (build/demo-data unless CORVANTA_DATA_DIR or --data-dir says
# otherwise), with the four demo devices simulated on 127.0.0.1:18081-18084
# and, on the first run, a day of their readings already in the data files.
# With --empty the program starts on a data folder with no devices
# (build/empty-data), so that the simulated devices can be added by hand:
# address 127.0.0.1, port 18081 to 18084, "Auto Configure".
# Extra arguments go to the program.
set -e
cd "$(dirname "$0")/.."
empty=
if [ "$1" = "--empty" ]; then
  empty=1
  shift
fi
sh scripts/deps.sh
sh scripts/build.sh
if [ -n "$empty" ]; then
  data="$PWD/build/empty-data"
  mkdir -p "$data"
else
  data="${CORVANTA_DATA_DIR:-$PWD/build/demo-data}"
  # A first run gets the four demo devices and a day of their readings,
  # so that the charts show a history at once.
  if [ ! -e "$data" ]; then
    cp -r demo "$data"
    # Device files can hold passwords: the owner's alone, as the program keeps them.
    chmod 600 "$data"/Devices/*.ini
    build/bin/corvanta-devsim --demo --write-history "$data" --hours 24
  fi
fi
build/bin/corvanta-devsim --demo >build/devsim.log 2>&1 &
simulator=$!
trap 'kill $simulator 2>/dev/null' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
case " $* " in
  *" --data-dir "*) build/bin/corvanta-zephtra "$@" ;;
  *) build/bin/corvanta-zephtra --data-dir "$data" "$@" ;;
esac
