#!/usr/bin/env bash
# The CMake package with CMake for Windows: it finds the package, builds the sample with ninja for Windows, and puts program and library side by
# side. The compiler is this machine's, reached through tool_below_wine.c.
#
#   cmake_windows_test.sh SDK COMPILER RUN FOLDER
set -euo pipefail
sdk=$1 compiler=$2 run=$3 folder=$4
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
npm=$sources/../../build/deps/npm
rm -rf "$folder" && mkdir -p "$folder/cmake" "$folder/ninja" "$folder/tools"
for program in cmake-4.0.2 ninja-1.12.1; do
    archive=$npm/${program%-*}-runtime-win32-x64-${program##*-}.tgz
    [ -f "$archive" ] || { echo "not tested: CMake for Windows, since $archive is missing; scripts/setup.sh test fetches it"; exit 77; }
    tar -xzf "$archive" -C "$folder/${program%-*}" --strip-components=1
done
prefix=x86_64-w64-mingw32
"$compiler" -O2 -Wall -Werror -static "$sources/tool_below_wine.c" -o "$folder/tools/$prefix-gcc.exe"
for tool in windres ar ranlib; do cp "$folder/tools/$prefix-gcc.exe" "$folder/tools/$prefix-$tool.exe"; done

windows() { printf 'Z:%s' "$1"; }
export OCELLUS_REGISTER=0
unset CMAKE_C_COMPILER_LAUNCHER  # a program of this machine, as ccache is
{
    "$run" "$folder/cmake/bin/cmake.exe" -S "$(windows "$sources/consumer")" -B "$(windows "$folder/out")" -G Ninja \
        -DCMAKE_MAKE_PROGRAM="$(windows "$folder/ninja/bin/ninja.exe")" -DCMAKE_C_COMPILER="$(windows "$folder/tools/$prefix-gcc.exe")" \
        -DCMAKE_PREFIX_PATH="$(windows "$sdk")" -DSDK="$(windows "$sdk")" </dev/null
    "$run" "$folder/cmake/bin/cmake.exe" --build "$(windows "$folder/out")" </dev/null
} >"$folder/log" 2>&1 || { cat "$folder/log"; exit 1; }
grep -q "^Ocellus_DIR:PATH=Z:$sdk/cmake" "$folder/out/CMakeCache.txt" || { echo "another package was found"; exit 1; }
cmp "$folder/out/ocellus.dll" "$sdk/bin/x64/ocellus.dll"
