#!/usr/bin/env bash
# Builds the viewer and starts it, with the device kit as the camera: on the display in DISPLAY, or, where there is none, on one of its own
# for ten seconds, of which build/camview.png tells. Arguments go to the viewer (docs/camview.md).
#
#   scripts/view.sh [ARGUMENTS...]
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

"$root/scripts/setup.sh" run
cd "$root"
if [ ! -f build/host/build.ninja ]; then cmake --preset host >build/configure.log || { cat build/configure.log >&2; exit 1; }; fi
cmake --build --preset host --target camview
cd - >/dev/null
export OCELLUS_HEADLESS=0
if [ -n "${DISPLAY:-}" ]; then exec "$root/scripts/host.sh" "$root/build/host/bin/camview.exe" "$@"; fi

command -v Xvfb >/dev/null || { echo "view: there is neither a display nor Xvfb; scripts/setup.sh test installs it" >&2; exit 1; }
work=$(mktemp -d)
exec 8>"$work/display"
Xvfb -displayfd 8 -screen 0 1200x760x24 -nolisten tcp 2>/dev/null &
server=$!
trap 'kill $server; rm -rf "$work"' EXIT
for _ in $(seq 100); do [ -s "$work/display" ] && break || sleep 0.1; done
DISPLAY=:$(cat "$work/display")
export DISPLAY
"$root/scripts/host.sh" "$root/build/host/bin/camview.exe" --exit-after 10 --log "Z:${work//\//\\}\\log" "$@" &
viewer=$!
for _ in $(seq 600); do grep -q 'first frame' "$work/log" 2>/dev/null && break || sleep 0.1; done
sleep 1
import -window root "$root/build/camview.png"
echo "There is no display here; build/camview.png shows the viewer."
wait $viewer
