#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz/ and runs each for
# the given number of seconds (default 600). tools/test.sh runs it with 30.
# The seed is fixed (FUZZ_SEED, default 1) so that a run can be repeated;
# give another one to search elsewhere.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-600}
"$root/tools/install-deps.sh"
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
"$root/tools/configure.sh" "$root/build-fuzz" -DCMAKE_CXX_COMPILER=clang++ -DORVALIS_FUZZ=ON -DORVALIS_GUI=OFF -DORVALIS_TESTS=OFF
cmake --build "$root/build-fuzz" -j2
for target in "$root"/build-fuzz/tests/fuzz/fuzz_*; do
  [[ -f "$target" && -x "$target" ]] || continue  # skips the _autogen folders
  name=$(basename "$target")
  corpus="$root/build-fuzz/corpus/$name"
  mkdir -p "$corpus"
  dirs=("$corpus")
  [[ -d "$root/tests/fuzz/seeds/$name" ]] && dirs+=("$root/tests/fuzz/seeds/$name")
  echo "fuzzing $name for ${seconds}s"
  "$target" -max_total_time="$seconds" -max_len=4096 -rss_limit_mb=1024 -timeout=5 -seed="${FUZZ_SEED:-1}" \
    "${dirs[@]}" >"$root/build-fuzz/$name.log" 2>&1 \
    || { tail -40 "$root/build-fuzz/$name.log"; exit 1; }
  tail -1 "$root/build-fuzz/$name.log"
done
