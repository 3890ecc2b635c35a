#!/usr/bin/env bash
# Draws the program's icons with ImageMagick: the application icon, the six command
# pictures and the two header sort marks. Run it after changing a drawing; the results are
# kept in the repository so that a build needs no ImageMagick.
set -euo pipefail
cd "$(dirname "$0")"
DATA=../../data
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

canvas() { convert -size 256x256 xc:none "$@"; }
to_ico() { convert "$1" -define icon:auto-resize="$2" "$3"; }

# A grey drive with a status light, the base of the backup pictures.
DRIVE=(-fill '#5f6f80' -stroke '#3b4652' -strokewidth 6 -draw 'roundrectangle 30,150 226,226 18,18'
       -stroke none -fill '#7fe07f' -draw 'circle 196,188 196,200'
       -fill '#8796a6' -draw 'rectangle 52,172 150,180' -draw 'rectangle 52,192 150,200')

# Application icon: a white V on a blue tile.
canvas -fill '#1d5aa6' -stroke '#123a6b' -strokewidth 8 -draw 'roundrectangle 12,12 244,244 40,40' \
    -stroke none -fill '#3f86d8' -draw 'roundrectangle 20,20 236,120 34,34' \
    -fill white -draw 'polygon 52,56 100,56 128,150 156,56 204,56 150,204 106,204' \
    "$work/NewIcon.png"
to_ico "$work/NewIcon.png" 256,64,48,32,24,16 NewIcon.ico

# Back up: an arrow down into the drive.
canvas "${DRIVE[@]}" -fill '#2f9e44' -stroke '#1f6b2e' -strokewidth 6 \
    -draw 'polygon 100,14 156,14 156,74 198,74 128,144 58,74 100,74' "$work/backup.png"
to_ico "$work/backup.png" 64,48,40,32,24,16 backup.ico

# Restore: an arrow up out of the drive.
canvas "${DRIVE[@]}" -fill '#e8890c' -stroke '#a35f05' -strokewidth 6 \
    -draw 'polygon 128,10 198,80 156,80 156,140 100,140 100,80 58,80' "$work/restore.png"
to_ico "$work/restore.png" 64,48,40,32,24,16 restore.ico

# Update: an upward arrow on a blue disc.
canvas -fill '#1f74d1' -stroke '#124a88' -strokewidth 8 -draw 'circle 128,128 128,16' \
    -stroke none -fill white -draw 'polygon 128,44 196,116 154,116 154,206 102,206 102,116 60,116' \
    "$work/update.png"
to_ico "$work/update.png" 64,48,40,32,24,16 update.ico

# Uninstall: the drive crossed out in red.
canvas "${DRIVE[@]}" -fill '#d6322f' -stroke '#8f1d1b' -strokewidth 6 -draw 'circle 128,78 128,10' \
    -stroke white -strokewidth 20 -draw 'line 98,48 158,108' -draw 'line 158,48 98,108' \
    "$work/uninstall.png"
to_ico "$work/uninstall.png" 64,48,40,32,24,16 uninstall.ico

# LiveUpdate: a globe.
canvas -fill '#2c8fd6' -stroke '#175a8c' -strokewidth 8 -draw 'circle 128,128 128,18' \
    -fill none -stroke '#e6f3ff' -strokewidth 9 \
    -draw 'ellipse 128,128 48,108 0,360' -draw 'line 128,22 128,234' \
    -draw 'line 22,128 234,128' -draw 'line 40,78 216,78' -draw 'line 40,178 216,178' \
    "$work/liveupdate.png"
to_ico "$work/liveupdate.png" 64,48,40,32,24,16 liveupdate.ico

# Options: a gear.
gear=(-fill '#6d7883' -stroke '#414950' -strokewidth 4)
for angle in 0 45 90 135 180 225 270 315; do
    gear+=(-draw "translate 128,128 rotate $angle roundrectangle -22,-116 22,-70 6,6")
done
canvas "${gear[@]}" -draw 'circle 128,128 128,38' -fill '#eef1f4' -draw 'circle 128,128 128,92' \
    "$work/options.png"
to_ico "$work/options.png" 64,48,40,32,24,16 options.ico

# Header sort marks, drawn beside the program.
convert -size 64x64 xc:none -fill '#5a5a5a' -draw 'polygon 32,14 56,48 8,48' "$work/up.png"
convert -size 64x64 xc:none -fill '#5a5a5a' -draw 'polygon 8,16 56,16 32,50' "$work/down.png"
to_ico "$work/up.png" 32,24,20,16 "$DATA/sortascending.ico"
to_ico "$work/down.png" 32,24,20,16 "$DATA/sortdescending.ico"

echo "icons written"
