#!/usr/bin/env bash
# The backend under load, three ways: the SQLite file, a PostgreSQL database, and two backends
# on different ports sharing one PostgreSQL database and one files directory. Each gets fresh
# data and the same clients (backend_load: 8 clients sending reports with a 500 KB screenshot).
#
#   bench/backend_load/run.sh [BUILD_DIR] [SECONDS] [CLIENTS]   # defaults: build 30 8
#
# PostgreSQL runs from Debian's packages in a temporary directory, syncing to disk as a real
# server would (postgres-fixture.sh ... durable).
set -euo pipefail

here="$(cd "$(dirname "$0")" && pwd)"
source_dir="$(cd "$here/../.." && pwd)"
build="$(cd "${1:-$source_dir/build}" && pwd)"
seconds="${2:-30}"
clients="${3:-8}"
backend="$build/backend/vorna-backend"
load="$build/bench/backend_load"
fixture="$source_dir/backend/tests/postgres-fixture.sh"
for program in "$backend" "$load"; do
    [ -x "$program" ] || { echo "run.sh: build $program first" >&2; exit 2; }
done

work="$(mktemp -d /tmp/vorna-load-XXXXXX)"
pids=()
stop_backends() {
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    pids=()
}
cleanup() {
    stop_backends
    "$fixture" stop "$work/postgres" >/dev/null 2>&1 || true
    rm -rf "$work"
}
trap cleanup EXIT

url=""
start_backend() {  # start_backend NAME ARGUMENTS...: sets url
    local name="$1"
    shift
    "$backend" --port 0 --client load:secret --data-dir "$work/$name" "$@" \
        >"$work/$name.out" 2>"$work/$name.log" &
    pids+=($!)
    for _ in $(seq 600); do
        # The shell may not have opened the output file yet.
        url="$(sed -n 's/^vorna-backend listening on //p' "$work/$name.out" 2>/dev/null || true)"
        [ -n "$url" ] && return 0
        sleep 0.1
    done
    echo "run.sh: $name did not start:" >&2
    cat "$work/$name.log" >&2
    exit 1
}

run_load() {  # run_load LABEL URL...
    local label="$1"
    shift
    local args=()
    for u in "$@"; do
        args+=(--url "$u")
    done
    "$load" --label "$label" --clients "$clients" --seconds "$seconds" --client load:secret \
        "${args[@]}" || status=1
}

status=0
start_backend sqlite
run_load sqlite "$url"
stop_backends

"$fixture" start "$work/postgres" durable
server="$(sed -n 's/^url=//p' "$work/postgres/server")"
psql="$(sed -n 's/^psql=//p' "$work/postgres/server")"
"$psql" -X -q -d "$server/postgres" -c "CREATE DATABASE load_one" -c "CREATE DATABASE load_two"

start_backend postgresql --database "$server/load_one"
run_load postgresql "$url"
stop_backends

start_backend shared-a --database "$server/load_two" --files-dir "$work/shared-files"
first="$url"
start_backend shared-b --database "$server/load_two" --files-dir "$work/shared-files"
run_load postgresql-two-backends "$first" "$url"
stop_backends
exit "$status"
