# Shared by the GUI scripts: a private X display and the Wine commands.
# shellcheck shell=bash

WINE=${WINE:-/usr/lib/wine/wine64}
WINESERVER=${WINESERVER:-$(dirname "$WINE")/wineserver}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}

XVFB_PID=""

# Starts Xvfb on a free display number and exports DISPLAY.
start_display() {
    local numberFile
    numberFile=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$numberFile" 2>/dev/null &
    XVFB_PID=$!
    for _ in $(seq 100); do
        [ -s "$numberFile" ] && break
        sleep 0.1
    done
    if [ ! -s "$numberFile" ]; then
        echo "xvfb: no display came up" >&2
        rm -f "$numberFile"
        return 1
    fi
    export DISPLAY=":$(head -n1 "$numberFile")"
    rm -f "$numberFile"
}

stop_display() {
    if [ -n "$XVFB_PID" ]; then
        kill "$XVFB_PID" 2>/dev/null || true
        wait "$XVFB_PID" 2>/dev/null || true
        XVFB_PID=""
    fi
}

# A wineserver started for another display (or none) would keep its desktop there.
stop_wineserver() {
    [ -n "${WINEPREFIX:-}" ] && "$WINESERVER" -k 2>/dev/null || true
    [ -n "${WINEPREFIX:-}" ] && "$WINESERVER" -w 2>/dev/null || true
}

# The title of a top-level X window that carries exactly this name, or nothing.
find_window() {
    xwininfo -root -tree 2>/dev/null | grep -F "\"$1\"" | head -n1
}
