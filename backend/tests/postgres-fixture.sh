#!/usr/bin/env bash
# A PostgreSQL server of its own for the backend's tests, from Debian's packages, in a temporary
# directory, on a free loopback port, with trust authentication for the role "postgres".
#
#   postgres-fixture.sh start  STATE_DIR [durable]  # initdb and start; writes STATE_DIR/server
#   postgres-fixture.sh stop   STATE_DIR   # stop and remove everything
#   postgres-fixture.sh halt   STATE_DIR   # stop the server, keep its data
#   postgres-fixture.sh resume STATE_DIR   # start it again on the same port
#
# STATE_DIR/server holds key=value lines: url (postgresql://postgres@127.0.0.1:PORT), psql (the
# client program), root (the server's directory). Where no server can be started here, start
# writes only skip=REASON and exits 77, so that the tests skip with that reason.
#
# The server is for tests only: it does not sync to disk, unless started "durable" (for
# measurements, with the server's own defaults for syncing and committing).
set -euo pipefail

command="${1:?start, stop, halt or resume}"
state="${2:?the state directory}"
server_file="$state/server"
settings="-c fsync=off -c synchronous_commit=off -c full_page_writes=off"
if [ "${3:-}" = "durable" ]; then
    settings=""
fi

skip() {
    mkdir -p "$state"
    printf 'skip=%s\n' "$*" >"$server_file"
    echo "postgres-fixture: no PostgreSQL server for the tests: $*" >&2
    exit 77
}

value() {  # value KEY: a line of the server file
    sed -n "s/^$1=//p" "$server_file" 2>/dev/null | head -n 1
}

# initdb refuses to run as root: the server runs as the "postgres" user Debian's package made.
as_server_user() {
    if [ "$(id -u)" -eq 0 ]; then
        (cd /tmp && runuser -u postgres -- "$@")
    else
        "$@"
    fi
}

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])' \
        2>/dev/null || echo $((20000 + RANDOM % 40000))
}

start_server() {  # start_server ROOT BIN PORT SETTINGS
    as_server_user "$2/pg_ctl" -D "$1/data" -l "$1/server.log" -w -t 60 -s \
        -o "-p $3 -k $1/socket -c listen_addresses=127.0.0.1 -c max_connections=300 \
            -c shared_buffers=32MB $4" start
}

stop_server() {  # stop_server MODE
    local root bin
    root="$(value root)"
    bin="$(value bin)"
    if [ -n "$root" ] && [ -d "$root/data" ] && [ -n "$bin" ]; then
        as_server_user "$bin/pg_ctl" -D "$root/data" -m "$1" -w -s stop >/dev/null 2>&1 || true
    fi
}

case "$command" in
start)
    # What a run before left behind, should it have been interrupted.
    if [ -f "$server_file" ]; then
        stop_server immediate
        root="$(value root)"
        [ -n "$root" ] && rm -rf "$root"
    fi
    mkdir -p "$state"
    rm -f "$server_file"

    bin="$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1 || true)"
    if [ -z "$bin" ] || [ ! -x "$bin/initdb" ] || [ ! -x "$bin/pg_ctl" ]; then
        skip "no initdb under /usr/lib/postgresql/*/bin (Debian package postgresql)"
    fi
    if [ "$(id -u)" -eq 0 ] && ! id -u postgres >/dev/null 2>&1; then
        skip "running as root, and there is no user postgres to run the server as"
    fi

    root="$(mktemp -d /tmp/vorna-postgres-XXXXXX)"
    mkdir "$root/socket"
    if [ "$(id -u)" -eq 0 ]; then
        chown -R postgres:postgres "$root"
    fi
    printf 'root=%s\nbin=%s\n' "$root" "$bin" >"$server_file"
    if ! as_server_user "$bin/initdb" -D "$root/data" -U postgres -A trust -E UTF8 --locale=C \
        --no-sync >"$state/initdb.log" 2>&1; then
        rm -rf "$root"
        skip "initdb failed: $(tail -n 1 "$state/initdb.log")"
    fi
    # A port found free may be taken before the server binds it: try a few.
    started=""
    for _ in 1 2 3 4 5; do
        port="$(free_port)"
        if start_server "$root" "$bin" "$port" "$settings"; then
            started=1
            break
        fi
    done
    if [ -z "$started" ]; then
        reason="$(tail -n 1 "$root/server.log" 2>/dev/null || true)"
        rm -rf "$root"
        skip "the server did not start: $reason"
    fi
    printf 'url=postgresql://postgres@127.0.0.1:%s\npsql=%s/psql\nport=%s\nsettings=%s\n' \
        "$port" "$bin" "$port" "$settings" >>"$server_file"
    echo "postgres-fixture: PostgreSQL $("$bin/postgres" --version | awk '{print $3}') on 127.0.0.1:$port in $root"
    ;;
stop)
    stop_server immediate
    root="$(value root)"
    [ -n "$root" ] && rm -rf "$root"
    rm -f "$server_file"
    ;;
halt)
    stop_server fast
    ;;
resume)
    start_server "$(value root)" "$(value bin)" "$(value port)" "$(value settings)"
    ;;
*)
    echo "postgres-fixture: unknown command $command" >&2
    exit 2
    ;;
esac
