# Shared by the scripts that drive the example Qt host on a screen of their own: sourced after
# they set `script` (their name, for messages), `width`, `height` and `pace`.
#
# Gives a work folder (`work`, removed at exit), the processes to stop at exit (`pids`), `fail`,
# `pause`, `kitWindows`, and `startXvfb`, which exports DISPLAY.

work="$(mktemp -d)"
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
fail() {
    echo "$script: $*" >&2
    if [ -f "$work/host.log" ]; then echo "--- the host's log:" >&2; tail -40 "$work/host.log" >&2; fi
    exit 1
}
# Waits this many seconds, times the pace (slower in sanitizer builds).
pause() { sleep "$(python3 -c "print($1 * $pace)")"; }
# The kit's windows are all called "Vorna": the floating button's, the flow's, the banner's.
kitWindows() { xdotool search --onlyvisible --name '^Vorna$' 2>/dev/null | wc -l; }
# A screen of its own, on a display number the server picks.
startXvfb() {
    exec 3> "$work/display"
    Xvfb -displayfd 3 -screen 0 "${width}x${height}x24" -nolisten tcp > "$work/xvfb.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 1 100); do [ -s "$work/display" ] && break; sleep 0.1; done
    [ -s "$work/display" ] || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
    export DISPLAY=":$(head -1 "$work/display")"
}
