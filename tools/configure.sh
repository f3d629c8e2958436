#!/usr/bin/env bash
# configure.sh BUILD_DIR [CMAKE_ARGS...]: configures the tree into BUILD_DIR.
# A build folder made for another checkout (a copied or moved tree) is
# configured afresh instead of failing on its cache; ccache is used when
# installed, shared between checkouts of the same tree.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$1
shift
cache="$build/CMakeCache.txt"
if [[ -f "$cache" ]]; then
  home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$cache")
  if [[ "$home" != "$root" ]]; then
    echo "configure: $build belonged to $home; configuring it afresh for $root"
    rm -rf "$cache" "$build/CMakeFiles"
  fi
fi
launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@" >/dev/null
