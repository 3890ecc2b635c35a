#!/usr/bin/env bash
# The installer under Wine: a silent install into Program Files, the installed program started
# until its main window is up, and a silent uninstall that leaves nothing behind.
#   install-e2e.sh SETUP.EXE PREFIX-FOLDER
# The prefix is made once and kept for later runs; every Wine step has a time limit.
set -uo pipefail
# shellcheck source=../gui/xvfb.sh
source "$(dirname "$0")/../gui/xvfb.sh"

setup=$(realpath "$1")
export WINEPREFIX=$2

fail() {
    echo "installer: $*" >&2
    exit 1
}
cleanup() {
    [ -n "${program:-}" ] && kill "$program" 2>/dev/null
    stop_wineserver
    stop_display
}
trap cleanup EXIT

start_display || exit 1
stop_wineserver
mkdir -p "$WINEPREFIX"
"$WINESERVER" -p
timeout 180 "$WINE" wineboot -i >/dev/null 2>&1 || fail "the Wine prefix did not start"

dir="$WINEPREFIX/drive_c/Program Files/Vantrel"
menu="$WINEPREFIX/drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/Vantrel"
key='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\Vantrel'
# A run that failed half-way is cleared first.
rm -rf "$dir" "$menu"
timeout 60 "$WINE" reg delete "$key" /f >/dev/null 2>&1

timeout 120 "$WINE" "Z:${setup//\//\\}" /S >/dev/null 2>&1 || fail "the silent install failed or hung"
for file in vantrel.exe uninstall.exe help.chm DutchHelp.chm sortascending.ico sortdescending.ico \
    Language/English.ini Language/Dutch.ini Language/Ukrainian.ini; do
    [ -f "$dir/$file" ] || fail "not installed: $file"
done
[ -f "$menu/Vantrel.lnk" ] || fail "no Start-menu entry"
timeout 60 "$WINE" reg query "$key" /v UninstallString 2>/dev/null | grep -q 'uninstall.exe' ||
    fail "no uninstall entry in the registry"

# The installed program must start and bring up its main window.
title=$(sed -n 's/^Caption=\(.*\)$/\1/p' "$dir/Language/English.ini" | head -n1 | tr -d '\r')
timeout 60 "$WINE" reg add 'HKCU\Software\Vantrel' /v Language /t REG_SZ /d English /f >/dev/null 2>&1
(cd "$dir" && exec timeout 120 "$WINE" vantrel.exe) >/dev/null 2>&1 &
program=$!
for _ in $(seq 120); do
    [ -n "$(find_window "$title")" ] && break
    kill -0 "$program" 2>/dev/null || break
    sleep 0.5
done
[ -n "$(find_window "$title")" ] || fail "the installed program showed no window titled \"$title\""
kill "$program" 2>/dev/null
wait "$program" 2>/dev/null
program=""
stop_wineserver
"$WINESERVER" -p

# The uninstaller copies itself away and returns at once; its work is waited for here.
timeout 60 "$WINE" "C:\\Program Files\\Vantrel\\uninstall.exe" /S >/dev/null 2>&1 || fail "the uninstaller failed"
for _ in $(seq 120); do
    [ -e "$dir" ] || break
    sleep 0.5
done
[ -e "$dir" ] && fail "left behind: $(cd "$dir" && find . -mindepth 1 | head -n5 | xargs)"
[ -e "$menu" ] && fail "the Start-menu entry is still there"
timeout 60 "$WINE" reg query "$key" >/dev/null 2>&1 && fail "the uninstall entry is still in the registry"
echo "installer: installed, started and uninstalled"
