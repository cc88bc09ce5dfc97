#!/usr/bin/env bash
# Makes docs/images/page-*.png: a text page as a camera sees it (askew, unevenly lit, a little soft and noisy; made from LICENSE, not
# photographed) and the three thresholds of black and white pictures of it. Wants build/host (./run.sh) and ImageMagick (scripts/setup.sh).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

work=build/page-pictures
mkdir -p "$work" docs/images
head -n 17 LICENSE | fold -s -w 62 >"$work/text.txt"
convert -size 1400x1080 xc:'#f4efe4' -font "$(fc-match -f "%{file}" "DejaVu Sans")" -pointsize 34 -fill '#202028' -annotate +20+60 "$(cat "$work/text.txt")" \
    -bordercolor '#f4efe4' -border 60x40 -bordercolor '#5a4632' -border 60x60 -resize '1600x1200!' "$work/flat.png"
# Askew, then brighter at the window's side than away from it, then soft and noisy.
convert "$work/flat.png" -virtual-pixel edge -distort Perspective '0,0 30,50 1600,0 1560,10 0,1200 10,1180 1600,1200 1590,1130' \
    \( -size 1200x1600 gradient:white-gray32 -rotate 90 -resize '1600x1200!' \) -compose multiply -composite \
    -blur 0x0.8 -attenuate 0.25 +noise Gaussian -depth 8 PNG24:"$work/page.png"
for mode in 0 1 2; do
    scripts/host.sh build/host/bin/camctl.exe snap "$work/page-$mode.tif" --mode $mode --size 1600x1200 --scene "$work/page.png"
done
scripts/host.sh build/host/bin/camctl.exe snap "$work/page.jpg" --size 1600x1200 --scene "$work/page.png"
convert "$work/page.jpg" -crop 700x420+60+90 +repage -quality 85 docs/images/page-color.jpg
for mode in 0 1 2; do convert "$work/page-$mode.tif" -crop 700x420+60+90 +repage "docs/images/page-mode-$mode.png"; done
ls -l "$work"/page* docs/images/page-*
