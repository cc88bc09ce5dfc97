#!/usr/bin/env bash
# Makes what is given away, in dist/: the SDK archive for 64-bit and 32-bit desktop Windows and Windows CE, and the cabinets for devices.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '== %s\n' "$*"; }

scripts/setup.sh test
version=$(sed -n 's/^project(ocellus VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
stage=build/package/ocellus-$version
rm -rf dist "$stage" && mkdir -p dist
for preset in host host32 ce; do
    say "Building $preset"
    # What is given away is built apart: it does not check on which thread a function runs.
    cmake --preset "$preset" -B "build/package/$preset" -DOCELLUS_CHECK_THREADS=OFF >"build/package-$preset.log" ||
        { cat "build/package-$preset.log" >&2; exit 1; }
    targets=(ocellus camverify)
    [ "$preset" = ce ] || targets+=(devicekit imvoxa camctl take_pictures import_library)
    cmake --build "build/package/$preset" --target "${targets[@]}"
    cmake --install "build/package/$preset" --prefix "$stage" --component sdk --strip >"build/package-$preset.log"
done
say "Making the cabinets and the archive"
for name in ocellus camverify; do
    packaging/ce/cabinet.py make "packaging/ce/$name.inf" "$stage/bin/ce-armv4" "$stage/bin/ce-armv4/$name.armv4.cab"
    cp "$stage/bin/ce-armv4/$name.armv4.cab" dist/
done
(cd build/package && cmake -E tar cf "../../dist/ocellus-$version-sdk.zip" --format=zip "ocellus-$version")
(cd dist && sha256sum -- * >SHA256SUMS && cat SHA256SUMS)
say "Everything is in $PWD/dist"
