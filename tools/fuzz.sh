#!/usr/bin/env bash
# Builds the libFuzzer targets with clang into build-fuzz/ and runs each for
# the given number of seconds (default 600), or, given "--runs N", for N
# inputs beyond the seeds. tools/test.sh uses a number of inputs: with the
# fixed seed (FUZZ_SEED, default 1) a run then tries the same inputs on any
# machine at any load, so a result can be repeated. Search elsewhere with
# another seed and a time.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
if [[ "${1:-}" == --runs ]]; then
  budget=(-runs="$2"); what="$2 inputs"; corpora=corpus-runs
else
  budget=(-max_total_time="${1:-600}"); what="${1:-600}s"; corpora=corpus
fi
"$root/tools/install-deps.sh"
export CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=true
"$root/tools/configure.sh" "$root/build-fuzz" -DCMAKE_CXX_COMPILER=clang++ -DORVALIS_FUZZ=ON -DORVALIS_GUI=OFF -DORVALIS_TESTS=OFF
cmake --build "$root/build-fuzz" -j2
for target in "$root"/build-fuzz/tests/fuzz/fuzz_*; do
  [[ -f "$target" && -x "$target" ]] || continue  # skips the _autogen folders
  name=$(basename "$target")
  corpus="$root/build-fuzz/$corpora/$name"
  # A counted run starts from the seeds alone, as on a fresh clone.
  [[ $corpora == corpus-runs ]] && rm -rf "$corpus"
  mkdir -p "$corpus"
  dirs=("$corpus")
  [[ -d "$root/tests/fuzz/seeds/$name" ]] && dirs+=("$root/tests/fuzz/seeds/$name")
  echo "fuzzing $name for $what"
  "$target" "${budget[@]}" -max_len=4096 -rss_limit_mb=1024 -timeout=5 -seed="${FUZZ_SEED:-1}" \
    "${dirs[@]}" >"$root/build-fuzz/$name.log" 2>&1 \
    || { tail -40 "$root/build-fuzz/$name.log"; exit 1; }
  tail -1 "$root/build-fuzz/$name.log"
done
