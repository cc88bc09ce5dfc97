#!/usr/bin/env bash
# Runs every fuzzer of the build "pure" and, where the build "host" is there, its random input to filters, configuration and the driver for
# webcams, each for the same share of the time, and prints how often each ran and what of the code it reached.
# Inputs that reach something new are kept below build/fuzz and made as few as possible at the end; what fails lies there too.
# Says at the end how much processor time all of it took: on a machine that does something else beside it is less than was asked for.
#
#   scripts/fuzz.sh --hours N    N may have a fraction; on one core
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

[ "${1:-}" = --hours ] && [[ ${2:-} =~ ^[0-9]*\.?[0-9]+$ ]] || refuse "--hours wants a number"
mapfile -t fuzzers < <(find build/pure/bin -name '*_fuzz' -executable 2>/dev/null | sort)
[ ${#fuzzers[@]} -gt 0 ] || { echo "fuzz: there are no fuzzers; build them: cmake --preset pure && cmake --build --preset pure" >&2; exit 1; }
# For what needs Windows: two kinds of input in the first of these programs.
mapfile -t windows < <(ls build/host/bin/hostile_{input,webcam}_test.exe 2>/dev/null)
count=$((${#fuzzers[@]} + (${#windows[@]} > 0 ? ${#windows[@]} + 1 : 0)))
seconds=$(awk -v hours="$2" -v count=$count 'BEGIN { printf "%d", hours * 3600 / count + 0.5 }')
failed=0
mkdir -p build/fuzz
: >build/fuzz/seconds
printf '| %-20s | %12s | %8s | %6s |\n|---|---|---|---|\n' fuzzer executions coverage inputs
for fuzzer in "${fuzzers[@]}"; do
    name=$(basename "$fuzzer")
    found=build/fuzz/$name
    case $name in tiff_*) seeds=fuzz/tiff_corpus ;; webcam_*) seeds=fuzz/${name#webcam_}; seeds=${seeds%_fuzz}_corpus ;; *) seeds=fuzz/${name%_fuzz}_corpus ;; esac
    mkdir -p "$found" "$found-smaller"
    words=(); [ ! -f "fuzz/$name.dict" ] || words=(-dict="fuzz/$name.dict")
    "$fuzzer" "${words[@]}" -max_total_time="$seconds" -artifact_prefix="build/fuzz/$name-" -print_final_stats=1 "$found" "$seeds" >"build/fuzz/$name.log" 2>&1 ||
        { failed=1; echo "fuzz: $name failed, see build/fuzz/$name.log" >&2; }
    "$fuzzer" -merge=1 "$found-smaller" "$found" >/dev/null 2>&1 && rm -rf "$found" && mv "$found-smaller" "$found"
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/$name.log")
    coverage=$(grep -o 'cov: [0-9]*' "build/fuzz/$name.log" | tail -n 1)
    printf '| %-20s | %12s | %8s | %6s |\n' "$name" "${executions:-?}" "${coverage#cov: }" "$(find "$found" -type f | wc -l)"
done
for program in "${windows[@]}"; do
    name=$(basename "$program" .exe)
    # Another seed each time: what it finds is repeated by its number.
    OCELLUS_FUZZ_SECONDS=$seconds OCELLUS_FUZZ_SEED=$((RANDOM * 10000)) scripts/host.sh "$program" >"build/fuzz/$name.log" 2>&1 ||
        { failed=1; echo "fuzz: $name failed, see build/fuzz/$name.log" >&2; }
    # What Wine runs is no child of this script, and says itself what it took.
    tr -d '\r' <"build/fuzz/$name.log" | sed -n 's/.* rounds, \([0-9.]*\) s of a processor$/\1/p' >>build/fuzz/seconds
    tr -d '\r' <"build/fuzz/$name.log" | sed -n 's/^\([a-z]*\): \([0-9]*\) rounds.*/\1 \2/p' | while read -r kind rounds; do
        printf '| %-20s | %12s | %8s | %6s |\n' "hostile $kind" "$rounds" - -
    done
done
# Not through a pipe, whose own process has no such times.
times >build/fuzz/times
awk -F '[ms ]+' '/m/ { if (FNR == 2) seconds += ($1 + $3) * 60 + $2 + $4; next } { seconds += $1 }
    END { minutes = int(seconds / 60 + 0.5); printf "processor time: %d h %02d min\n", minutes / 60, minutes % 60 }' build/fuzz/times build/fuzz/seconds
exit "$failed"
