#!/usr/bin/env bash
# Counts the instructions that thresholding and Group 4 coding take for each pixel, ours and other libraries', with valgrind: the same in
# every run, whatever else the machine does. Of ours, the kernels named after an instruction set are those that run on such a processor.
#
#   scripts/count-instructions.sh [WIDTHxHEIGHT]    default: 640x480; build bilevel_bench first (scripts/bench.sh does)
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

size=${1:-640x480}
[[ $size =~ ^[1-9][0-9]*x[1-9][0-9]*$ ]] || refuse "'$size' is no size as 640x480"
bench=build/native/bin/bilevel_bench
[ -x "$bench" ] || { echo "count-instructions: there is no $bench; build it: cmake --preset native && cmake --build --preset native --target bilevel_bench" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "count-instructions: valgrind is missing; run scripts/setup.sh bench" >&2; exit 1; }

count() { # STAGE CONTENDER CONTENT -> instructions a pixel; nothing when this build has no such contender
    local report
    report=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='*CountedRun*' \
        "$bench" --count --pictures 2 --size "$size" --stage "$1" --contender "$2" --content "$3" 2>&1) ||
        { printf '%s\n' "$report" >&2; return 1; }
    awk '/^[0-9]+$/ { pixels = $1 } /Collected/ { if ($4 > 0 && pixels) printf "%.2f", $4 / pixels }' <<<"$report"
}

printf '| %-9s | %-14s | %-11s | ins./pixel | of reference |\n|-----------|----------------|-------------|-----------:|-------------:|\n' stage implementation content
for content in page photograph halftone 'random bits'; do
    reference=
    for pair in group4:libtiff group4:spandsp group4:plain group4:word group4:sse2 threshold:opencv threshold:plain threshold:word threshold:sse2 threshold:avx2; do
        stage=${pair%:*} contender=${pair#*:}
        if [ -t 2 ]; then printf '\r%-40s\r' "$content, $stage, $contender" >&2; fi
        instructions=$(count "$stage" "$contender" "$content")
        [ -n "$instructions" ] || continue
        case $contender in libtiff | opencv) reference=$instructions ;; esac
        printf '| %-9s | %-14s | %-11s | %10s | %12s |\n' "$stage" "$contender" "$content" "$instructions" \
            "$(awk -v n="$instructions" -v of="${reference:-0}" 'BEGIN { if (of > 0) printf "%.2f", n / of; else printf "-" }')"
    done
done
if [ -t 2 ]; then printf '\r%-40s\r' '' >&2; fi
