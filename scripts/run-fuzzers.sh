#!/usr/bin/env bash
# Runs every fuzz target of a build folder for the given number of seconds each,
# starting from the corpus kept in fuzz/corpus/<target> (read only) and a
# working corpus in the build folder, and ends with each target's coverage.
# Usage: scripts/run-fuzzers.sh <build-dir> <seconds>
set -euo pipefail
build=$1
seconds=$2
kept=$(cd "$(dirname "$0")/.." && pwd)/fuzz/corpus
shopt -s nullglob
summary=()
for target in "$build"/fuzz/fuzz_*; do
  [[ -x $target && ! -d $target ]] || continue
  name=$(basename "$target")
  corpus="$build/fuzz/corpus/$name"
  mkdir -p "$corpus"
  echo "== $name for ${seconds}s"
  output=$("$target" -max_total_time="$seconds" -print_final_stats=1 "$corpus" \
           ${kept:+"$kept/$name"} 2>&1) || { echo "$output" | tail -n 40; exit 1; }
  echo "$output" | tail -n 12
  stats=$(echo "$output" | grep -aE '^#[0-9]+[[:space:]]+DONE' | tail -n 1 |
          grep -aoE 'cov: [0-9]+ ft: [0-9]+')
  summary+=("$name: no finding; ${stats:-no coverage figure}")
done
if ((${#summary[@]} == 0)); then
  echo "no fuzz targets"
  exit 0
fi
echo "== fuzzing summary (cov: edges covered, ft: features)"
printf '  %s\n' "${summary[@]}"
