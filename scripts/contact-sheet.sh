#!/usr/bin/env bash
# Makes a contact sheet of stamped text, every position in several colours, for judging legibility by eye: build/contact-sheet.png.
# Wants build/host (./run.sh) and ImageMagick (scripts/setup.sh).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

sheet=build/contact-sheet
rm -rf "$sheet"
mkdir -p "$sheet"
number=0
for position in {top,middle,bottom}-{left,centre,right}; do
    for look in "white black none" "white none black" "yellow none blue" "black inverse none" "#00aaff white none"; do
        read -r color outline background <<<"$look"
        number=$((number + 1))
        if [ -t 2 ]; then printf '\rpicture %d of 45' "$number" >&2; fi
        scripts/host.sh build/host/bin/camctl.exe snap "$sheet/$(printf '%02d' "$number").jpg" --size 320x240 --skip 0 --text "$position\n$color/$outline\n$background" \
            --position "$position" --text-color "$color" --outline "$outline" --background "$background" --font "DejaVu Sans,18" \
            --scene build/media/photo.png >/dev/null
    done
done
if [ -t 2 ]; then printf '\n' >&2; fi
montage "$sheet"/*.jpg -tile 5x -geometry +2+2 build/contact-sheet.png
echo "build/contact-sheet.png"
