#!/usr/bin/env bash
# Builds and runs the desktop program connected to a simulated balance, so
# readings arrive within seconds without any hardware. The demo's program
# folder (ORVALIS_HOME) is build/demo: the examples are copied there, the
# settings file and changed drivers stay out of the source tree.
#
# The simulator (orvalis-balance-sim) plays the balance on a pseudo-terminal
# reachable as build/demo/balance-sim-tty; the driver Balance-sim.tbb, the
# example Balance.tbb pointed at that path and named after its own file, is
# made fresh on every run. The
# simulator stops when the program ends. Extra arguments go to the program.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh"
build="$root/build"
demo="$build/demo"
mkdir -p "$demo"
cp -n "$root"/res/examples/* "$demo"/ 2>/dev/null || true

link="$demo/balance-sim-tty"
log="$demo/balance-sim.log"
cp -f "$root/res/examples/Balance.tbb" "$demo/Balance-sim.tbb"
"$build/tools/orvalis-cli" set-connector "$demo/Balance-sim.tbb" "$link" >/dev/null
# Its own name: Modify Instrument saves it as Balance-sim.tbb, not over Balance.tbb.
"$build/tools/orvalis-cli" set-name "$demo/Balance-sim.tbb" Balance-sim >/dev/null

: >"$log"
"$build/tools/balance-sim/orvalis-balance-sim" --link "$link" >"$log" 2>&1 &
sim=$!
trap 'kill "$sim" 2>/dev/null || true; wait "$sim" 2>/dev/null || true' EXIT
# The simulator prints its terminal's path once the link is in place.
for _ in $(seq 50); do
    [ -s "$log" ] && break
    kill -0 "$sim" 2>/dev/null || { cat "$log" >&2; exit 1; }
    sleep 0.1
done
[ -s "$log" ] || { echo "run.sh: the balance simulator did not start" >&2; exit 1; }

ORVALIS_HOME="$demo" "$build/app/orvalis" /DBalance-sim.tbb "$@"
