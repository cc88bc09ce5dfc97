#!/usr/bin/env bash
# Makes what is given away, in build/packages/: the SDK archive for 64-bit and 32-bit desktop Windows and Windows CE, its symbols, installers, the
# NuGet package, cabinets for devices, the list of contained libraries, checksums.
#
#   scripts/package.sh                       builds, and packs
#   scripts/package.sh --into FOLDER BUILD...    packs these builds as they are; the same builds give the same bytes
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
here=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

say() { printf '== %s\n' "$*"; }

if [ "${1:-}" = --into ]; then
    [ $# -ge 3 ] || refuse "--into wants a folder and builds"
    out=$(cd "$here" && mkdir -p "$2" && cd "$2" && pwd)
    shift 2
    libraries=()
    for build in "$@"; do libraries+=("$(cd "$here" && cd "$build" && pwd)"); done
    programs=("${libraries[@]}")
else
    takesNoArguments "$@"
    scripts/setup.sh test
    out=$root/build/packages
    build() { # PRESET FOLDER TARGET OPTIONS...
        say "Building $3 in $2"
        cmake --preset "$1" -B "$2" "${@:4}" >"build/package-$1.log" || { cat "build/package-$1.log" >&2; exit 1; }
        cmake --build "$2" --target "$3"
    }
    # Libraries that are given away are built apart: they do not check on which thread a function runs. All else is what the tests have.
    for preset in host host32; do
        build $preset build/package/$preset sdk_libraries -DOCELLUS_CHECK_THREADS=OFF
        build $preset build/$preset sdk
    done
    build ce build/ce sdk
    libraries=("$root"/build/{package/host,package/host32,ce})
    programs=("$root"/build/{host,host32,ce})
fi

say "Packing"
# One date for everything, that of the sources.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || echo 315532800)}
export SOURCE_DATE_EPOCH TZ=UTC
version=$(sed -n 's/^project(ocellus VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sdk=$work/sdk symbols=$work/symbols
rm -rf "$out" && mkdir -p "$out" "$symbols"

install() { # BUILD COMPONENT
    cmake --install "$1" --prefix "$sdk" --component "$2" >"$work/install.log" || { cat "$work/install.log" >&2; exit 1; }
}
for build in "${programs[@]}"; do install "$build" programs; done
for build in "${libraries[@]}"; do
    install "$build" sdk
    if [ -f "$build/bin/ocellus.sym" ]; then
        mkdir -p "$symbols/ce-armv4"
        cp "$build/bin/"{ocellus,camverify,ocellus_restore}.sym "$symbols/ce-armv4/"
    fi
done
if [ "${libraries[*]}" != "${programs[*]}" ] && grep -rl 'runs on a %s thread; it is' "$sdk/bin"; then
    echo "package.sh: the above checks on which thread a function runs" >&2
    exit 1
fi
# Debuggers find a program's symbols by the name in it.
for program in "$sdk"/bin/x*/*.exe "$sdk"/bin/x*/*.dll; do
    [ -f "$program" ] || continue
    kept=$symbols/$(basename "$(dirname "$program")")/$(basename "$program").debug
    mkdir -p "$(dirname "$kept")"
    x86_64-w64-mingw32-objcopy --only-keep-debug "$program" "$kept"
    (cd "$(dirname "$kept")" && x86_64-w64-mingw32-objcopy --strip-all --add-gnu-debuglink="$(basename "$kept")" "$program")
done

# What camctl says of itself, where a 64-bit one is there to be asked.
for build in "${programs[@]}"; do
    [ -x "$sdk/bin/x64/camctl.exe" ] && grep -q mingw-x86_64 "$build/CMakeCache.txt" || continue
    mkdir -p "$sdk/share/man/man1" "$sdk/share/bash-completion/completions"
    cmake --build "$build" --target launch >"$work/launch.log"
    OCELLUS_REGISTER=0 scripts/host.sh "$build/bin/camctl.exe" manual man | tr -d '\r' >"$sdk/share/man/man1/camctl.1"
    OCELLUS_REGISTER=0 scripts/host.sh "$build/bin/camctl.exe" manual bash | tr -d '\r' >"$sdk/share/bash-completion/completions/camctl"
done

"$root/packaging/spdx.py" build/deps "$version" "$sdk/ocellus.spdx.json" "$sdk/LICENSES"
mv "$sdk/LICENSE" "$sdk/LICENSES/ocellus.txt"
cp "$sdk/ocellus.spdx.json" "$out/ocellus-$version.spdx.json"
find "$sdk" "$symbols" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
for width in x64 x86; do
    [ -d "$sdk/bin/$width" ] || continue
    for scope in user machine; do
        packaging/installer.py "$sdk/bin/$width" $width $scope "$version" "$out/ocellus-$version-$width-$scope.msi"
    done
done
if [ -d "$sdk/bin/x64" ]; then packaging/nuget.py "$sdk" "$version" "$out/Ocellus.$version.nupkg"; fi
if [ -d "$sdk/bin/ce-armv4" ]; then
    packaging/ce/sample.sh "$sdk/bin/ce-armv4/TakePictures.exe"
    touch -d "@$SOURCE_DATE_EPOCH" "$sdk/bin/ce-armv4/TakePictures.exe"
    for name in ocellus ocellus-flash camverify; do
        packaging/ce/cabinet.py make "packaging/ce/$name.inf" "$sdk/bin/ce-armv4" "$out/$name.armv4.cab"
        cp "$out/$name.armv4.cab" "$sdk/bin/ce-armv4/"
    done
    cp packaging/ce/ocellus.ini "$out/"
fi
packaging/archive.py "$out/ocellus-$version-sdk.zip" "$sdk" "ocellus-$version"
# They are large: a tenth more than the least, in a third of the time.
packaging/archive.py "$out/ocellus-$version-symbols.zip" "$symbols" "" 1
(cd "$out" && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
say "Everything is in $out"
