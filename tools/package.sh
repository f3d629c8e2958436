#!/usr/bin/env bash
# Builds the tree and the Debian package build/orvalis_<version>_amd64.deb
# with CPack, and prints the package's path. tools/check-package.sh checks it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/tools/build.sh"
cd "$root/build"
rm -f orvalis_*.deb
cpack -G DEB >cpack.log 2>&1 || { cat cpack.log >&2; exit 1; }
ls "$root"/build/orvalis_*_amd64.deb
