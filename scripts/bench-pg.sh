#!/usr/bin/env bash
# Runs the engine benchmark against a throwaway PostgreSQL cluster of its own: submit,
# read and query on SQLite and on PostgreSQL side by side, then the aggregate submits
# per second of 1, 2, 4 and 8 servers on one PostgreSQL database.
#
#   scripts/bench-pg.sh [BUILD_DIR]     (default build/release)
#
# BUILD_DIR must be configured with benchmarks (ZTINT_BENCH, on by default); the script
# builds the benchmark and the server there first. The cluster is the one of
# scripts/pg-cluster.sh: fsync and synchronous commit are off, so PostgreSQL's figures
# leave out the cost of a flush per commit that SQLite's include.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/release}
if [[ ! -f $build/CMakeCache.txt ]]; then
  echo "bench-pg: $build is not a configured build folder" >&2
  exit 2
fi
cmake --build "$build" -j "$(nproc)" --target bench_engine_bench
scripts/pg-cluster.sh "$build/bench/bench_engine_bench"
