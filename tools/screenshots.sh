#!/usr/bin/env bash
# Refreshes the pictures in docs/screenshots: builds the screenshot tool and
# runs it on the offscreen platform (no display needed).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/install-deps.sh"
cmake -S "$root" -B "$root/build" -G Ninja >/dev/null
cmake --build "$root/build" -j2 --target orvalis-screenshots orvalis-terminal-screenshots
QT_QPA_PLATFORM=offscreen "$root/build/app/orvalis-screenshots" "$root/docs/screenshots"
QT_QPA_PLATFORM=offscreen "$root/build/app/orvalis-terminal-screenshots" "$root/docs/screenshots"
