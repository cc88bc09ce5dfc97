#!/usr/bin/env bash
# Stamped text is legible: an OCR program reads it, to the letter, from a TIFF and a JPEG at 18 pixels, over a chart and over a photograph.
#
#   ocr_test.sh CAMCTL.EXE
set -uo pipefail
camctlProgram=$(readlink -f "$1")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

text='Order 4711 Dock 3'
box=170x24+0+2 # the text's box in the corner, at 18 pixels of DejaVu Sans
passed=0
failed=0
for scene in chart "$root/build/media/photo.png"; do
    "$root/scripts/host.sh" "$camctlProgram" snap a.tif a.jpg --size 640x480 --text "$text" --position bottom-left \
        --background black --font 'DejaVu Sans,18' --scene "$scene" || exit 1
    for picture in a.tif a.jpg; do
        border=black
        [ $picture = a.tif ] && border=white
        convert $picture -gravity southwest -crop $box +repage -colorspace Gray -bordercolor $border -border 12 -resize 300% text.png
        read=$(tesseract text.png - --psm 6 2>/dev/null | tr -d '\f')
        if [ "$read" = "$text" ]; then passed=$((passed + 1)); else
            failed=$((failed + 1))
            echo "FAILED: $picture over $scene reads '$read', not '$text'"
        fi
    done
done
echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
