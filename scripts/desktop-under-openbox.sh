#!/usr/bin/env bash
# The floating button on a desktop with a window manager (openbox), driven from outside with
# xdotool: the button stays with the example Qt host and not above other applications.
#
#   scripts/desktop-under-openbox.sh --build build                      check
#   scripts/desktop-under-openbox.sh --build build --pictures docs/images   also keep pictures
#
# Checked: another application's window raised over the host covers the button and takes the
# clicks meant for it; the button is back above the host when the host is activated; it goes
# when the host is minimised and comes back with it; a dialog opened after start gets the edge
# swipe. Exit status 0 when all hold.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build
pictures=""
pace=1
while [ $# -gt 0 ]; do
    case "$1" in
        --build) build="$2"; shift 2 ;;
        --pictures) pictures="$2"; shift 2 ;;
        --pace) pace="$2"; shift 2 ;;  # waits are this many times longer (sanitizer builds)
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
done
for tool in Xvfb openbox xlogo xdotool import convert python3; do
    command -v "$tool" >/dev/null || { echo "desktop-under-openbox: $tool is missing" >&2; exit 2; }
done

width=1280
height=800
script=desktop-under-openbox
. "$(dirname "$0")/xvfb-session.sh"
waitFor() {  # waitFor <what> <command...>: until the command succeeds, five seconds at most
    local what="$1"
    shift
    for _ in $(seq 1 $((50 * pace))); do "$@" && return 0; sleep 0.1; done
    fail "$what"
}
kitWindowsAre() { [ "$(kitWindows)" -eq "$1" ]; }
# The colour of the screen at a point, as "r,g,b".
colourAt() {
    import -window root "$work/screen.png"
    convert "$work/screen.png" -format "%[fx:int(255*p{$1,$2}.r)],%[fx:int(255*p{$1,$2}.g)],%[fx:int(255*p{$1,$2}.b)]" info:
}
# The button is the kit's blue: far more blue than red.
buttonAt() {
    local rgb
    rgb="$(colourAt "$1" "$2")"
    python3 -c "import sys; r,g,b=map(int,sys.argv[1].split(',')); sys.exit(0 if b>150 and r<120 else 1)" "$rgb"
}
picture() {
    if [ -n "$pictures" ]; then
        mkdir -p "$pictures"
        import -window root "$pictures/desktop-$1.png"
    fi
}

startXvfb
HOME="$work" openbox --sm-disable > "$work/openbox.log" 2>&1 &
pids+=($!)
pause 1

# The host, with state of its own; no backend is needed for the windows (the kit's requests
# go to a port nothing listens on).
export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config" QT_QPA_PLATFORM=xcb
export VORNA_API_URL="http://127.0.0.1:9/"
"$build/examples/qt-host/vorna-qt-host" > "$work/host.log" 2>&1 &
pids+=($!)
host="$(xdotool search --sync --onlyvisible --name "Order Desk" | head -1)"
waitFor "the floating button did not show" kitWindowsAre 1
pause 1.5
# The button: 70 points, 15 in from the left and bottom edges of the screen; a point of its
# blue disc beside the white bug in its middle.
bx=28
by=$((height - 50))
waitFor "the button is not on the host" buttonAt "$bx" "$by"
picture 1-host

# Another application, raised over the host's corner where the button is.
xlogo -geometry 500x400+0+$((height - 430)) > /dev/null 2>&1 &
pids+=($!)
xdotool search --sync --onlyvisible --class xlogo > /dev/null
pause 1
buttonAt "$bx" "$by" && fail "the button floats over another application's window"
picture 2-other-application
xdotool mousemove "$bx" "$by" click 1
pause 1
kitWindowsAre 1 || fail "a click on the other application opened a report"

# The host in front again: the button is back above it.
xdotool windowactivate "$host"
waitFor "the button did not come back above the host" buttonAt "$bx" "$by"

# Minimised, the host takes its button along; restored, it brings it back.
xdotool windowminimize "$host"
waitFor "the button stayed while the host was minimised" kitWindowsAre 0
picture 3-host-minimised
xdotool windowactivate "$host"
waitFor "the button did not come back with the host" kitWindowsAre 1

# A dialog opened after start: the edge swipe works on it too.
xdotool windowactivate --sync "$host"
xdotool key ctrl+n  # "New order…"
dialogShown() { xdotool search --onlyvisible --name "^New order$" > "$work/dialog" 2>/dev/null; }
waitFor "the dialog did not open" dialogShown
dialog="$(head -1 "$work/dialog")"
pause 0.5
picture 4-dialog
eval "$(xdotool getwindowgeometry --shell "$dialog")"
y=$((Y + HEIGHT / 2))
xdotool mousemove $((X + WIDTH - 5)) "$y" mousedown 1
for dx in $(seq 20 20 200); do xdotool mousemove $((X + WIDTH - 5 - dx)) "$y"; done
xdotool mouseup 1
waitFor "a swipe in from the dialog's right edge opened no report" kitWindowsAre 2
pause 0.8
picture 5-report-of-the-dialog
echo "desktop-under-openbox: the button stays with the host; the dialog's swipe opened a report"
