#!/usr/bin/env bash
# Builds libztint twice and runs every test in both builds:
#   build/release   g++, optimised, warnings as errors; then the store tests again on
#                   PostgreSQL (scripts/pg-cluster.sh); then the tests that need an
#                   unprivileged user, an application built against an installation
#                   (pkg-config and CMake), and the .deb
#   build/sanitize  clang, AddressSanitizer + UndefinedBehaviorSanitizer, with the fuzzers
# then runs each fuzz target for FUZZ_SECONDS (default 60) under the sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
jobs=$(nproc)
fuzz_seconds=${FUZZ_SECONDS:-60}

cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ -DZTINT_WERROR=ON
cmake --build build/release -j "$jobs"
ctest --test-dir build/release --output-on-failure -j "$jobs"
# The shared store on PostgreSQL, in a throwaway cluster of its own: the engine's tests,
# the model's store tests and every end-to-end test that reads or writes the store
# (records, attachments, queries, transactions, administration, logons, the zt commands,
# competing servers and killed servers), each with a database of its own; then, alone,
# a restart of the cluster under a running server. Left to the SQLite run: the tests of
# the client's transport, start, guard, diagnostics and echo load, which never reach the
# store, and the 30,000-logon cycle, which measures the client's memory, not the engine.
scripts/pg-cluster.sh env ZTT_E2E_STORE=postgresql bash -c "
  ctest --test-dir build/release --output-on-failure -j $jobs --no-tests=error \
        -R '^(Sto_Postgres|Mdl_Store_Test|Mdl_Admin_Test|Ztint_Record_Test|Ztint_Attachment_Test|Ztint_Shared_Store_Test|Ztint_Init_Store_Test|Ztint_Crash_Test|Ztint_Admin|Ztint_Query|Ztint_Sql_Query|Ztint_Saved_Query|Ztint_Transaction|Ztint_Logon_Test|Ztint_Logon_Settings_Test|Zt_Command_Test|Zt_Query_Command_Test|Zt_Admin_Command_Test)' &&
  ZTT_PG_RESTART=1 ctest --test-dir build/release --output-on-failure --no-tests=error \
        -R '^Ztint_Pg_Restart_Test'"
scripts/run-unprivileged-tests.sh build/release
scripts/check-install.sh build/release
(cd build/release && cpack -G DEB >/dev/null && echo "package: $(ls ztint_*.deb)" &&
 dpkg-deb --info ztint_*.deb | sed -n 's/^ Depends: /  depends: /p')

cmake -S . -B build/sanitize -G Ninja -DCMAKE_BUILD_TYPE=Debug \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DZTINT_WERROR=ON -DZTINT_SANITIZE=ON -DZTINT_FUZZ=ON -DZTINT_BENCH=OFF
cmake --build build/sanitize -j "$jobs"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build/sanitize --output-on-failure -j "$jobs"

scripts/run-fuzzers.sh build/sanitize "$fuzz_seconds"
