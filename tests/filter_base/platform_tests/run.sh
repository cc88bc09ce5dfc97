#!/usr/bin/env bash
# Compares our filters with what the platform's filters of the same kind do, as Wine's tests of them state it: each check that does not hold
# must stand in differences.txt with its reason, and each line there must still be one. The programs are built with the tests; without Debian's
# source package of Wine (scripts/setup.sh test) they are not there, and the test is skipped.
#
#   run.sh FOLDER TEST...    the folder with ocellus.dll and the programs; samplegrabber and nullrenderer (the library's two filters), or
#                            videocapture (the device kit's webcam, which the Wine prefix must have: camctl kit webcam on)
set -euo pipefail
bin=$(readlink -f "$1")
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
host=$here/../../../scripts/host.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

status=0
for test in "$@"; do
    program=$bin/filter_test_$test.exe
    [ -f "$program" ] || { echo "skipped: $program was not built, since the sources of Wine's filter tests are not here; scripts/setup.sh test fetches them"; exit 77; }
    # The program's end is told by its last line; a crash has none.
    (cd "$bin" && WINETEST_PLATFORM=windows timeout 120 "$host" "$program" $test >"$work/$test.log" 2>&1) || true
    grep -qE "^[0-9a-f]+:?$test: [0-9]+ tests executed" $test.log || { echo "$test: did not come to its end"; tail -n 20 $test.log; exit 1; }
    { grep -oE "^$test\.c:[0-9]+: (Tests shall fail|Test failed)" $test.log || true; } | sed -E 's/^([^:]+:[0-9]+).*/\1/' | sort -u >$test.seen
    { grep -oE "^$test\.c:[0-9]+" "$here/differences.txt" || true; } | sort -u >$test.known
    while read -r line; do
        echo "not as the platform's: $(grep -m 1 "^$line:" $test.log)"
        status=1
    done < <(comm -23 $test.seen $test.known)
    while read -r line; do
        echo "no difference any more, take it out of differences.txt: $line"
        status=1
    done < <(comm -13 $test.seen $test.known)
    grep -E "tests executed" $test.log
done
exit $status
