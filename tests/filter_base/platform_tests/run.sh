#!/usr/bin/env bash
# Compares our filters with what the platform's filters of the same kind do, as Wine's tests of them state it: each check that does not hold
# must stand in differences.txt with its reason, and each line there must still be one. The tests' sources come from Debian's source package
# (scripts/setup.sh test); without them the test is skipped.
#
#   run.sh FOLDER COMPILER TEST...    the folder with ocellus.dll; a C compiler for its target; samplegrabber and nullrenderer (the library's two
#                                     filters), or videocapture (the device kit's webcam, which the Wine prefix must have: camctl kit webcam on)
set -euo pipefail
bin=$(readlink -f "$1")
compiler=$2
shift 2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../../.." && pwd)
sources=$root/build/deps/filter-tests
[ -f "$sources/dlls/qcap/tests/videocapture.c" ] || { echo "skipped: the sources of Wine's filter tests are not here; scripts/setup.sh test fetches them"; exit 77; }
work=$bin/filter-tests-$1
rm -rf "$work"
mkdir -p "$work"
cp "$sources"/libs/strmbase/*.[ch] "$sources"/dlls/{qedit/tests/{samplegrabber,nullrenderer},qcap/tests/videocapture}.c "$work/"
cd "$work"

# Members that this compiler's headers do not have. No line is added or taken away: differences.txt counts them.
sed -i 's/.*DebugInfo->Spare.*/;/' ./*.c
sed -i 's/vih->u\.dwControlFlags/vih->dwControlFlags/g' mediatype.c
# What belongs to another interface than ours, and the types that our filters take. The sink is not asked what it makes of samples: it stores them.
source "$here/adapt.sh"

flags=(-w -O1 -DSTANDALONE -DCOBJMACROS -I"$here" -I"$sources/include" -include "$here/prefix.h")
objects=()
for file in dispatch filter mediatype pin pospass renderer seeking; do
    "$compiler" "${flags[@]}" -c $file.c
    objects+=("$file.o")
done
status=0
for test in "$@"; do
    "$compiler" "${flags[@]}" "$here/ids.c" $test.c "${objects[@]}" -o $test.exe -lstrmiids -lole32 -loleaut32 -luuid -lmsvfw32
    cp $test.exe "$bin/filter-test-$test.exe"
    # The program's end is told by its last line; a crash has none.
    (cd "$bin" && WINETEST_PLATFORM=windows timeout 120 "$root/scripts/host.sh" "$bin/filter-test-$test.exe" $test >"$work/$test.log" 2>&1) || true
    rm "$bin/filter-test-$test.exe"
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
