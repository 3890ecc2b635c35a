#!/usr/bin/env bash
# Starts the real vantrel.exe under Wine on a virtual screen, waits for its main window,
# titled from the language file, and saves a picture of the screen.
#   screenshot.sh [--mark | --in-place] [--language NAME] [--registry FILE]... EXE OUTDIR
# --mark     the program runs from a copy whose language file gets a caption of its own, so
#            that finding the window proves the title came from the file
# --in-place the program runs where it lies (otherwise from a copy with its data files)
# --language the language the program starts in (default English)
# --registry a .reg file of the machine to show, imported again once the desktop is up
# --restore-from WINDOWS-FOLDER  also pictures the Restore tab listing the backup in that folder,
#            reached from the keyboard as a user would: Driver Restoration, From Folder, Yes
# --uninstall also pictures the Uninstall tab (Tools, Uninstall Drivers)
# --update   also pictures the Update tab with the search's results (Update, Driver Update)
# --detect-unknown also pictures the unknown device dialog (Tools, Detect Unknown Devices)
# --liveupdate also pictures the LiveUpdate wizard's search page (Update, Database LiveUpdate,
#            Next) against a server on 127.0.0.1 that offers both databases
# --options  also pictures the options dialog (Tools, Options)
# --about    also pictures the About box (Help, About)
# --more-backup also pictures the personal data dialog (Tools, More Backup And Restoration)
set -uo pipefail
# shellcheck source=xvfb.sh
source "$(dirname "$0")/xvfb.sh"

mark=0
inPlace=0
language=English
registry=()
restoreFrom=""
uninstall=0
update=0
detectUnknown=0
liveUpdate=0
options=0
about=0
moreBackup=0
while [ $# -gt 2 ]; do
    case "$1" in
    --mark) mark=1 ;;
    --in-place) inPlace=1 ;;
    --language) language=$2; shift ;;
    --registry) registry+=("$(realpath "$2")"); shift ;;
    --restore-from) restoreFrom=$2; shift ;;
    --uninstall) uninstall=1 ;;
    --update) update=1 ;;
    --detect-unknown) detectUnknown=1 ;;
    --liveupdate) liveUpdate=1 ;;
    --options) options=1 ;;
    --about) about=1 ;;
    --more-backup) moreBackup=1 ;;
    *) echo "screenshot: unknown option $1" >&2; exit 2 ;;
    esac
    shift
done
exe=$1
outdir=$2
: "${WINEPREFIX:?screenshot: set WINEPREFIX}"

source_dir=$(cd "$(dirname "$exe")" && pwd)
copy=""
server=""
cleanup() {
    [ -n "${program:-}" ] && kill "$program" 2>/dev/null
    [ -n "$server" ] && kill "$server" 2>/dev/null
    [ -n "${serverRoot:-}" ] && rm -rf "$serverRoot"
    stop_wineserver
    stop_display
    [ -n "$copy" ] && rm -rf "$copy"
}
trap cleanup EXIT
if [ $inPlace -eq 1 ]; then
    folder=$source_dir
else
    # The program and its data files, in a folder of their own.
    copy=$(mktemp -d)
    folder=$copy
    cp "$exe" "$folder/vantrel.exe"
    cp -r "$source_dir/Language" "$folder/"
    for file in "$source_dir"/*.ico "$source_dir"/*.dat "$source_dir"/*.txt; do
        [ -e "$file" ] && cp "$file" "$folder/"
    done
fi
ini="$folder/Language/$language.ini"
if [ ! -f "$ini" ]; then
    echo "screenshot: no language file $ini" >&2
    exit 1
fi
if [ $mark -eq 1 ] && [ $inPlace -eq 0 ]; then
    sed -i 's/^Caption=\(.*\)$/Caption=\1 (screen test)/' "$ini"
fi
title=$(sed -n 's/^Caption=\(.*\)$/\1/p' "$ini" | head -n1 | tr -d '\r')

# Always a screen of its own, so that nothing else is in the picture.
start_display || exit 1
stop_wineserver
mkdir -p "$WINEPREFIX"
# One session for every step below: a new one would rewrite the display keys again.
"$WINESERVER" -p
# The first process of the session brings the desktop up.
timeout 120 "$WINE" reg add 'HKCU\Software\Vantrel' /v Language /t REG_SZ /d "$language" /f >/dev/null 2>&1
if [ -n "$restoreFrom" ]; then
    # The folder the last backup went to: the Restore tab offers it first.
    timeout 60 "$WINE" reg add 'HKCU\Software\Vantrel' /v BackupPath /t REG_SZ /d "$restoreFrom" /f >/dev/null 2>&1
fi
if [ $liveUpdate -eq 1 ]; then
    # An update server on 127.0.0.1 whose index offers both databases, for the wizard's search.
    serverRoot=$(mktemp -d)
    mkdir -p "$serverRoot/www/update11"
    printf '[update]\r\nUnKnownDBDate=20991231\r\nUnknownDBSize=524288\r\nDriverDBDate=20991231\r\nDriverDBSize=131072\r\n' \
        >"$serverRoot/www/update11/update.txt"
    python3 "$(dirname "$0")/../http/test-server.py" "$serverRoot/www" "$serverRoot/port" 300 &
    server=$!
    for _ in $(seq 100); do
        [ -s "$serverRoot/port" ] && break
        sleep 0.1
    done
    if [ ! -s "$serverRoot/port" ]; then
        echo "screenshot: the update server did not start" >&2
        exit 1
    fi
    timeout 60 "$WINE" reg add 'HKCU\Software\Vantrel' /v UpdateServer /t REG_SZ \
        /d "http://127.0.0.1:$(cat "$serverRoot/port")" /f >/dev/null 2>&1
fi
# Without a window manager Wine draws the title bars itself.
timeout 60 "$WINE" reg add 'HKCU\Software\Wine\X11 Driver' /v Decorated /t REG_SZ /d N /f >/dev/null 2>&1
# With the desktop Wine writes display and monitor class keys of its own, without InfPath,
# over the machine's: its registry goes in again now.
for file in "${registry[@]}"; do
    if ! timeout 60 "$WINE" regedit /S "Z:${file//\//\\}" >/dev/null 2>&1; then
        echo "screenshot: could not import $file" >&2
        exit 1
    fi
done

(cd "$folder" && exec "$WINE" vantrel.exe) >/dev/null 2>&1 &
program=$!
for _ in $(seq 120); do
    [ -n "$(find_window "$title")" ] && break
    kill -0 "$program" 2>/dev/null || break # it ended without a window
    sleep 0.5
done
if [ -z "$(find_window "$title")" ]; then
    echo "screenshot: no window titled \"$title\" appeared" >&2
    exit 1
fi
sleep 2 # let it paint
# A database older than 15 days makes the program offer LiveUpdate at start; the pictures are
# of the window itself, so the offer is declined.
if [ -n "$(find_window Vantrel)" ]; then
    xdotool windowfocus --sync "$(xdotool search --name '^Vantrel$' | head -n1)" 2>/dev/null || true
    xdotool key n
    for _ in $(seq 20); do
        [ -z "$(find_window Vantrel)" ] && break
        sleep 0.25
    done
    sleep 1
fi
mkdir -p "$outdir"
picture="$outdir/vantrel-$language.png"
import -window root "$picture"
echo "screenshot: $picture"

# Keys go to the main window; a question box of the program is answered with its default.
keys() {
    local window
    window=$(xdotool search --name "^$title\$" 2>/dev/null | head -n1)
    [ -n "$window" ] || return 1
    xdotool windowfocus --sync "$window" 2>/dev/null || true
    xdotool key --clearmodifiers "$@"
}
wait_window() {
    for _ in $(seq 40); do
        [ -n "$(find_window "$1")" ] && return 0
        sleep 0.25
    done
    return 1
}
if [ -n "$restoreFrom" ]; then
    keys alt+r && sleep 0.5 && xdotool key f
    if ! wait_window Vantrel; then
        echo "screenshot: the Restore tab did not ask about the backup folder" >&2
        exit 1
    fi
    xdotool key Return
    sleep 4
    import -window root "$outdir/vantrel-$language-restore.png"
    echo "screenshot: $outdir/vantrel-$language-restore.png"
fi
if [ $uninstall -eq 1 ]; then
    keys alt+t && sleep 0.5 && xdotool key u
    sleep 2
    import -window root "$outdir/vantrel-$language-uninstall.png"
    echo "screenshot: $outdir/vantrel-$language-uninstall.png"
fi
if [ $update -eq 1 ]; then
    keys alt+u && sleep 0.5 && xdotool key u
    sleep 3 # the search runs when the tab opens
    import -window root "$outdir/vantrel-$language-update.png"
    echo "screenshot: $outdir/vantrel-$language-update.png"
fi
if [ $detectUnknown -eq 1 ]; then
    dialog=$(sed -n '/^\[FormUnknownDevice\]/,/^\[/s/^Caption=\(.*\)$/\1/p' "$ini" | head -n1 | tr -d '\r')
    keys alt+t && sleep 0.5 && xdotool key d
    if ! wait_window "$dialog"; then
        echo "screenshot: no dialog titled \"$dialog\" appeared" >&2
        exit 1
    fi
    sleep 3 # the detection runs once the dialog has painted
    import -window root "$outdir/vantrel-$language-detect-unknown.png"
    echo "screenshot: $outdir/vantrel-$language-detect-unknown.png"
fi

# The caption of a dialog from its section of the language file.
dialog_caption() {
    sed -n "/^\[$1\]/,/^\[/s/^Caption=\(.*\)$/\1/p" "$ini" | head -n1 | tr -d '\r'
}
# Keys to a dialog of the program, found by its caption.
dialog_keys() {
    local window
    window=$(xdotool search --name "^$1\$" 2>/dev/null | head -n1)
    [ -n "$window" ] || return 1
    shift
    xdotool windowfocus --sync "$window" 2>/dev/null || true
    xdotool key --clearmodifiers "$@"
}
# Esc closes a dialog; the next picture needs the main window free again.
close_dialog() {
    dialog_keys "$1" Escape
    for _ in $(seq 40); do
        [ -z "$(find_window "$1")" ] && return 0
        sleep 0.25
    done
    echo "screenshot: the dialog \"$1\" did not close on Esc" >&2
    return 1
}
# Opens a dialog by the main window's keys and pictures it: NAME SECTION KEYS...
picture_dialog() {
    local name=$1 caption
    caption=$(dialog_caption "$2")
    shift 2
    [ $detectUnknown -eq 1 ] && close_dialog "$(dialog_caption FormUnknownDevice)" && detectUnknown=0
    keys "$1" && sleep 0.5 && xdotool key "$2"
    if ! wait_window "$caption"; then
        echo "screenshot: no dialog titled \"$caption\" appeared" >&2
        exit 1
    fi
    sleep 1
    if [ $# -gt 2 ]; then
        # A wizard: its first page too, then the page the key leads to.
        import -window root "$outdir/vantrel-$language-$name-first.png"
        echo "screenshot: $outdir/vantrel-$language-$name-first.png"
        dialog_keys "$caption" "$3"
        sleep 3 # the search runs
    fi
    import -window root "$outdir/vantrel-$language-$name.png"
    echo "screenshot: $outdir/vantrel-$language-$name.png"
    close_dialog "$caption" || exit 1
}
[ $liveUpdate -eq 1 ] && picture_dialog liveupdate FormLiveUpdate alt+u l alt+n
[ $options -eq 1 ] && picture_dialog options FormOptions alt+t o
[ $about -eq 1 ] && picture_dialog about FormAbout alt+h a
[ $moreBackup -eq 1 ] && picture_dialog more-backup FormOtherBackup alt+t m
exit 0
