#!/usr/bin/env bash
# Compiles one language's pages into a .chm with chmcmd.
#   build-chm.sh PAGES-FOLDER OUTPUT.chm LANGUAGE-ID [SCREENSHOT-FOLDER]
# A page names its picture as <!--screenshot FILE ALT-->; the picture goes in when the
# screenshot run has made it, and the line is dropped when it has not.
set -euo pipefail
pages=$(cd "$1" && pwd)
out=$2
lcid=$3
shots=${4:-}
here=$(cd "$(dirname "$0")" && pwd)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here/help.css" "$work/"
files=(help.css)
while IFS=$'\t' read -r page title; do
    [ -n "$page" ] || continue
    awk -v shots="$shots" -v work="$work" '
        /<!--screenshot / {
            line = $0
            sub(/.*<!--screenshot /, "", line); sub(/-->.*/, "", line)
            file = line; sub(/ .*/, "", file)
            alt = line; sub(/^[^ ]* /, "", alt)
            if (shots != "" && system("test -f \"" shots "/" file "\"") == 0) {
                system("cp \"" shots "/" file "\" \"" work "/\"")
                print "<p><img src=\"" file "\" alt=\"" alt "\"></p>"
                print file >> (work "/images.lst")
            }
            next
        }
        { print }' "$pages/$page" > "$work/$page"
    files+=("$page")
done < "$pages/pages.txt"
if [ -f "$work/images.lst" ]; then
    while read -r image; do files+=("$image"); done < <(sort -u "$work/images.lst")
    rm "$work/images.lst"
fi

# The contents, in the order of pages.txt; titles in the viewer's code page.
{
    echo '<!DOCTYPE HTML PUBLIC "-//IETF//DTD HTML//EN">'
    echo '<HTML><HEAD></HEAD><BODY><UL>'
    while IFS=$'\t' read -r page title; do
        [ -n "$page" ] || continue
        printf '<LI><OBJECT type="text/sitemap"><param name="Name" value="%s"><param name="Local" value="%s"></OBJECT>\n' \
            "$title" "$page"
    done < "$pages/pages.txt"
    echo '</UL></BODY></HTML>'
} | iconv -f UTF-8 -t WINDOWS-1252 > "$work/toc.hhc"

name=$(basename "$out")
{
    echo '[OPTIONS]'
    echo 'Compatibility=1.1 or later'
    echo "Compiled file=$name"
    echo 'Contents file=toc.hhc'
    echo 'Default topic=index.html'
    echo 'Display compile progress=No'
    echo "Language=$lcid"
    echo 'Title=Help of Vantrel'
    echo
    echo '[FILES]'
    printf '%s\n' "${files[@]}"
} > "$work/help.hhp"

(cd "$work" && chmcmd --no-html-scan help.hhp >/dev/null 2>&1)
mkdir -p "$(dirname "$out")"
mv "$work/$name" "$out"
