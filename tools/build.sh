#!/usr/bin/env bash
# Configures and builds into build/ (two jobs: the machines have two cores).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/install-deps.sh"
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
"$root/tools/configure.sh" "$root/build"
cmake --build "$root/build" -j2
