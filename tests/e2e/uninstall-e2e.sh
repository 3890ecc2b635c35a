#!/usr/bin/env bash
# A driver removed for real, under Wine. Our DrvInstall.exe installs the test package into a
# fresh prefix and the inventory must list it; `vantrel-cli.exe uninstall` removes it: the
# inventory no longer lists it, its device node is gone and so is its INF copy (oem*.inf on
# Windows) in the INF folder. In a second prefix the INF is held open by another program while
# the driver is removed: the device goes, and the INF's deletion is left to the next restart
# (Wine keeps that list in the registry, as Windows does).
#
#   uninstall-e2e.sh BUILD_DIR HOLD_FILE_EXE
#     BUILD_DIR      the win64 build (cli/vantrel-cli.exe, resources/103.bin)
#     HOLD_FILE_EXE  the test program that keeps a file open without sharing
set -euo pipefail

BUILD=$(cd "$1" && pwd)
HOLD=$2
WORK=$BUILD/e2e-uninstall
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname "$0")/lib.sh"
require_wine
stop_wine_on_exit

[ -x "$CLI" ] || fail "no $CLI: build the win64 tree first"
[ -f "$BUILD/resources/103.bin" ] || fail "no DrvInstall.exe (resources/103.bin) in $BUILD"
[ -f "$HOLD" ] || fail "no $HOLD"

SESSION_MANAGER='HKLM\System\CurrentControlSet\Control\Session Manager'

# Installs the test driver and checks that the inventory lists it; prints the INF's name.
install_and_check_listed() {
    install_test_driver >&2
    [ -n "$(listed_line)" ] || fail "the inventory of $WINEPREFIX does not list \"$DESC\" after installing it"
    device_node_present || fail "no device node with the hardware ID $HWID after installing it"
    installed_inf_name
}

# Removes the test driver through the command line (further options as given); its output goes
# to the log and is printed.
uninstall_test_driver() {
    local out code=0
    out=$(wine_run 120 "$CLI" uninstall --driver "$DESC" --yes --timeout 60 "$@" 2>&1 | tr -d '\r') || code=$?
    echo "$out" >&2
    [ "$code" = 0 ] || fail "vantrel-cli.exe uninstall exited $code"
    grep -qxF "removed: $DESC" <<<"$out" || fail "the command does not report \"$DESC\" as removed"
    echo "$out"
}

check_device_gone() {
    [ -z "$(listed_line)" ] || fail "the inventory still lists \"$DESC\": $(listed_line)"
    if device_node_present; then
        fail "a device node with the hardware ID $HWID is still in the registry"
    fi
}

step "a fresh prefix, made once and copied for each case"
make_base_prefix

step "removed after a backup: the device node and its INF go"
fresh_prefix removed
inf=$(install_and_check_listed)
# Windows names the copy oemN.inf; Wine 8.0 keeps the package's own name. Either way it is the
# copy in the INF folder that the driver key names.
[ -f "$WINEPREFIX/drive_c/windows/inf/$inf" ] || fail "the installed INF \"$inf\" is not in the INF folder"
# Without --yes the caution question is asked on the terminal; "n" removes nothing.
code=0
out=$(echo n | wine_run 120 "$CLI" uninstall --driver "$DESC" 2>&1 | tr -d '\r') || code=$?
[ "$code" = 1 ] || fail "uninstall answered No exited $code: $out"
grep -qF "Please be cautious about uninstalling drivers." <<<"$out" || fail "no caution question: $out"
# A backup that cannot be made stops the removal before anything is removed.
code=0
out=$(wine_run 120 "$CLI" uninstall --driver "$DESC" --yes --backup-to 'Q:\nowhere' 2>&1 | tr -d '\r') || code=$?
[ "$code" = 1 ] || fail "uninstall with a backup that fails exited $code: $out"
grep -qF "nothing was removed" <<<"$out" || fail "uninstall with a backup that fails said: $out"
if [ -z "$(listed_line)" ] || ! device_node_present; then
    fail "a failed backup did not stop the removal"
fi
uninstall_test_driver --backup-to 'C:\safety' >/dev/null
[ -f "$WINEPREFIX/drive_c/safety/Drivers Backup/$DESC/larkspur.sys" ] ||
    fail "--backup-to did not back the driver up before removing it"
check_device_gone
[ ! -e "$WINEPREFIX/drive_c/windows/inf/$inf" ] || fail "$inf is still in the INF folder"
[ -z "$(registry_value "$SESSION_MANAGER" PendingFileRenameOperations)" ] ||
    fail "a deletion was scheduled although nothing held the INF"
drop_prefix removed

step "held open: the device goes, the INF's deletion waits for the restart"
fresh_prefix held
inf=$(install_and_check_listed)
rm -f "$WORK/held.out"
wine_run 150 "$HOLD" "C:\\windows\\inf\\$inf" 'C:\release-hold' 120 >"$WORK/held.out" 2>&1 &
holder=$!
for _ in $(seq 1 300); do
    grep -q held "$WORK/held.out" 2>/dev/null && break
    kill -0 "$holder" 2>/dev/null || fail "the holding program ended: $(cat "$WORK/held.out")"
    sleep 0.1
done
grep -q held "$WORK/held.out" || fail "the holding program did not open $inf within 30 s"
out=$(uninstall_test_driver)
grep -qiF "windows\\inf\\$inf is in use: Windows deletes it at the next restart" <<<"$out" ||
    fail "the command does not report the deletion of $inf as scheduled"
touch "$WINEPREFIX/drive_c/release-hold"
wait "$holder" || fail "the holding program exited $?"
check_device_gone
[ -f "$WINEPREFIX/drive_c/windows/inf/$inf" ] || fail "$inf went although it was held open"
pending=$(reg_query "$SESSION_MANAGER" /v PendingFileRenameOperations)
grep -qiF "inf\\$inf" <<<"$pending" || fail "no deletion of $inf is scheduled: $pending"
echo "scheduled: $(grep -i PendingFileRenameOperations <<<"$pending")"
drop_prefix held
rm -rf "${WORK:?}/base"
step "done"
