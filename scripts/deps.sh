#!/bin/sh
# Installs the Debian packages the build and the tests need, when missing;
# with --checks also the checkers the full test run uses (Prometheus and
# promtool, lintian, the desktop-entry and AppStream validators, man,
# systemd-analyze).
set -e
PACKAGES="g++ cmake ninja-build pkg-config qt6-base-dev qt6-serialport-dev qt6-multimedia-dev \
libmicrohttpd-dev libqcustomplot-dev libcurl4-openssl-dev libgif-dev googletest libgtest-dev \
python3-aiosmtpd dbus-daemon tinyproxy tzdata openssl dpkg-dev file librsvg2-bin fonts-liberation xvfb clang libclang-rt-14-dev curl"
[ "$1" = "--checks" ] && PACKAGES="$PACKAGES prometheus lintian desktop-file-utils appstream man-db systemd"
missing=""
for p in $PACKAGES; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
[ -z "$missing" ] && exit 0
echo "Installing:$missing"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends $missing
