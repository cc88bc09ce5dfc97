#!/usr/bin/env bash
# Sessions with the cameras under bad conditions, on the emulated device and on the desktop; docs/reliability.md says what they show.
#
#   scripts/reliability.sh calls                 each call of the system by the library fails, at every occurrence: device
#   scripts/reliability.sh graph                 each call on camera and graph fails, at its first, second and last occurrence: device, desktop
#   scripts/reliability.sh seeds FIRST COUNT     threads are switched at random moments: device
#   scripts/reliability.sh chaos FIRST COUNT     calls and frames take random times: desktop
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

device() { python3 tests/reliability/on_device.py build/native/bin/ce-run build/ce "$@"; }
desktop() {
    local folder
    folder=$(mktemp -d)
    (cd "$folder" && "$OLDPWD/scripts/host.sh" "$OLDPWD/build/host/bin/reliability.exe" "" "$@")
    rm -rf "$folder"
}
mode=${1:-}
case $mode in
calls) device sweep --all ;;
graph)
    device play sweep 1
    desktop sweep 1
    ;;
seeds | chaos)
    [[ ${2:-} =~ ^[1-9][0-9]*$ && ${3:-} =~ ^[1-9][0-9]*$ ]] || refuse "$mode wants the first number and how many"
    if [ "$mode" = seeds ]; then device seeds "$2" "$3"; else desktop chaos "$2" "$3"; fi
    ;;
*) refuse "unknown mode '$mode'" ;;
esac
