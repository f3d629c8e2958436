#!/usr/bin/env bash
# Builds and runs the program on the shipped example driver. Until the
# desktop program lands this shows the example with orvalis-cli.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh"
exec "$root/build/tools/orvalis-cli" show "$root/res/examples/Balance.tbb"
