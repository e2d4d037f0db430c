#!/usr/bin/env bash
# The main job: builds libztint, its server and the example program, and runs the
# example with nothing set up. Its first call starts the server from the build's
# product home (build/release/home); it logs on as the server's default user, which
# this script puts into the environment, and the server ends by itself after 60
# seconds without a client.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ -DZTINT_WERROR=ON
cmake --build build/release -j "$(nproc)" --target ztint_example ztint_product_home

export ZT_HOME="$PWD/build/release/home"
export ZT_SERVER_IDLE_SECONDS=60
export ZT_USER=zentrak ZT_PASSWORD=zentrak ZT_DATABASE=DEMO ZT_MASTER=MASTER
exec build/release/examples/ztint_example
