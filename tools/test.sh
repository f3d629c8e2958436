#!/usr/bin/env bash
# Builds everything and runs the whole test suite, then the bounded fuzz runs,
# then builds the Debian package and checks it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh"
(cd "$root/build" && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j2)
"$root/tools/fuzz.sh" --runs 20000
"$root/tools/package.sh"
"$root/tools/check-package.sh"
