#!/usr/bin/env bash
# The whole report flow on a real X server, driven from outside with xdotool only, as a tester
# would: the floating button, a stroke in black on the picture, Next, a description and an
# e-mail, Submit, the banner. The example Qt host reports to the reference backend on loopback.
#
#   scripts/flow-under-xvfb.sh --build build                      check what reached the backend
#   scripts/flow-under-xvfb.sh --build build --pictures docs/images   also keep a picture of
#                                                                 every screen
#   ... --data DIR --keep          the backend keeps its data in DIR and runs on afterwards, so
#                                  its page shows the report (the demo's scripted mode)
#
# The kit's base URL is fixed when it is built (http://127.0.0.1:8642/ by default), so the
# backend listens on that port: nothing else may use it while this runs. Exit status 0 when the
# report arrived with the typed texts and the stroke in its picture.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build
pace=1
pictures=""
data=""
keep=""
while [ $# -gt 0 ]; do
    case "$1" in
        --build) build="$2"; shift 2 ;;
        --pictures) pictures="$2"; shift 2 ;;
        --pace) pace="$2"; shift 2 ;;  # waits are this many times longer (sanitizer builds)
        --data) data="$2"; shift 2 ;;
        --keep) keep=1; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
done
for tool in Xvfb xdotool import convert curl python3; do
    command -v "$tool" >/dev/null || { echo "flow-under-xvfb: $tool is missing" >&2; exit 2; }
done

width=1280
height=800
description="The save button does nothing"
email="tester@example.com"
script=flow-under-xvfb
. "$(dirname "$0")/xvfb-session.sh"
[ -n "$data" ] || data="$work/backend"
backend=""
click() { xdotool mousemove "$1" "$2" click 1; pause "${3:-0.3}"; }
waitForKitWindows() {
    for _ in $(seq 1 $((100 * pace))); do [ "$(kitWindows)" -ge "$1" ] && return 0; sleep 0.1; done
    fail "expected $1 windows of the kit on screen, found $(kitWindows)"
}

# The reference backend, with the client the example host's Info.plist names.
mkdir -p "$data"
logs="$work"
[ -z "$keep" ] || logs="$(dirname "$data")"  # a backend that runs on keeps its log
"$build/backend/vorna-backend" --host 127.0.0.1 --port 8642 --data-dir "$data" \
    --client demo-client:demo-secret > "$logs/backend.out" 2> "$logs/backend.log" &
backend=$!
[ -n "$keep" ] || pids+=($backend)
for _ in $(seq 1 100); do
    grep -q "listening on" "$logs/backend.out" 2>/dev/null && break
    kill -0 "$backend" 2>/dev/null || fail "vorna-backend did not start: $(cat "$logs/backend.log")"
    sleep 0.1
done

startXvfb

# The host, with state of its own (no remembered button place, e-mail or colour).
export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" QT_QPA_PLATFORM=xcb
"$build/examples/qt-host/vorna-qt-host" > "$work/host.log" 2>&1 &
pids+=($!)
xdotool search --sync --onlyvisible --name "Order Desk" > /dev/null
waitForKitWindows 1  # the floating button
pause 1.5  # authorization and the first paint

step=0
picture() {
    step=$((step + 1))
    if [ -n "$pictures" ]; then
        mkdir -p "$pictures"
        import -window root "$pictures/flow-$step-$1.png"
    fi
}

picture host
# The floating button: 70 points, 15 in from the left and bottom edges.
click 50 $((height - 50))
waitForKitWindows 2  # the flow's window over the host
pause 0.8  # its fade-in
picture annotation

# The flow covers the screen. The picture sits between the bar (44) and the toolbar (44 at the
# bottom) with a twentieth of the height above and below, at its own proportions: those of the
# host's window, which fills this screen (no window manager, so no frame).
offset=$((height / 20))
top=$((44 + offset))
bottom=$((height - 44 - offset))
pictureHeight=$((bottom - top))
pictureWidth=$((pictureHeight * width / height))
left=$(((width - pictureWidth) / 2))
# The colour buttons are centred on the toolbar: red, black, white, 34 points apart.
click $((width / 2 + 7)) $((height - 22))
# A stroke across the middle of the picture.
y=$((top + pictureHeight / 2))
x1=$((left + pictureWidth / 4))
x2=$((left + pictureWidth * 3 / 4))
xdotool mousemove "$x1" "$y" mousedown 1
for x in $(seq "$x1" 20 "$x2"); do xdotool mousemove "$x" "$y"; done
xdotool mousemove "$x2" "$y" mouseup 1
pause 0.3
picture stroke

# Next, at the right end of the bar.
click $((width - 30)) 22 1.0
# The description has the keyboard when the screen appears.
xdotool type --delay 20 "$description"
picture compose
# The e-mail field lies below the description.
click $((width / 2)) 167
xdotool type --delay 20 "$email"
picture email
if [ -n "$pictures" ]; then
    # What the report carries: "Inspect Bug", below the attachment; back with the arrow.
    click $((width / 2)) 555 1.0
    picture inspect
    click 30 22 1.0
fi

# Submit, at the right end of the bar; the banner shows half a second later.
click $((width - 35)) 22 0.9
pause 0.3
picture banner

# What reached the backend.
report=""
for _ in $(seq 1 150); do
    report="$(curl -sf "http://127.0.0.1:8642/api/reports?limit=1" || true)"
    case "$report" in *'"id"'*) break ;; esac
    sleep 0.2
done
case "$report" in *'"id"'*) ;; *) fail "no report reached the backend" ;; esac
printf '%s' "$report" > "$work/report.json"
python3 - "$work/report.json" "$description" "$email" > "$work/screenshot-url" <<'PY'
import json, sys
report = json.load(open(sys.argv[1]))[0]
doc = report["document"]
assert report["description"] == sys.argv[2], report["description"]
assert report["tester_email"] == sys.argv[3], report["tester_email"]
urls = [v for k, v in doc.items() if isinstance(v, str) and v.endswith("screenshot.jpg")]
assert urls, sorted(doc)
print(urls[0])
PY
[ -s "$work/screenshot-url" ] || fail "the report lacks its texts or its picture"
curl -sf -o "$work/screenshot.jpg" "$(cat "$work/screenshot-url")" || fail "no screenshot.jpg"
# The stroke: a dark run across the middle row of the picture, where the desk is light.
read -r w h < <(convert "$work/screenshot.jpg" -format '%w %h\n' info:)
dark=$(convert "$work/screenshot.jpg" -crop "$((w / 2))x1+$((w / 4))+$((h / 2))" -colorspace gray \
       -threshold 25% -format '%[fx:int((1-mean)*w*h)]' info:)
echo "flow-under-xvfb: report $(python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))[0]["id"])' "$work/report.json") arrived; picture ${w}x${h}, $dark of $((w / 2)) pixels of the stroke's row are dark"
[ "$dark" -gt $((w / 4)) ] || fail "the black stroke is not in the picture"

if [ -n "$pictures" ]; then
    # An application archived on the backend: the next report opens on the popup instead.
    pause 3  # the banner goes
    bundle=org.vorna.examples.qthost
    curl -sf -X POST -d "" "http://127.0.0.1:8642/admin/apps/$bundle/archive" > /dev/null
    kill "${pids[-1]}"
    wait "${pids[-1]}" 2>/dev/null || true
    "$build/examples/qt-host/vorna-qt-host" >> "$work/host.log" 2>&1 &
    pids+=($!)
    waitForKitWindows 1
    pause 2  # authorization and the enabled check
    click 50 $((height - 50))
    waitForKitWindows 2
    pause 0.8
    picture disabled
    curl -sf -X POST -d "" "http://127.0.0.1:8642/admin/apps/$bundle/unarchive" > /dev/null
fi
if [ -n "$keep" ]; then
    echo "The report is on the backend's page: http://127.0.0.1:8642/ (the backend runs on as"
    echo "process $backend; stop it with: kill $backend)"
fi
