#!/usr/bin/env bash
# The kit's main job on one machine: build the kit, start the reference backend on loopback
# (port 8642, the kit's default base URL) and send it a report, then say where to see it.
# Everything stays on 127.0.0.1.
#
#   scripts/demo.sh              with a display: the example Qt host, to report a bug by hand
#                                (tap the round button); without one: a report from code
#   scripts/demo.sh --headless   the report from code (vorna-report), display or not
#   scripts/demo.sh --scripted   the whole report flow played by itself under Xvfb (button,
#                                stroke, Next, description and e-mail, Submit, banner), with a
#                                picture of every screen kept in docs/images/
set -euo pipefail
cd "$(dirname "$0")/.."

mode=auto
case "${1:-}" in
    "") ;;
    --headless) mode=headless ;;
    --scripted) mode=scripted ;;
    *) echo "usage: scripts/demo.sh [--headless | --scripted]" >&2; exit 2 ;;
esac
if [ "$mode" = auto ]; then
    mode=headless
    [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && mode=desktop
fi

bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
targets=(vorna-backend vorna-report)
[ "$mode" != headless ] && targets+=(vorna-qt-host)
cmake --build build -j "$(nproc)" --target "${targets[@]}"

data="${VORNA_DEMO_DATA:-$PWD/build/demo-backend-data}"
mkdir -p "$data"
if [ "$mode" = scripted ]; then
    exec scripts/flow-under-xvfb.sh --build build --pictures docs/images --data "$data" --keep
fi

build/backend/vorna-backend --host 127.0.0.1 --port 8642 --data-dir "$data" \
    --client demo-client:demo-secret > build/demo-backend.out 2> build/demo-backend.log &
backend=$!
trap 'kill $backend 2>/dev/null || true; wait $backend 2>/dev/null || true' EXIT
for _ in $(seq 1 100); do
    grep -q "listening on" build/demo-backend.out 2>/dev/null && break
    if ! kill -0 $backend 2>/dev/null; then
        echo "vorna-backend did not start:" >&2
        cat build/demo-backend.log >&2
        exit 1
    fi
    sleep 0.1
done
echo "$(head -1 build/demo-backend.out)"

if [ "$mode" = desktop ]; then
    echo "The order desk is open: tap the round button at the bottom left (or shake the window,"
    echo "press Ctrl+Alt+B or Print) to report a bug. Close the desk when you are done."
    build/examples/qt-host/vorna-qt-host
else
    attachment=build/demo-attachment.log
    { date; uname -a; echo "The demo's attachment: any file a host wants to send along."; } > "$attachment"
    build/examples/vorna-report/vorna-report --description "Demo report: the save button does nothing" \
        --attach "$attachment" --delay "${VORNA_DEMO_DELAY:-5}" --timeout "${VORNA_DEMO_TIMEOUT:-60}"
fi

echo
echo "The reports are on the backend's page: http://127.0.0.1:8642/"
if [ -t 0 ] && [ -z "${CI:-}" ]; then
    echo "The backend keeps running so you can look; press Ctrl-C to stop it."
    wait $backend
fi
