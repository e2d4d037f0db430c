#!/usr/bin/env bash
# Runs every fuzz target of a build folder for the given number of seconds each.
# Usage: scripts/run-fuzzers.sh <build-dir> <seconds>
set -euo pipefail
build=$1
seconds=$2
shopt -s nullglob
found=0
for target in "$build"/fuzz/fuzz_*; do
  [[ -x $target && ! -d $target ]] || continue
  found=1
  name=$(basename "$target")
  corpus="$build/fuzz/corpus/$name"
  mkdir -p "$corpus"
  echo "== $name for ${seconds}s"
  "$target" -max_total_time="$seconds" -print_final_stats=1 "$corpus" 2>&1 | tail -n 12
  echo "== $name: no finding"
done
((found)) || echo "no fuzz targets"
