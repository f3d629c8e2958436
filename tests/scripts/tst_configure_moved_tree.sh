#!/usr/bin/env bash
# A build folder configured for another checkout (a copied or moved tree) is
# configured afresh by tools/configure.sh instead of failing on its cache.
set -euo pipefail
root=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build="$work/build"
mkdir -p "$build/CMakeFiles"
printf 'CMAKE_HOME_DIRECTORY:INTERNAL=/somewhere/else/orvalis\n' >"$build/CMakeCache.txt"
out=$("$root/tools/configure.sh" "$build" -DORVALIS_GUI=OFF -DORVALIS_TESTS=OFF 2>&1) || {
  echo "configure failed:"; echo "$out"; exit 1; }
grep -q "belonged to /somewhere/else/orvalis" <<<"$out" || { echo "no word of the other checkout: $out"; exit 1; }
home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")
[[ "$home" == "$root" ]] || { echo "cache names $home, not $root"; exit 1; }
# A second run on its own folder keeps the cache.
out=$("$root/tools/configure.sh" "$build" -DORVALIS_GUI=OFF -DORVALIS_TESTS=OFF 2>&1)
if grep -q "belonged" <<<"$out"; then echo "reconfigured its own folder afresh"; exit 1; fi
