#!/usr/bin/env bash
# Installs a build into a temporary prefix and builds an application against the
# installation in both ways a user would, with pkg-config and with find_package(ztint),
# then runs each against the installed server with ZT_HOME naming the prefix and
# nothing of the build tree in reach. Everything is removed at the end.
#   usage: scripts/check-install.sh <build dir>
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "$1" && pwd)
work=$(mktemp -d /tmp/ztint_install.XXXXXX)
prefix=$work/prefix
export ZT_HOME=$prefix ZTT_USER=_install_$$ ZT_SERVER_IDLE_SECONDS=30
# The tracking store goes into the temporary folder too.
export XDG_DATA_HOME=$work/data
export ZT_USER=zentrak ZT_PASSWORD=zentrak ZT_DATABASE=DEMO ZT_MASTER=MASTER
unset LD_LIBRARY_PATH ZT_MESSAGES ZT_SERVER_USERS ZT_SERVER_STORE
cleanup() {
  "$prefix/bin/ztintsvr" stop >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null

# The way of pkg-config.
export PKG_CONFIG_PATH=$prefix/share/pkgconfig
cc -std=c99 -Wall -Werror $(pkg-config --cflags ztint) examples/ztint_example.c \
   $(pkg-config --libs ztint) -o "$work/app_pkgconfig"

# The way of CMake.
cmake -S tests/install -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null

expected="logged on as zentrak to MASTER/DEMO
echo: hello from libztint
product version: $(sed -n 's/^project(libztint VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
wrong password: ztintsvr: logon refused for user \"zentrak\": wrong user name or password
done"
status=0
for app in "$work/app_pkgconfig" "$work/cmake/ztint_app"; do
  if ldd "$app" | grep -q "$build"; then
    echo "check-install: $app reaches into the build tree:"; ldd "$app"; status=1
  fi
  # The program runs with the installation's library: its run path names the prefix.
  found=$(ldd "$app" | sed -n 's/^\s*libztint\.so\.0 => \(\S*\) .*/\1/p')
  if [[ -z $found || $(realpath "$found") != $(realpath "$prefix/shlib/libztint.so.0") ]]; then
    echo "check-install: $app does not find the installed library:"; ldd "$app"; status=1
  fi
  output=$("$app" 2>&1) || { echo "check-install: $app failed:"; echo "$output"; status=1; continue; }
  if [[ $output != "$expected" ]]; then
    echo "check-install: $app printed:"; echo "$output"; echo "instead of:"; echo "$expected"
    status=1
  fi
done
"$prefix/bin/ztintsvr" status >/dev/null || { echo "check-install: no installed server ran"; status=1; }
if ((status == 0)); then
  echo "check-install: the pkg-config and CMake builds ran against the installed library and server"
fi
exit $status
