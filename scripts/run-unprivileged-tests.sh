#!/usr/bin/env bash
# Runs the tests that need an unprivileged user (they skip as root: root passes every
# permission check) as the user nobody, when this script runs as root.
#   usage: scripts/run-unprivileged-tests.sh <build dir>
set -euo pipefail
build=$(cd "$1" && pwd)
tests=(
  "test_foundation_host:Filesystem.WithoutPermission*:Filesystem.ExistsAndWhenInDoubt"
)
if [[ $(id -u) != 0 ]]; then
  echo "run-unprivileged-tests: not root; the tests ran unprivileged with the rest"
  exit 0
fi
for entry in "${tests[@]}"; do
  program=${entry%%:*}
  filter=${entry#*:}
  echo "running $program ($filter) as nobody"
  output=$(runuser -u nobody -- env TZ=UTC LC_ALL=C ZT_LANG= ZT_MESSAGES="$build/catalogs" \
             "$build/tests/$program" --gtest_filter="$filter" 2>&1) || { echo "$output"; exit 1; }
  # A test that skipped here too, or a filter that matched nothing, proved nothing.
  if grep -q '^\[  SKIPPED \]' <<<"$output" || ! grep -q '^\[  PASSED  \] [1-9]' <<<"$output"; then
    echo "$output"
    echo "run-unprivileged-tests: $program: a test skipped or none ran"
    exit 1
  fi
  grep '^\[  PASSED  \]' <<<"$output"
done
