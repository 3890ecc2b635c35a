#!/usr/bin/env bash
# A driver restored for real, under Wine. Our DrvInstall.exe installs the test package into
# prefix A; the inventory of A must list it as Non-Microsoft; it is backed up as a folder, a
# zip, a self-extractor and an auto-setup package; each backup is restored into a fresh prefix
# (the first three by `vantrel-cli.exe restore`, the package by its own wizard's /s), whose
# inventory must then list the driver as A does, with its files in the drivers folder.
#
#   restore-e2e.sh BUILD_DIR    (the win64 build: cli/vantrel-cli.exe, resources/103.bin)
#
# Every Wine step has a time limit. Exit 77 (skipped) only where Wine is missing.
set -euo pipefail

BUILD=$(cd "$1" && pwd)
WORK=$BUILD/e2e-restore
# shellcheck source-path=SCRIPTDIR source=lib.sh
source "$(dirname "$0")/lib.sh"
require_wine
stop_wine_on_exit

# The list line of our driver: Description,Class,Version,Date,Provider (--csv), checked to be
# marked Non-Microsoft.
listed_driver() {
    local line
    line=$(cli list --csv | grep -F "$DESC," || true)
    [ -n "$line" ] || fail "vantrel-cli.exe list does not list \"$DESC\" in $WINEPREFIX"
    [ "$(echo "$line" | cut -d, -f6)" = yes ] || fail "\"$DESC\" is not listed as Non-Microsoft: $line"
    echo "$line" | cut -d, -f1-5
}

check_installed_files() {
    local drivers=$WINEPREFIX/drive_c/windows/system32/drivers
    cmp -s "$PACKAGE/amd64/larkspur.sys" "$drivers/larkspur.sys" ||
        fail "larkspur.sys is not in the drivers folder of $WINEPREFIX"
    cmp -s "$PACKAGE/amd64/larkco.dll" "$WINEPREFIX/drive_c/windows/system32/larkco.dll" ||
        fail "the co-installer larkco.dll is not in system32 of $WINEPREFIX"
}

[ -x "$CLI" ] || fail "no $CLI: build the win64 tree first"
[ -f "$BUILD/resources/103.bin" ] || fail "no DrvInstall.exe (resources/103.bin) in $BUILD"

step "a fresh prefix, made once and copied for each further one"
make_base_prefix

step "prefix A: DrvInstall.exe /i installs the test package"
fresh_prefix A
place_installer
# A package that lacks a copied file is refused before the system is called (Wine would spin).
mkdir "$WINEPREFIX/drive_c/incomplete"
cp "$PACKAGE/larkspur.inf" "$WINEPREFIX/drive_c/incomplete/"
set +e
wine_run 60 'C:\DrvInstall.exe' /i 'C:\incomplete\larkspur.inf' "$HWID"
code=$?
set -e
[ "$code" = 5 ] || fail "DrvInstall.exe on an incomplete package exited $code, not 5 (files missing)"
install_test_driver
check_installed_files
expected=$(listed_driver)
echo "A lists: $expected"
[ "$expected" = "$DESC,System devices,2.5.1.7,2024-03-14,Larkspur Devices" ] ||
    fail "prefix A lists the driver as: $expected"

step "prefix A: backed up as a folder, a zip, a self-extractor and an auto-setup package"
for format in folder zip sfx auto; do
    out=$(cli backup --to 'C:\backup' --format "$format" --driver "$DESC" 2>&1) ||
        fail "vantrel-cli.exe backup --format $format failed: $out"
done
timeout 30 "$WINESERVER" -k 2>/dev/null || true
rm -rf "$WORK/backup"
cp -r "$WINEPREFIX/drive_c/backup/Drivers Backup" "$WORK/backup"
backup_driver_folder=$WORK/backup/$DESC
drop_prefix A

# After each restore: the five values as after any installation under Wine, then the driver
# must be listed as in A, with its files in place.
check_restored() { # what restored it
    complete_driver_values_wine_leaves_out
    local listed
    listed=$(listed_driver)
    [ "$listed" = "$expected" ] || fail "after $1 the driver is listed as: $listed (in A: $expected)"
    check_installed_files
    echo "restored by $1: $listed"
}

for file in "$backup_driver_folder"/larkspur.sys "$backup_driver_folder"/larkco.dll; do
    [ -f "$file" ] || fail "the folder backup lacks $(basename "$file")"
done
for form in folder zip sfx; do
    step "a fresh prefix: vantrel-cli.exe restore from the $form"
    fresh_prefix "restore-$form"
    cp -r "$WORK/backup" "$WINEPREFIX/drive_c/backup"
    case $form in
    folder) from='C:\backup' ;;
    zip) from='C:\backup\MyDrivers.zip' ;;
    sfx) from='C:\backup\MyDrivers.exe' ;;
    esac
    out=$(cli restore --from "$from" --all --yes --timeout 60 2>&1) || fail "restore from the $form failed: $out"
    echo "$out" | grep -q '^1 of 1 drivers installed' || fail "restore from the $form: $out"
    check_restored "the restore from the $form"
    drop_prefix "restore-$form"
done

step "a fresh prefix: the auto-setup package with /s"
fresh_prefix auto-setup
cp "$WORK/backup/DriverAutoSetup.exe" "$WINEPREFIX/drive_c/"
wine_run 180 'C:\DriverAutoSetup.exe' /s || fail "DriverAutoSetup.exe /s exited $?"
check_restored "DriverAutoSetup.exe /s"
drop_prefix auto-setup
rm -rf "${WORK:?}/base"
step "done"
