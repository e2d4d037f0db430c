#!/usr/bin/env bash
# Installs what a fresh Debian 12 machine lacks to build and test libztint.
# Runs as root; installs only the packages that are missing.
set -euo pipefail

packages=(cmake ninja-build g++ clang libclang-rt-14-dev libgtest-dev libgmock-dev
          libbenchmark-dev libicu-dev icu-devtools python3 pkg-config dpkg-dev libsqlite3-dev
          libsodium-dev nlohmann-json3-dev libcli11-dev libpq-dev postgresql)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q "${missing[@]}"
fi
