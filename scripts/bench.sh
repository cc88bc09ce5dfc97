#!/usr/bin/env bash
# Sets up, builds and measures, prints what it measures and what is aimed at beside what was reached. When everything has been measured,
# the tables of docs/performance.md and docs/bilevel-tiff.md and the picture are written anew, all from that run.
#
#   scripts/bench.sh             everything; about ten minutes on an idle machine
#   scripts/bench.sh TABLE...    only some of: pixel png jpeg kernels files latency arm bilevel webcam
#   scripts/bench.sh --quick     under a minute, for whoever changes a routine: the smallest size, few rounds, instructions on ARM
#   scripts/bench.sh --build-only [TABLE...]    sets up and builds what they need, and measures nothing
#
# Each table stays in build/bench/TABLE.txt. Times are ratios within one run, best of many rounds; others on the machine disturb them
# little, but a ratio that is missed by a hair deserves a second run. Ends with 1 when something could not be measured.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

all=(pixel png jpeg kernels files latency arm bilevel webcam)
tables=("${all[@]}")
buildOnly=''
quick=''
if [ "${1:-}" = --build-only ]; then
    buildOnly=yes
    shift
elif [ "${1:-}" = --quick ]; then
    quick=yes
    shift
    [ $# -eq 0 ] || refuse "--quick stands alone"
    set -- pixel png jpeg bilevel arm
fi
for table in "$@"; do
    [[ " ${tables[*]} " = *" $table "* ]] || refuse "there is no table '$table', only: ${tables[*]}"
done
if [ $# -gt 0 ]; then tables=("$@"); fi
wanted() { [[ " ${tables[*]} " = *" $1 "* ]]; }

out=build/bench
if [ "$quick" ]; then out=build/bench/quick; fi
alternations=10
previewSeconds=20
say() { printf '== %s\n' "$*" >&2; }

# ---- Building ---------------------------------------------------------------------------------------------------------

native=() host=() ce=()
if wanted pixel; then native+=(pixel_bench); fi
if wanted png || wanted jpeg; then native+=(encoder_bench); fi
if wanted bilevel; then native+=(bilevel_bench); fi
if wanted kernels; then native+=(kernel_bench) host+=(kernel_bench); fi
if wanted files; then host+=(picture_bench memory_bench); fi
if wanted webcam; then native+=(webcam_bench) host+=(latency_bench ocellus devicekit); fi
if wanted latency; then host+=(latency_bench ocellus devicekit); fi
if wanted arm; then native+=(ce_instructions) ce+=(kernels); fi

build() { # PRESET TARGETS...
    local preset=$1 log=$out/build-$1.log
    shift
    [ $# -gt 0 ] || return 0
    say "Building $preset: $*"
    { cmake --preset "$preset" && cmake --build --preset "$preset" --target "$@"; } >"$log" 2>&1 ||
        { tail -n 20 "$log" >&2; say "$preset could not be built, see $log"; exit 1; }
}

mkdir -p "$out"
if [ ! "$buildOnly" ]; then rm -f "$out"/*.txt; fi
scripts/setup.sh bench >&2
build native "${native[@]}"
if [ ${#host[@]} -gt 0 ]; then build host launch "${host[@]}"; fi
build ce "${ce[@]}"
[ -z "$buildOnly" ] || exit 0

# ---- Measuring --------------------------------------------------------------------------------------------------------

# Native and Windows builds in turn, so that whatever else runs on the machine meets both.
measureKernels() {
    rm -f "$out"/kernels.{native,windows}
    local round
    for ((round = 1; round <= alternations; ++round)); do
        if [ -t 2 ]; then printf '\rround %d of %d' "$round" "$alternations" >&2; fi
        build/native/bin/kernel_bench >>"$out/kernels.native"
        scripts/host.sh build/host/bin/kernel_bench.exe | tr -d '\r' >>"$out/kernels.windows"
    done
    if [ -t 2 ]; then printf '\n' >&2; fi
    printf 'Best of %d turns, ns a pixel\n%-18s %-10s %-6s %9s %9s %9s\n' "$alternations" kernel size set native Windows ratio
    awk -F '\t' '
        { key = sprintf("%-18s %-10s %-6s", $1, $2, $3); side = FILENAME ~ /native$/ ? "n" : "w" }
        !(key in seen) { seen[key] = 1; order[++count] = key }
        !((side, key) in best) || $4 < best[side, key] { best[side, key] = $4 }
        END {
            for (i = 1; i <= count; ++i) {
                n = best["n", order[i]]; w = best["w", order[i]]
                printf "%s %9.4f %9.4f %9.2f\n", order[i], n, w, w / n
            }
        }' "$out"/kernels.{native,windows}
}

measure() { # TABLE
    case $1 in
    pixel) build/native/bin/pixel_bench ${quick:+--quick} ;;
    png | jpeg) build/native/bin/encoder_bench "$1" ${quick:+--quick} ;;
    kernels) measureKernels ;;
    files)
        scripts/host.sh build/host/bin/memory_bench.exe | tr -d '\r' >"$out/desktop-memory.txt"
        cat "$out/desktop-memory.txt" >&2
        scripts/host.sh build/host/bin/picture_bench.exe | tr -d '\r'
        ;;
    latency) scripts/host.sh build/host/bin/latency_bench.exe "$previewSeconds" | tr -d '\r' ;;
    arm)
        if [ "$quick" ]; then
            build/native/bin/ce_instructions
            return
        fi
        build/native/bin/ce_instructions --memory >"$out/memory.txt"
        build/native/bin/ce_instructions --scenes >"$out/scenes.txt"
        cat "$out/memory.txt" "$out/scenes.txt" >&2
        build/native/bin/ce_instructions --time
        ;;
    webcam)
        build/native/bin/webcam_bench
        printf '\n'
        scripts/host.sh build/host/bin/latency_bench.exe "$previewSeconds" webcam | tr -d '\r'
        ;;
    bilevel)
        if [ "$quick" ]; then
            build/native/bin/bilevel_bench --size 640x480 --rounds 3 --pictures 3
            return
        fi
        build/native/bin/bilevel_bench
        printf '\n'
        scripts/count-instructions.sh
        ;;
    esac
}

declare -A titles=([pixel]="Pixels and encoders, against other libraries" [png]="PNG files, scene by scene" [jpeg]="JPEG files, scene by scene"
    [kernels]="Windows build (under Wine) against the native build"
    [files]="Picture files and stamped text (Wine)" [latency]="The camera as an application sees it (Wine, device kit)"
    [webcam]="Webcams: conversions, delay, lost frames, processor"
    [arm]="Instructions on ARM v4T" [bilevel]="Black and white TIFF, against other libraries")
version() { dpkg-query -W -f '${Version}' "$1" 2>/dev/null || echo '(missing)'; }
load() { cut -d ' ' -f 1 /proc/loadavg; }
loadBefore=$(load)
describe() {
    printf '%s, a machine with %d cores (%s); load when it began %s, when it ended %s.\n' "$(date +%F)" "$(nproc)" \
        "$(sed -n 's/^model name\t*: //p' /proc/cpuinfo | head -n 1)" "$loadBefore" "$(load)"
    printf '%s; Wine %s; libyuv %s, swscale %s, OpenCV %s, libjpeg-turbo %s, libpng %s.\n' "$(gcc --version | head -n 1)" \
        "$(version wine)" "$(version libyuv-dev)" "$(version libswscale-dev)" "$(version libopencv-dev)" "$(version libjpeg62-turbo-dev)" "$(version libpng-dev)"
}
failed=0
for table in "${tables[@]}"; do
    say "Measuring: $table"
    printf '\n## %s\n\n' "${titles[$table]}"
    if ! measure "$table" | tee "$out/$table.txt"; then
        say "$table could not be measured"
        rm -f "$out/$table.txt"
        failed=1
    fi
done

# ---- What is aimed at ---------------------------------------------------------------------------------------------------

printf '\n## Aims\n\n'
if [ "${tables[*]}" = "${all[*]}" ]; then
    describe | tee "$out/machine.txt"
    printf '\n'
    bench/page.py "$out" --aims
    # The tables are of one run or not written.
    if [ "$failed" -eq 0 ]; then /usr/bin/python3 bench/page.py "$out" --write || failed=1; fi
else
    bench/page.py "$out" --aims
fi
exit $failed
