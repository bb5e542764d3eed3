#!/bin/sh
# Runs the installed headless host against the reference backend: the host starts first, while
# the backend's port is still closed; the backend comes up once the host has gone to the
# background, and the host is told by a file.
#   RunHeadlessHost.sh BACKEND HOST WORK_DIR
set -eu
backend=$1 host=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat > "$work/Info.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>org.vorna.tests.installed-headless</string>
<key>CFBundleShortVersionString</key><string>1.0</string>
<key>CFBundleVersion</key><string>1</string>
<key>DTPlatformBuild</key><string>linux</string>
<key>Vorna</key><dict><key>APIClientID</key><string>headless</string>
<key>APIClientSecret</key><string>h3</string></dict>
</dict></plist>
PLIST
VORNA_API_URL="http://127.0.0.1:$port/" XDG_DATA_HOME="$work/data" \
    "$host" "$work/Info.plist" "$work/backend-up" > "$work/host.out" 2> "$work/host.log" &
hostpid=$!
trap 'kill $hostpid ${backendpid:-} 2>/dev/null || true' EXIT
for _ in $(seq 1 400); do
    grep -q "Entering background, cancel reauthorization actions" "$work/host.log" && break
    sleep 0.05
done
"$backend" --host 127.0.0.1 --port "$port" --data-dir "$work/backend" \
    --client headless:h3 > "$work/backend.out" 2> "$work/backend.log" &
backendpid=$!
for _ in $(seq 1 200); do
    grep -q "listening on" "$work/backend.out" 2>/dev/null && break
    sleep 0.05
done
touch "$work/backend-up"
status=0
wait $hostpid || status=$?
cat "$work/host.out"
if [ $status -ne 0 ] || ! grep -q "headless host ok" "$work/host.out"; then
    echo "the installed headless host failed ($status); its log:" >&2
    tail -40 "$work/host.log" >&2
    exit 1
fi
# The three reports are on the backend, each with the permission the host declared.
python3 - "$port" <<'PY'
import json, sys, urllib.request
reports = json.load(urllib.request.urlopen(f"http://127.0.0.1:{sys.argv[1]}/api/reports"))
reports = reports.get("reports", reports) if isinstance(reports, dict) else reports
docs = [r.get("document", r) for r in reports]
assert len(docs) == 3, f"{len(docs)} reports on the backend"
for d in docs:
    assert d.get("permissions") == [{"name": "camera", "state": "on"}], d.get("permissions")
print("headless host: 3 reports on the backend, each with its camera permission")
PY
