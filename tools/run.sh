#!/usr/bin/env bash
# Builds and runs the desktop program on the shipped example drivers. The
# examples are copied into build/demo, which serves as the program folder
# (ORVALIS_HOME): the settings file and changed drivers stay out of the
# source tree. Extra arguments go to the program.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh"
demo="$root/build/demo"
mkdir -p "$demo"
cp -n "$root"/res/examples/* "$demo"/ 2>/dev/null || true
ORVALIS_HOME="$demo" exec "$root/build/app/orvalis" /DBalance.tbb "$@"
