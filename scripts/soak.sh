#!/usr/bin/env bash
# Months in hours: sessions with both types of camera, one after the other in one process, every fifth with a device that is lost. What the
# process holds is written, at 200 times, to build/soak/TARGET.csv and drawn to TARGET.svg; fails with the kind that grows.
#
#   scripts/soak.sh --cycles N [device|desktop|webcam]    all without a word; webcam: on the desktop, through the driver for webcams
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

[ "${1:-}" = --cycles ] && [[ ${2:-} =~ ^[1-9][0-9]*$ ]] || refuse "--cycles wants a number"
cycles=$2
case ${3:-} in device | desktop | webcam) targets=$3 ;; '') targets="device desktop webcam" ;; *) refuse "there is no target '$3'" ;; esac
mkdir -p build/soak/files
failed=0
for target in $targets; do
    echo "== $target"
    rm -f build/soak/files/*
    if [ "$target" = device ]; then
        python3 tests/reliability/on_device.py build/native/bin/ce-run build/ce play --folder build/soak/files cycles "$cycles" || failed=1
    elif [ "$target" = webcam ]; then
        export OCELLUS_WINE_PREFIX=$PWD/build/wine-webcams OCELLUS_WEBCAMS=1 OCELLUS_CAMERA="Device kit webcam"
        scripts/host.sh build/host/bin/camctl.exe kit webcam on
        (cd build/soak/files && ../../../scripts/host.sh ../../host/bin/reliability.exe "" webcams "$cycles") || failed=1
    else
        (cd build/soak/files && ../../../scripts/host.sh ../../host/bin/reliability.exe "" cycles "$cycles") || failed=1
    fi
    [ -f build/soak/files/holdings.csv ] || { echo "soak: nothing was written" >&2; exit 1; }
    mv build/soak/files/holdings.csv "build/soak/$target.csv"
    python3 tests/reliability/plot.py "build/soak/$target.csv" "build/soak/$target.svg"
    echo "build/soak/$target.csv build/soak/$target.svg"
done
exit "$failed"
