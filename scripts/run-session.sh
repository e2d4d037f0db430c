#!/usr/bin/env bash
# The tracker's main job: builds libztint, its server and the zt command, and runs a
# short session with nothing set up: submit a defect, assign it, resolve it, show it
# with its history. zt's first call starts the server from the build's product home;
# the records go to the user's own store (~/.local/share/ztintsvr/MASTER.db, made on
# first use), and the server ends by itself after 60 seconds without a client.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++ -DZTINT_WERROR=ON
cmake --build build/release -j "$(nproc)" --target zt ztint_product_home

export ZT_SERVER_IDLE_SECONDS=60
zt=build/release/home/bin/zt
set -x
id=$($zt submit Defect "Headline=Saving a file twice loses the first copy" Severity=2-Major \
         "Description=Save, change, save again: the first version is gone.")
$zt actions "$id"
$zt edit "$id" Assign Owner=zentrak
$zt edit "$id" Open
$zt edit "$id" Resolve Resolution=Fixed "Notes=Fixed by writing a temporary file first."
$zt show "$id"
$zt history "$id"
