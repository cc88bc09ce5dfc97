#!/usr/bin/env bash
# Makes docs/images/camview-*.png: every page of the viewer at 96, 144 and 192 dots an inch, as it looks on a display of its own. Wants
# build/host (./run.sh), Xvfb, xdotool and ImageMagick (scripts/setup.sh).
#
#   scripts/view-pictures.sh [FOLDER]    other than docs/images
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folder=${1:-docs/images}
work=build/view-pictures
rm -rf "$work" && mkdir -p "$work" "$folder"
exec 8>"$work/display"
Xvfb -displayfd 8 -screen 0 2600x1700x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
server=$!
trap 'kill $server' EXIT
for _ in $(seq 100); do [ -s "$work/display" ] && break || sleep 0.1; done
DISPLAY=:$(cat "$work/display")
export DISPLAY OCELLUS_HEADLESS=0 OCELLUS_WINE_PREFIX=$PWD/build/wine-camview
windowsPath() { printf 'Z:%s' "${1//\//\\}"; }

# Waits for LINE in the viewer's log, a minute at most.
waitFor() {
    for _ in $(seq 600); do grep -q "$1" "$work/log" 2>/dev/null && return || sleep 0.1; done
    echo "view-pictures: the viewer did not say '$1'" >&2
    exit 1
}

# A folder as a user's would be; the first program makes the prefix.
scripts/host.sh build/host/bin/camctl.exe list >/dev/null
pictures=$OCELLUS_WINE_PREFIX-visible/drive_c/Pictures
mkdir -p "$pictures"

pages=(picture controls camera log kit)
for dpi in 96 144 192; do
    for tab in 0 1 2 3 4; do
        rm -f "$work"/{log,state} "$pictures"/*
        printf 'stamp=Ward 7\\n%%H:%%M\nposition=8\nfolder=C:\\\\Pictures\npattern=ward-%%Y%%m%%d-%%H%%M%%S\n' >"$work/state"
        scripts/host.sh build/host/bin/camview.exe --state "$(windowsPath "$PWD/$work/state")" --log "$(windowsPath "$PWD/$work/log")" \
            --folder 'C:\Pictures' --snap 'C:\Pictures\ward.jpg' --dpi $dpi --tab $tab &
        viewer=$!
        waitFor 'first frame'
        for _ in $(seq 300); do [ -s "$pictures/ward.jpg" ] && break || sleep 0.1; done
        sleep 2 # the small picture, and a measured rate
        window=$(xdotool search --name 'Ocellus camview' | tail -n 1)
        import -window "$window" "$work/window.png"
        # Without the frame that Wine draws.
        convert "$work/window.png" -gravity north -chop 0x22 -gravity south -chop 0x4 -gravity east -chop 4x0 -gravity west -chop 4x0 +repage \
            +dither -colors 128 -define png:compression-level=9 PNG8:"$folder/camview-${pages[$tab]}-$dpi.png"
        xdotool mousemove --window "$window" 60 10 click 1 key alt+F4
        wait $viewer || true
    done
done
ls -l "$folder"/camview-*
