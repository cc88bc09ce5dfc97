#!/usr/bin/env bash
# Judges the pictures that the picture file test left, with decoders and encoders from elsewhere.
#
#   tests/still/check_pictures.sh FOLDER
#
# Beside each NAME.ppm stand NAME.jpg, NAME.png and NAME.bmp of the same pixels, or some of them.
set -euo pipefail
folder=$1
failures=0
checked=0

fail() {
    printf 'wrong: %s\n' "$*" >&2
    failures=$((failures + 1))
}

[ -d "$folder" ] || { printf 'check_pictures.sh: there is no folder %s; run the picture file test first\n' "$folder" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pixels() { convert "$1" -depth 8 "rgb:$2"; }

for expected in "$folder"/*.ppm; do
    name=${expected%.ppm}
    pixels "$expected" "$work/expected.rgb"
    if [ -f "$name.png" ]; then
        pngcheck -q "$name.png" || fail "$name.png: pngcheck objects"
        # Nothing but header, data and end, 8-bit RGB.
        pngcheck -v "$name.png" | grep -E '^ +chunk' | grep -vqE 'IHDR|IDAT|IEND' && fail "$name.png: other chunks"
        pngcheck -v "$name.png" | grep -q '24-bit RGB, non-interlaced' || fail "$name.png: not 8-bit RGB"
        pixels "$name.png" "$work/actual.rgb"
        cmp -s "$work/expected.rgb" "$work/actual.rgb" || fail "$name.png: other pixels"
        checked=$((checked + 1))
    fi
    if [ -f "$name.jpg" ]; then
        quality=90
        case $name in *quality_50) quality=50 ;; esac
        # The same pixels through the library's own tool at that quality decode to the same picture.
        cjpeg -quality "$quality" -baseline "$expected" | djpeg -pnm >"$work/reference.ppm"
        djpeg -pnm "$name.jpg" >"$work/actual.ppm" || fail "$name.jpg: djpeg objects"
        cmp -s "$work/reference.ppm" "$work/actual.ppm" || fail "$name.jpg: not the picture at quality $quality"
        [ "$(identify -format %Q "$name.jpg")" = "$quality" ] || fail "$name.jpg: quality is not $quality"
        checked=$((checked + 1))
    fi
    if [ -f "$name.bmp" ]; then
        # Five and six bits: a decoder may round the expansion otherwise by one or two.
        distance=$(compare -metric PAE "$expected" "$name.bmp" null: 2>&1 || true)
        distance=${distance%% *}
        awk -v d="$distance" 'BEGIN { exit !(d / 257 <= 8) }' || fail "$name.bmp: other pixels (off by $distance)"
        checked=$((checked + 1))
    fi
done

[ "$checked" -ge 20 ] || fail "only $checked pictures were there to be checked"
[ "$failures" = 0 ] || exit 1
printf '%d pictures are as they should be\n' "$checked"
