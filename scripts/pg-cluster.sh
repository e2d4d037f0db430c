#!/usr/bin/env bash
# Runs a command against a throwaway PostgreSQL cluster of its own:
#
#   scripts/pg-cluster.sh COMMAND [ARG...]
#
# The cluster lives in a new temporary directory, listens on a Unix socket there and
# on no TCP port, and is stopped and removed when the command ends, whatever its
# result (also on Ctrl-C). PostgreSQL refuses to run as root: run as root, the script
# runs the cluster as the user "postgres" (else "nobody"). The command sees
#
#   ZTT_PG       a connection string without dbname ("host=<dir> user=ztint"):
#                tests append " dbname=<name>" for a database of their own
#   ZTT_PG_DIR   the cluster's directory
#
# and its exit status is the script's. If the cluster cannot start, the script says
# why and exits 1 without running the command.
set -euo pipefail

if (($# == 0)); then
  echo "usage: $0 COMMAND [ARG...]" >&2
  exit 2
fi

bin=${PG_BIN:-}
if [[ -z $bin ]]; then
  for candidate in /usr/lib/postgresql/*/bin; do
    [[ -x $candidate/initdb ]] && bin=$candidate
  done
fi
if [[ -z $bin || ! -x $bin/initdb ]]; then
  echo "pg-cluster: no PostgreSQL server found (install the Debian package postgresql, or set PG_BIN)" >&2
  exit 1
fi

as_owner=()
owner=$(id -un)
if ((EUID == 0)); then
  owner=postgres
  id -u "$owner" >/dev/null 2>&1 || owner=nobody
  as_owner=(runuser -u "$owner" --)
fi

dir=$(mktemp -d /tmp/ztpg.XXXXXX)
chmod 0755 "$dir"
chown "$owner" "$dir"
log=$dir/server.log

cleanup() {
  "${as_owner[@]}" "$bin/pg_ctl" -D "$dir/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$dir"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

if ! "${as_owner[@]}" "$bin/initdb" -D "$dir/data" -U ztint -A trust -E UTF8 --locale=C --no-sync \
     >"$dir/initdb.log" 2>&1; then
  echo "pg-cluster: initdb failed:" >&2
  cat "$dir/initdb.log" >&2
  exit 1
fi
# A test cluster: durability is not its business, speed is.
options="-k $dir -c listen_addresses='' -c fsync=off -c synchronous_commit=off"
options+=" -c full_page_writes=off -c max_connections=300"
if ! "${as_owner[@]}" "$bin/pg_ctl" -D "$dir/data" -o "$options" -l "$log" -w -t 60 start >/dev/null; then
  echo "pg-cluster: the PostgreSQL server did not start:" >&2
  cat "$log" >&2
  exit 1
fi

export ZTT_PG="host=$dir user=ztint"
export ZTT_PG_DIR=$dir
export PG_BIN=$bin
export PG_CTL_AS=${as_owner[*]:-}
echo "pg-cluster: PostgreSQL $("$bin/postgres" --version | awk '{print $3}') on $dir"
status=0
"$@" || status=$?
exit "$status"
