# shellcheck shell=bash
# Shared pieces of the end-to-end tests under Wine: prefixes, time-limited Wine runs, the
# command line, the registry and the test driver package. Sourced by a test after it has set
#   BUILD (the win64 build), WORK (its scratch folder in the build), and optionally WINE.
# Every Wine step has a time limit: a hung program fails the test instead of holding it.

E2E_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
PACKAGE=$E2E_DIR/package
WINE=${WINE:-/usr/lib/wine/wine64}
WINESERVER=${WINESERVER:-$(dirname "$WINE")/wineserver}
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
CLI=$BUILD/cli/vantrel-cli.exe
# A device's first ID carries its revision, which INF models seldom name.
HWID='ROOT\LARKSPUR_E2E&REV_01'
DESC='Larkspur E2E Test Adapter'
started=$SECONDS

# Exit 77 (skipped) only where Wine is missing.
require_wine() {
    if [ ! -x "$WINE" ] || [ ! -x "$WINESERVER" ]; then
        echo "SKIPPED: Wine is not installed ($WINE); this end-to-end test needs it"
        exit 77
    fi
}

step() { echo "== [$((SECONDS - started)) s] $*"; }
fail() {
    echo "FAILED: $*" >&2
    exit 1
}

wine_run() { # limit program args...
    local limit=$1
    shift
    timeout --kill-after=10 "$limit" "$WINE" "$@"
}

# Switches to a prefix; the server of the one before is stopped first, so that its registry
# is on disk and no process of it lingers.
use_prefix() {
    [ -z "${WINEPREFIX:-}" ] || timeout 30 "$WINESERVER" -k 2>/dev/null || true
    export WINEPREFIX=$WORK/$1
}

# The prefix every case starts from, made once (its first start takes the longest).
make_base_prefix() {
    rm -rf "$WORK"
    mkdir -p "$WORK"
    export WINEPREFIX=$WORK/base
    wine_run 180 wineboot -i >/dev/null 2>&1 || fail "wineboot could not make a prefix"
    timeout 60 "$WINESERVER" -w || true
    unset WINEPREFIX
}

fresh_prefix() {
    rm -rf "${WORK:?}/$1"
    cp -a "$WORK/base" "$WORK/$1"
    use_prefix "$1"
}

# A prefix takes some 700 MB: each goes once its checks have passed. A failure leaves them all
# for a look.
drop_prefix() {
    timeout 30 "$WINESERVER" -k 2>/dev/null || true
    rm -rf "${WORK:?}/$1"
    unset WINEPREFIX
}

stop_wine_on_exit() {
    trap '[ -z "${WINEPREFIX:-}" ] || timeout 30 "$WINESERVER" -k 2>/dev/null || true' EXIT
}

# Runs the command line in the current prefix and prints its output without CRs.
cli() {
    wine_run 120 "$CLI" "$@" | tr -d '\r'
}

# reg.exe's answer, read whole before it is parsed.
reg_query() {
    local out
    out=$(wine_run 60 reg query "$@" 2>/dev/null) || true
    tr -d '\r' <<<"$out"
}

registry_value() { # key value: the data of one value
    reg_query "$1" /v "$2" | awk -v name="$2" '
        tolower($1) == tolower(name) { sub(/^ *[^ ]+ +[^ ]+ +/, ""); print; exit }'
}

# The driver key ("{class guid}\NNNN") of the device with the test hardware ID; nothing when
# no device has it.
driver_key_of_device() {
    reg_query 'HKLM\System\CurrentControlSet\Enum\ROOT' /s | awk -v id="$HWID" '
        /^HKEY_/ { driver = ""; hit = 0 }
        tolower($1) == "hardwareid" && index(toupper($0), toupper(id)) { hit = 1 }
        tolower($1) == "driver" { driver = $3 }
        hit && driver != "" { print driver; exit }'
}

# Whether any device node carries the test hardware ID.
device_node_present() {
    reg_query 'HKLM\System\CurrentControlSet\Enum\ROOT' /s | grep -qiF "$HWID"
}

# A value of the installed INF: its [Strings] entry, or a key of [Version].
inf_string() { # inf key
    awk -v key="$2" -F= '
        /^\[/ { section = tolower($0); next }
        section == "[strings]" && tolower($1) ~ "^ *" tolower(key) " *$" {
            value = $2; gsub(/^ *"|" *\r?$/, "", value); print value; exit }' "$1"
}
inf_version_key() { # inf key
    awk -v key="$2" -F= '
        /^\[/ { section = tolower($0); next }
        section == "[version]" && tolower($1) ~ "^ *" tolower(key) " *$" {
            value = $2; sub(/;.*/, "", value); gsub(/^ +| +\r?$/, "", value); print value; exit }' "$1"
}

winepath_of() { # a host path as Wine sees it (drive Z:)
    echo "Z:${1//\//\\}"
}

# The name of the installed INF ("oemN.inf") of the test device, from its driver key (looked
# up unless given: each look-up is a reg.exe run).
installed_inf_name() { # [driver key]
    local driver=${1:-}
    [ -n "$driver" ] || driver=$(driver_key_of_device)
    [ -n "$driver" ] || fail "no device with the hardware ID $HWID in $WINEPREFIX"
    registry_value "HKLM\\System\\CurrentControlSet\\Control\\Class\\$driver" InfPath
}

# Wine 8.0's installer leaves five values out of the driver key that Windows' class installer
# writes there: ProviderName, DriverDesc, DriverDate, DriverVersion and MatchingDeviceId. The
# inventory and the backup read them, so the test, and only the test, writes them right after
# each installation, from the installed INF, the way Windows does. The product never does.
complete_driver_values_wine_leaves_out() {
    local driver inf_name inf ver date version provider desc month day year reg
    driver=$(driver_key_of_device)
    [ -n "$driver" ] || fail "no device with the hardware ID $HWID in $WINEPREFIX"
    inf_name=$(installed_inf_name "$driver")
    [ -n "$inf_name" ] || fail "the driver key $driver has no InfPath"
    inf=$(find "$WINEPREFIX/drive_c/windows/inf" -maxdepth 1 -iname "$inf_name" | head -n 1)
    [ -f "$inf" ] || fail "the installed INF $inf_name is not in the INF folder"
    ver=$(inf_version_key "$inf" DriverVer) # 03/14/2024,2.5.1.7
    date=${ver%%,*}
    version=${ver#*,}
    IFS=/ read -r month day year <<<"$date"
    provider=$(inf_string "$inf" Provider)
    desc=$(inf_string "$inf" DeviceDesc)
    # Windows writes the date without leading zeros and the matched ID in lower case.
    reg=$WORK/driver-values.reg
    printf 'Windows Registry Editor Version 5.00\r\n\r\n[%s]\r\n' \
        "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Class\\$driver" >"$reg"
    printf '"%s"="%s"\r\n' ProviderName "$provider" DriverDesc "$desc" \
        DriverDate "$((10#$month))-$((10#$day))-$year" DriverVersion "$version" \
        MatchingDeviceId "$(echo "${HWID%&REV_*}" | tr '[:upper:]' '[:lower:]' | sed 's/\\/\\\\/g')" >>"$reg"
    wine_run 60 regedit /S "$(winepath_of "$reg")" || fail "regedit could not write the driver values"
}

# The carried installer, as C:\DrvInstall.exe of the current prefix.
place_installer() {
    cp "$BUILD/resources/103.bin" "$WINEPREFIX/drive_c/DrvInstall.exe"
}

# Installs the test package into the current prefix with the carried installer and completes
# what Wine leaves out.
install_test_driver() {
    cp -r "$PACKAGE" "$WINEPREFIX/drive_c/larkspur"
    place_installer
    wine_run 120 'C:\DrvInstall.exe' /i 'C:\larkspur\larkspur.inf' "$HWID" || fail "DrvInstall.exe /i exited $?"
    complete_driver_values_wine_leaves_out
}

# The CSV line of the test driver in `vantrel-cli.exe list --all --csv`; nothing when not listed.
listed_line() {
    cli list --all --csv | grep -F "$DESC," || true
}
