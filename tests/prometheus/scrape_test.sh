#!/bin/sh
# Debian's Prometheus scrapes two Corvanta Zephtra programs, each with its
# own data folder and simulated device, with the shipped alerting rules
# loaded; both programs' probe values must come back through the query API,
# and a device that goes away must show as down.
# Usage: scrape_test.sh BIN_DIR PROMETHEUS_EXAMPLES_DIR
set -eu
bin=$1
examples=$2
command -v prometheus >/dev/null || { echo "prometheus (Debian's package) is needed"; exit 1; }
tmp=$(mktemp -d)
cleanup() {
    for f in "$tmp"/*.pid; do
        [ -e "$f" ] && kill "$(cat "$f")" 2>/dev/null || true
    done
    wait 2>/dev/null || true
    rm -rf "$tmp"
}
trap cleanup EXIT

fail() { echo "FAIL: $*"; for f in "$tmp"/*.log; do echo "== $f"; tail -20 "$f"; done; exit 1; }

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# Waits up to $1 seconds for the command in the remaining arguments to succeed.
wait_for() {
    limit=$1; shift
    i=0
    while ! "$@" >/dev/null 2>&1; do
        i=$((i + 1))
        [ "$i" -le $((limit * 4)) ] || return 1
        sleep 0.25
    done
}

# A simulator with one device; prints its port.
simulator() {  # name config-json
    "$bin/corvanta-devsim" --config "$tmp/$1.json" >"$tmp/$1-sim.log" 2>&1 &
    echo $! >"$tmp/$1-sim.pid"
    wait_for 20 grep -q ready "$tmp/$1-sim.log" || fail "simulator $1 did not start"
    head -1 "$tmp/$1-sim.log" | cut -d' ' -f1
}

# A program on its own data folder watching device $2 at port $3, probe $4.
program() {  # name device port probe-section metrics-port
    data="$tmp/$1"
    mkdir -p "$data/Devices"
    printf '[Devices]\r\nDevice001=%s\r\n' "$2" >"$data/Corvanta Zephtra.ini"
    printf '[Device]\r\nDeviceName=%s\r\nDeviceModel=Model R4\r\nDeviceAddress=127.0.0.1\r\nDevicePort=%s\r\nQueryInterval=1\r\nProbeCount=1\r\n%b' \
        "$2" "$3" "$4" >"$data/Devices/$2.ini"
    "$bin/corvanta-zephtra" --headless --data-dir "$data" --metrics-address "127.0.0.1:$5" >"$tmp/$1.log" 2>&1 &
    echo $! >"$tmp/$1.pid"
}

cat >"$tmp/a.json" <<'JSON'
{"devices": [{"model": "Model R4", "name": "Boiler", "probes": [{"name": "Flow", "scenario": {"kind": "constant", "value": 71.5}}]}]}
JSON
cat >"$tmp/b.json" <<'JSON'
{"devices": [{"model": "Model R4", "name": "Store", "probes": [{"name": "Air", "type": "Humidity", "scenario": {"kind": "constant", "value": 55}}]}]}
JSON
port_a=$(simulator a)
port_b=$(simulator b)
metrics_a=$(free_port)
metrics_b=$(free_port)
[ "$metrics_a" != "$metrics_b" ] || metrics_b=$(free_port)
program site-a "Boiler Room" "$port_a" \
    '[Probe01]\r\nProbeNumber=1\r\nProbeName=Flow\r\nProbeEnabled=1\r\nProbeType=0\r\nHighAlarmTemp=90\r\nHighCautionTemp=85\r\nLowCautionTemp=40\r\nLowAlarmTemp=30\r\n' \
    "$metrics_a"
program site-b "Cold Store" "$port_b" \
    '[Probe01]\r\nProbeNumber=1\r\nProbeName=Air\r\nProbeEnabled=1\r\nProbeType=1\r\nHighAlarmHumidity=90\r\nHighCautionHumidity=80\r\nLowCautionHumidity=20\r\nLowAlarmHumidity=10\r\n' \
    "$metrics_b"
wait_for 20 grep -q "^Metrics: " "$tmp/site-a.log" || fail "program a serves no metrics"
wait_for 20 grep -q "^Metrics: " "$tmp/site-b.log" || fail "program b serves no metrics"

# The shipped rules, and the two programs as targets of one job.
cp "$examples/corvanta-alerts.yml" "$tmp/"
cat >"$tmp/prometheus.yml" <<YAML
global:
  scrape_interval: 1s
  evaluation_interval: 1s
rule_files:
  - corvanta-alerts.yml
scrape_configs:
  - job_name: corvanta
    static_configs:
      - targets: ["127.0.0.1:$metrics_a"]
        labels: {site: a}
      - targets: ["127.0.0.1:$metrics_b"]
        labels: {site: b}
YAML
promtool check config "$tmp/prometheus.yml" >/dev/null || fail "promtool refuses the test configuration"
web=$(free_port)
prometheus --config.file="$tmp/prometheus.yml" --storage.tsdb.path="$tmp/tsdb" \
    --web.listen-address="127.0.0.1:$web" >"$tmp/prometheus.log" 2>&1 &
echo $! >"$tmp/prometheus.pid"
api="http://127.0.0.1:$web/api/v1"

# Prints the value of the query's one series, or nothing.
query() {
    curl -fsS --get --data-urlencode "query=$1" "$api/query" |
        python3 -c 'import json, sys
r = json.load(sys.stdin)["data"]["result"]
print(r[0]["value"][1] if len(r) == 1 else "")'
}
value_is() { [ "$(query "$1")" = "$2" ]; }

wait_for 60 value_is 'corvanta_probe_value{site="a",device="Boiler Room",probe="1",name="Flow",type="temperature",units="fahrenheit"}' 71.5 ||
    fail "program a's reading never reached Prometheus: $(query 'corvanta_probe_value')"
wait_for 30 value_is 'corvanta_probe_value{site="b",device="Cold Store",name="Air",type="humidity",units="percent"}' 55 ||
    fail "program b's reading never reached Prometheus"
wait_for 30 value_is 'count(up{job="corvanta"} == 1)' 2 || fail "both targets are not up"
wait_for 30 value_is 'sum(corvanta_devices)' 2 || fail "the two programs do not report one device each"
# Every shipped rule is evaluated without error against real series.
curl -fsS "$api/rules" | python3 -c 'import json, sys
rules = [r for g in json.load(sys.stdin)["data"]["groups"] for r in g["rules"]]
bad = [r["name"] for r in rules if r["health"] == "err"]
assert len(rules) == 7 and not bad, ("rules", len(rules), bad)' || fail "the alerting rules do not evaluate"

# Program b's device goes away: Prometheus sees it down, program a's stays up.
kill "$(cat "$tmp/b-sim.pid")"
wait_for 60 value_is 'corvanta_device_up{device="Cold Store"}' 0 || fail "the stopped device never showed as down"
value_is 'corvanta_device_up{device="Boiler Room"}' 1 || fail "the other program's device went down too"

# Both programs save and exit 0 on SIGTERM.
for name in site-a site-b; do
    pid=$(cat "$tmp/$name.pid")
    kill -TERM "$pid"
    status=0
    wait "$pid" || status=$?
    rm "$tmp/$name.pid"
    [ "$status" -eq 0 ] || fail "$name exited $status"
done
echo "PASS: Prometheus scraped both programs"
