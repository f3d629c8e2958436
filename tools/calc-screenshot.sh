#!/usr/bin/env bash
# Refreshes docs/screenshots/calc-link.png: an instrument window filling a
# LibreOffice Calc document, on an Xvfb display of its own. Installs what it
# needs besides tools/deps.txt (tools/deps-calc-screenshot.txt).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/install-deps.sh" "$root/tools/deps-calc-screenshot.txt"
nice cmake --build "$root/build" -j2 --target orvalis-calc-screenshot
# Xvfb picks a free display and writes its number.
number=$(mktemp)
Xvfb -displayfd 3 -screen 0 1600x900x24 -nolisten tcp 3>"$number" &
xvfb=$!
trap 'kill "$xvfb" 2>/dev/null || true; wait "$xvfb" 2>/dev/null || true; rm -f "$number"' EXIT
for _ in $(seq 100); do
  [[ -s "$number" ]] && break
  sleep 0.1
done
[[ -s "$number" ]] || { echo "calc-screenshot: Xvfb did not start" >&2; exit 1; }
DISPLAY=:$(head -n1 "$number") QT_QPA_PLATFORM=xcb SAL_USE_VCLPLUGIN=gen \
  "$root/build/tests/calc/orvalis-calc-screenshot" "$root/docs/screenshots"
