#!/bin/sh
# vantrel-dbtool driverdb on a database source: the dump gives the source back byte for byte,
# and Info-ZIP's unzip opens the file with the database's password.
# usage: updates-dbtool.sh TOOL SOURCE WORKDIR
set -eu
tool=$1 source=$2 work=$3
rm -rf "$work"
mkdir -p "$work"
"$tool" driverdb --from "$source" --out "$work/DriverDB.dat"
"$tool" driverdb --dump "$work/DriverDB.dat" >"$work/dump.txt"
cmp "$source" "$work/dump.txt"
if command -v unzip >/dev/null 2>&1; then
    unzip -l "$work/DriverDB.dat" | grep -q ' du.tmp$'
    unzip -p -P 'xqz.plorventaquist.kjw.' "$work/DriverDB.dat" du.tmp >"$work/du.tmp"
    head -c 8 "$source" | cmp - "$work/du.tmp" -n 8
    # The addresses are enciphered in the file, plain in the source.
    ! grep -q 'https://' "$work/du.tmp"
    grep -q 'https://' "$source"
fi
# Wrong use fails.
if "$tool" driverdb --dump "$work/missing.dat" >/dev/null 2>&1; then exit 1; fi
echo "dbtool driverdb: round trip identical, unzip opens it"
