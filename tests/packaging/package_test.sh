#!/bin/sh
# The Debian package as an operator gets it: its contents and metadata
# validated, lintian clean, then installed on this machine, run, its units
# verified, and removed and purged without leaving a file behind.
# Needs root (or sudo) for the install. Usage: package_test.sh PACKAGE.deb
set -eu
deb=$(realpath "$1")
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO=sudo
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail() { echo "FAIL: $*"; exit 1; }
step() { echo "== $*"; }

step "contents"
dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|' >"$tmp/contents"
for f in /usr/bin/corvanta-zephtra /usr/bin/corvanta-mailer \
         /usr/share/applications/com.corvanta.zephtra.desktop \
         /usr/share/metainfo/com.corvanta.zephtra.metainfo.xml \
         /usr/share/icons/hicolor/scalable/apps/corvanta-zephtra.svg \
         /usr/share/icons/hicolor/48x48/apps/corvanta-zephtra.png \
         /usr/share/icons/hicolor/128x128/apps/corvanta-zephtra.png \
         /usr/share/icons/hicolor/256x256/apps/corvanta-zephtra.png \
         /usr/share/man/man1/corvanta-zephtra.1.gz /usr/share/man/man1/corvanta-mailer.1.gz \
         /usr/share/doc/corvanta-zephtra/copyright /usr/share/doc/corvanta-zephtra/changelog.Debian.gz \
         /usr/share/doc/corvanta-zephtra/CorvantaZephtra_Help.html \
         /usr/share/corvanta-zephtra/templates/DeviceTemplate.txt \
         /usr/share/corvanta-zephtra/templates/ProbeTemplate.txt \
         /usr/share/corvanta-zephtra/templates/DefaultEmailTemplate.txt \
         /usr/lib/systemd/user/corvanta-zephtra.service /lib/systemd/system/corvanta-zephtra.service; do
    grep -qx "$f" "$tmp/contents" || fail "the package lacks $f"
done
# No test program, benchmark or simulator is shipped.
if grep -E 'devsim|_tests|bench_' "$tmp/contents"; then fail "the package ships a development program"; fi

step "metadata"
dpkg-deb -x "$deb" "$tmp/root"
desktop-file-validate "$tmp/root/usr/share/applications/com.corvanta.zephtra.desktop"
appstreamcli validate --no-net --pedantic "$tmp/root/usr/share/metainfo/com.corvanta.zephtra.metainfo.xml"
for size in 48 128 256; do
    file "$tmp/root/usr/share/icons/hicolor/${size}x${size}/apps/corvanta-zephtra.png" |
        grep -q "PNG image data, $size x $size" || fail "the ${size} px icon is not ${size} x ${size}"
done
dpkg-deb -f "$deb" Depends | grep -q 'libqt6core6' || fail "dependencies were not computed from the binaries"

step "lintian"
lintian --fail-on error,warning "$deb"

step "install"
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "$deb" >/dev/null
[ "$(corvanta-zephtra --version)" = "Corvanta Zephtra, Version $(dpkg-deb -f "$deb" Version | cut -d- -f1)  (build 102612)" ] ||
    fail "corvanta-zephtra --version says: $(corvanta-zephtra --version)"
man -w corvanta-zephtra >/dev/null || fail "man corvanta-zephtra finds no page"
man -w corvanta-mailer >/dev/null || fail "man corvanta-mailer finds no page"
getent passwd corvanta-zephtra >/dev/null || fail "the service account was not created"
# The installed program monitors (no devices here), serves metrics and
# saves on SIGTERM.
data="$tmp/data"
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
corvanta-zephtra --headless --data-dir "$data" --metrics-address "$port" >"$tmp/run.log" 2>&1 &
pid=$!
i=0
until curl -fsS "http://127.0.0.1:$port/metrics" >"$tmp/metrics" 2>/dev/null; do
    i=$((i + 1)); [ $i -lt 80 ] || fail "the installed program serves no metrics: $(cat "$tmp/run.log")"
    sleep 0.25
done
promtool check metrics <"$tmp/metrics"
kill -TERM $pid
wait $pid || fail "the installed program did not exit 0 on SIGTERM"
[ -f "$data/Corvanta Zephtra.ini" ] || fail "the installed program saved no settings"
[ -f "$data/Templates/DefaultEmailTemplate.txt" ] || fail "the installed program copied no templates"

step "units"
systemd-analyze verify /lib/systemd/system/corvanta-zephtra.service
mkdir -m 700 "$tmp/runtime"
XDG_RUNTIME_DIR="$tmp/runtime" systemd-analyze --user verify /usr/lib/systemd/user/corvanta-zephtra.service

step "service"
unit=/lib/systemd/system/corvanta-zephtra.service
grep -qx 'After=network-online.target time-sync.target' $unit || fail "the service does not wait for the network and the clock"
grep -qx 'Wants=network-online.target time-sync.target' $unit || fail "the service does not pull in network-online and time-sync"
for line in LimitNOFILE=65536 ProtectProc=invisible ProcSubset=pid; do
    grep -qx "$line" $unit || fail "the service lacks $line"
done
# The maintainer scripts, run where systemd is taken to be running, with
# systemd's helpers recorded instead of run.
dpkg-deb -e "$deb" "$tmp/control"
mkdir -p "$tmp/fake/bin" "$tmp/fake/run"
for helper in deb-systemd-invoke deb-systemd-helper systemctl; do
    printf '#!/bin/sh\necho "%s $*" >>"%s"\n' "$helper" "$tmp/fake/calls" >"$tmp/fake/bin/$helper"
    chmod +x "$tmp/fake/bin/$helper"
done
for script in postinst prerm postrm; do
    sed -e "s|/run/systemd/system|$tmp/fake/run|g" \
        "$tmp/control/$script" >"$tmp/fake/$script"
done
run_script() { : >"$tmp/fake/calls"; PATH="$tmp/fake/bin:$PATH" sh "$tmp/fake/$1" "$2"; cat "$tmp/fake/calls"; }
run_script prerm upgrade | grep -q . && fail "an upgrade stops or disables the service"
run_script prerm remove >"$tmp/calls"
grep -qx 'deb-systemd-invoke stop corvanta-zephtra.service' "$tmp/calls" || fail "removing the package does not stop the service"
grep -qx 'deb-systemd-helper disable corvanta-zephtra.service' "$tmp/calls" || fail "removing the package does not disable the service"
run_script postrm remove | grep -qx 'systemctl --system daemon-reload' || fail "removing the package does not reload systemd"
run_script postinst configure | grep -qx 'systemctl --system daemon-reload' || fail "installing the package does not reload systemd"
# Enabled before the removal, disabled after it.
$SUDO env DPKG_MAINTSCRIPT_PACKAGE=corvanta-zephtra DPKG_MAINTSCRIPT_NAME=postinst deb-systemd-helper enable corvanta-zephtra.service
[ -L /etc/systemd/system/multi-user.target.wants/corvanta-zephtra.service ] || fail "the service could not be enabled"

step "remove"
dpkg -L corvanta-zephtra >"$tmp/installed"
DEBIAN_FRONTEND=noninteractive $SUDO apt-get remove -y -qq corvanta-zephtra >/dev/null
[ ! -e /etc/systemd/system/multi-user.target.wants/corvanta-zephtra.service ] || fail "the service is still enabled after removal"
DEBIAN_FRONTEND=noninteractive $SUDO apt-get purge -y -qq corvanta-zephtra >/dev/null
! dpkg-query -W -f='${Status}' corvanta-zephtra 2>/dev/null | grep -q installed || fail "still installed after purge"
while read -r f; do
    [ -d "$f" ] && continue
    [ ! -e "$f" ] || fail "$f is left after purge"
done <"$tmp/installed"
echo "PASS: the package installs, runs and goes cleanly"
