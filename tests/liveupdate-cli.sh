#!/bin/sh
# vantrel liveupdate against a real server on 127.0.0.1: an update folder made by vantrel-dbtool
# and zip, a machine image whose program folder is created and filled, the exit codes of
# "newer", "nothing newer" and "server gone".
#   liveupdate-cli.sh VANTREL DBTOOL DRIVERDB_SOURCE PCIDEVS WORKDIR
set -eu
vantrel=$1 dbtool=$2 source=$3 pcidevs=$4 work=$5
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work/www/update11" "$work/src" "$work/image/registry"
printf '[system]\nmajor=10\nminor=0\nbuild=19045\n' >"$work/image/machine.ini"

fail() { echo "liveupdate-cli: $*" >&2; exit 1; }
program="$work/image/drive_c/Program Files/Vantrel"
mkdir -p "$program"
# Installed: the given databases dated 20200101; offered: the same dated 20990101.
{ echo 20200101; tail -n +2 "$source"; } >"$work/src/old.txt"
"$dbtool" driverdb --from "$work/src/old.txt" --out "$program/DriverDB.dat" >/dev/null
{ echo "20200101=old"; tail -n +2 "$pcidevs"; } >"$program/pcidevs.txt"
{ echo 20990101; tail -n +2 "$source"; } >"$work/src/new.txt"
"$dbtool" driverdb --from "$work/src/new.txt" --out "$work/www/update11/NewDriverDB.dat" >/dev/null
{ echo "20990101=new"; tail -n +2 "$pcidevs"; } >"$work/src/pcidevs.txt"
(cd "$work/src" && zip -q ../www/update11/pcidevs.zip pcidevs.txt)
printf '[update]\r\nUnKnownDBDate=20990101\r\nUnknownDBSize=%s\r\nDriverDBDate=20990101\r\nDriverDBSize=%s\r\n' \
    "$(wc -c <"$work/www/update11/pcidevs.zip")" "$(wc -c <"$work/www/update11/NewDriverDB.dat")" \
    >"$work/www/update11/update.txt"

python3 "$here/http/test-server.py" "$work/www" "$work/port" 60 &
server=$!
trap 'kill $server 2>/dev/null || true' EXIT
i=0
while [ ! -s "$work/port" ]; do
    i=$((i + 1))
    [ $i -lt 100 ] || fail "the test server did not start"
    sleep 0.1
done
url="http://127.0.0.1:$(cat "$work/port")"

"$vantrel" liveupdate --image "$work/image" --server "$url" --check | grep -q "newer: Drivers Update Database 20990101" ||
    fail "--check does not list the newer database"
[ "$(head -c 8 "$program/pcidevs.txt")" = 20200101 ] || fail "--check changed a database"
"$vantrel" liveupdate --image "$work/image" --server "$url" >"$work/out.txt" || fail "the update failed: $(cat "$work/out.txt")"
[ "$(head -c 8 "$program/pcidevs.txt")" = 20990101 ] || fail "pcidevs.txt was not replaced"
unzip -P "$(sed -n 's/.*kUpdateDbPassword\[\] = "\(.*\)";/\1/p' "$here/../src/updates/UpdateDatabase.h")" \
    -p "$program/DriverDB.dat" | head -1 | grep -q 20990101 || fail "DriverDB.dat was not replaced"
[ ! -e "$program/NewDriverDB.dat" ] && [ ! -e "$program/pcidevs.zip" ] || fail "downloads were left behind"
"$vantrel" liveupdate --image "$work/image" --server "$url" | grep -q "up-to-date" || fail "a second run found updates"

# An image without a program folder gets one, with the databases beside the program.
rm -rf "$program"
"$vantrel" liveupdate --image "$work/image" --server "$url" --check >/dev/null || fail "no program folder was made"
[ -e "$program/DriverDB.dat" ] || fail "the program folder has no databases"

kill $server
wait $server 2>/dev/null || true
if "$vantrel" liveupdate --image "$work/image" --server "$url" >/dev/null 2>&1; then
    fail "a server that is gone did not fail the run"
fi
rm -rf "$work"
echo "liveupdate-cli: ok"
