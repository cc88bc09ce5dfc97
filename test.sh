#!/usr/bin/env bash
# Sets up, builds and passes every test.
#
#   ./test.sh                  everything, each fuzzer for a second, 10 cycles of the camera's life
#   ./test.sh --fuzz SECONDS   each fuzzer that long
#   ./test.sh --soak           200 cycles of the camera's life
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/scripts/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")"

fuzzSeconds=1
cycles=10
while [ $# -gt 0 ]; do
    case $1 in
    --soak) cycles=200 ;;
    --fuzz)
        [[ ${2:-} =~ ^[1-9][0-9]*$ ]] || refuse "--fuzz wants a number of seconds, not '${2:-}'"
        fuzzSeconds=$2
        shift
        ;;
    *) refuse "unknown option '$1'" ;;
    esac
    shift
done

say() { printf '== %s\n' "$*"; }

scripts/setup.sh test
# pure: sanitizers and fuzzers. ce: the device's binary, which the native build's tests run in an emulator. host, host32: Windows, under Wine.
presets=(pure ce native host host32)
for preset in "${presets[@]}"; do
    say "Building $preset"
    options=(-DOCELLUS_CYCLES="$cycles")
    [ "$preset" = pure ] && options+=(-DOCELLUS_FUZZ_SECONDS="$fuzzSeconds")
    cmake --preset "$preset" "${options[@]}" >"build/configure-$preset.log" || { cat "build/configure-$preset.log" >&2; exit 1; }
    cmake --build --preset "$preset"
done

say "Checking the style"
scripts/check.sh

# One run over all builds, with one closing line.
printf 'subdirs(%s)\n' "${presets[*]}" >build/CTestTestfile.cmake
say "Testing"
# Many more at a time than there are cores: what takes longest are the pauses that a camera needs, not work.
if ! ctest --test-dir build --output-on-failure --timeout 600 -j $((5 * $(nproc))); then
    # One after the other, and said aloud: a test that passes now failed by chance, or because the machine was busy, and has a fault of its own.
    say "Testing once more, one at a time, what failed"
    cp build/Testing/Temporary/LastTestsFailed.log build/failed-at-first.log
    ctest --test-dir build --rerun-failed --output-on-failure --timeout 600
    say "Passed the second time only, which is to be looked into:"
    cat build/failed-at-first.log
fi
