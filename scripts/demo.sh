#!/usr/bin/env bash
# The kit's main job on one machine: build everything, start the reference backend on
# loopback (port 8642, the kit's default base URL), run an example host against it, and say
# where its reports can be seen. Everything stays on 127.0.0.1.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc)" --target vorna-backend vorna-headless-host

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

build/examples/headless-host/vorna-headless-host --seconds "${VORNA_DEMO_SECONDS:-3}"

echo
echo "Reports received by the backend: http://127.0.0.1:8642/"
if [ -t 0 ] && [ -z "${CI:-}" ]; then
    echo "The backend keeps running so you can look; press Ctrl-C to stop it."
    wait $backend
fi
