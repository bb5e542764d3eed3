#!/bin/sh
# Runs a program that does not end by itself (a Qt host's event loop) until its output has a
# line matching an extended regular expression, then ends it.
#   RunUntilLine.sh <seconds> <output file> <pattern> <program> [arguments...]
# Exits 0 when the line came while the program was still running, 1 otherwise; the output is
# left in <output file>.
seconds=$1 out=$2 pattern=$3
shift 3
"$@" >"$out" 2>&1 &
pid=$!
ticks=$((seconds * 10))
found=1
while [ "$ticks" -gt 0 ]; do
    if grep -Eq "$pattern" "$out"; then
        found=0
        break
    fi
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
    ticks=$((ticks - 1))
done
# Ended by the harness, not by itself: a program that already ended did so on its own.
if ! kill -TERM "$pid" 2>/dev/null; then
    found=1
fi
wait "$pid" 2>/dev/null
exit "$found"
