#!/usr/bin/env bash
# The kit's main job on one machine: build the kit, start the reference backend on loopback
# (port 8642, the kit's default base URL), let the example host vorna-report send a report with
# an attachment and wait until the backend has accepted it, then say where to see it.
# Everything stays on 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target vorna-backend vorna-report

data="${VORNA_DEMO_DATA:-$PWD/build/demo-backend-data}"
mkdir -p "$data"
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

attachment=build/demo-attachment.log
{ date; uname -a; echo "The demo's attachment: any file a host wants to send along."; } > "$attachment"
build/examples/vorna-report/vorna-report --description "Demo report: the save button does nothing" \
    --attach "$attachment" --delay "${VORNA_DEMO_DELAY:-5}" --timeout "${VORNA_DEMO_TIMEOUT:-60}"

echo
echo "The report is on the backend's page: http://127.0.0.1:8642/"
if [ -t 0 ] && [ -z "${CI:-}" ]; then
    echo "The backend keeps running so you can look; press Ctrl-C to stop it."
    wait $backend
fi
