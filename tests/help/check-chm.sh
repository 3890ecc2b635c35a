#!/usr/bin/env bash
# A compiled help file holds every page of its language and the viewer's title.
#   check-chm.sh FILE.chm PAGES-FOLDER
set -uo pipefail
chm=$1
pages=$2
listing=$(7z l "$chm" 2>&1) || { echo "help: $chm is not a readable CHM" >&2; exit 1; }
bad=0
while IFS=$'\t' read -r page _; do
    [ -n "$page" ] || continue
    if ! grep -q -F " $page" <<<"$listing"; then
        echo "help: $chm lacks $page" >&2
        bad=1
    fi
done <"$pages/pages.txt"
if ! 7z e -so "$chm" '#SYSTEM' 2>/dev/null | grep -a -q -F 'Help of Vantrel'; then
    echo "help: $chm is not titled \"Help of Vantrel\"" >&2
    bad=1
fi
exit $bad
