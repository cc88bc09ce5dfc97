#!/usr/bin/env bash
# The packages for one width, made of a build and used as their users do: the SDK archive is unpacked, its sample built in the ways that a user has,
# and takes a picture with each; the installers install and leave nothing.
#
#   sdk_test.sh BUILD x64|x86 COMPILER RUN FOLDER
set -euo pipefail
build=$1 target=$2 compiler=$3 run=$4 folder=$5
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
root=$(cd "$sources/../.." && pwd)
rm -rf "$folder" && mkdir -p "$folder" && cd "$folder"
pack() { SOURCE_DATE_EPOCH=1700000000 "$root/scripts/package.sh" --into "$1" "$build" >pack.log 2>&1 || { cat pack.log; exit 1; }; }
pack packages
7z x packages/ocellus-*-sdk.zip >unpack.log
sdk=$(echo "$folder"/ocellus-*)
version=${sdk##*/ocellus-}
cp -r "$sdk/bin/$target" pristine
if [ "$target" = x64 ]; then
    pack again
    diff -r packages again
    rm -rf again
fi
for program in "$sdk/bin/$target"/*.exe "$sdk/bin/$target"/*.dll; do
    strings -el "$program" | grep -x "$version" >>versions.log || { echo "$program tells no version $version"; exit 1; }
done
for library in libjpeg-turbo libpng zlib; do
    contained=$(grep -A1 "\"name\": \"$library\"" "$sdk/ocellus.spdx.json" | sed -n 's/.*versionInfo": "\(.*\)".*/\1/p')
    strings -a "$sdk/bin/$target/ocellus.dll" | grep -E "($library version|deflate) $contained" >>versions.log || { echo "ocellus.dll does not contain $library $contained"; exit 1; }
done

configure=(cmake -S "$sources/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$sdk" -DSDK="$sdk")
windows=(-DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER="$compiler")
"${configure[@]}" "${windows[@]}" -B consumer >configure.log || { cat configure.log; exit 1; }
cmake --build consumer >build.log || { cat build.log; exit 1; }
[ -f consumer/ocellus.dll ] || { echo "the package does not say which DLL the program needs"; exit 1; }

sample=("$sdk/samples/take_pictures.c" -municode -mwindows)
PKG_CONFIG_PATH=$sdk/lib/$target/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$compiler" "${sample[@]}" $(pkg-config --cflags ocellus) -c -o sample.o
# shellcheck disable=SC2046
"$compiler" sample.o -municode -mwindows $(pkg-config --libs ocellus) -o "$sdk/bin/$target/by_pkg_config.exe"
"$compiler" sample.o -municode -mwindows "$sdk/lib/$target/ocellus.lib" -o "$sdk/bin/$target/by_lib.exe"
cp consumer/by_package.exe "$sdk/bin/$target/"
programs=(by_package by_pkg_config by_lib take_pictures)
if [ "$target" = x64 ]; then
    code=0
    "$sources/cmake_windows_test.sh" "$sdk" "$compiler" "$run" "$folder/windows" || code=$?
    [ $code = 0 ] && cp windows/out/by_package.exe "$sdk/bin/$target/by_windows.exe" && programs+=(by_windows)
    [ $code = 0 ] || [ $code = 77 ] || exit $code
fi

cp "$build/bin/launch.exe" "$sdk/bin/$target/"
cd "$sdk/bin/$target"
for program in "${programs[@]}"; do
    code=0
    timeout 120 "$run" "$PWD/$program.exe" $program.jpg || code=$?
    [ $code = 77 ] && exit 77
    [ $code = 0 ] || { echo "$program ended with $code"; exit 1; }
    identify -regard-warnings $program.jpg
done

# Nothing registered, and a program in the other kind of apartment: the library works as it lies there. The program stands elsewhere, since what
# stands beside one is registered.
case $target in
x64) prefix=$OCELLUS_WINE_PREFIX ;;
x86) prefix=$OCELLUS_WINE_PREFIX32 ;;
esac
library=$(printf 'Z:%s' "${PWD//\//\\}\\ocellus.dll")
mkdir "$folder/elsewhere"
cp "$build/bin/launch.exe" "$build/bin/unregistered.exe" "$prefix/drive_c/windows/system32/"{regsvr32,msiexec}.exe "$folder/elsewhere/"
cd "$folder/elsewhere"
"$run" "$PWD/regsvr32.exe" /s /u "$library"
rm "$prefix/.registered-ocellus"
"$run" "$PWD/unregistered.exe" "$library" unregistered.png
identify -regard-warnings unregistered.png

# The classes of a library that is registered nowhere, by the manifest that comes with it.
classes=('{B62F694E-0593-4E60-AA1C-16AF6496AC39}' '{BCEED521-A101-45A9-8B7D-1583466FD57C}')
makesObjects() { "$run" "$folder/elsewhere/unregistered.exe" "${classes[@]}" >objects.log; }
if makesObjects; then echo "the classes are registered, and should not be"; exit 1; fi
mkdir by_manifest
cp unregistered.exe "$sdk/bin/$target/ocellus.dll" "$sdk/bin/$target/Ocellus.Filters.manifest" by_manifest/
cat >by_manifest/unregistered.exe.manifest <<END
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0"><dependency><dependentAssembly>
$(grep assemblyIdentity by_manifest/Ocellus.Filters.manifest)
</dependentAssembly></dependency></assembly>
END
export OCELLUS_REGISTER=0
"$run" "$PWD/by_manifest/unregistered.exe" "${classes[@]}"

# The installers: what they bring is there and registered, and gone afterwards.
traces() { # of the library in the file system and the registry
    find "$prefix/drive_c" -iname '*ocellus*' -o -name 'Camera.lnk' -o -path '*/windows/Installer/*.msi'
    local windowsFolder=Z:${folder//\//\\}
    "$run" "$folder/elsewhere/unregistered.exe" --save "$windowsFolder\\machine.hive" "$windowsFolder\\user.hive" >&2 || exit 1
    # Keys have the time of their last change behind them.
    sed 's/] [0-9]*$/]/' "$folder"/{machine,user}.hive | grep -iE 'ocellus|B62F694E|BCEED521' || true
}
install() { # /i|/x PACKAGE
    "$run" "$folder/elsewhere/msiexec.exe" "$1" "Z:${2//\//\\}" /qn || { echo "msiexec $1 $2 ended with $?"; exit 1; }
}
traces >"$folder/before"
trap 'rm -rf "$prefix"' EXIT  # what is half installed must not meet the next run
for scope in user machine; do
    package=$folder/packages/ocellus-$version-$target-$scope.msi
    install /i "$package"
    installed=$(find "$prefix/drive_c" -name Ocellus -type d)
    diff -r "$installed" "$folder/pristine"
    # Wine looks for classes in the machine's part of the registry only.
    if [ $scope = machine ]; then makesObjects || { cat objects.log; exit 1; }; fi
    [ "$(traces | grep -ci 'CLSID.*InprocServer32')" = 2 ] || { echo "the $scope installer does not register two classes"; exit 1; }
    install /x "$package"
    traces >"$folder/after"
    diff "$folder/before" "$folder/after" || { echo "the $scope installer left the above"; exit 1; }
done
trap - EXIT

# The port of vcpkg, whose helpers are played.
OCELLUS_SDK=$(echo "$folder"/packages/ocellus-*-sdk.zip) cmake -DPORT="$root/packaging/vcpkg/portfile.cmake" -DCURRENT_PACKAGES_DIR="$folder/vcpkg" \
    -P "$sources/play_vcpkg.cmake"
grep -q "\"version\": \"$version\"" "$root/packaging/vcpkg/vcpkg.json" || { echo "vcpkg.json is of another version"; exit 1; }
rm -r "$folder/vcpkg/unpacked"
# The same build, whose compiler is known, finds the other package.
"${configure[@]}" "${windows[@]}" -UOcellus_DIR -DCMAKE_PREFIX_PATH="$folder/vcpkg" -B "$folder/consumer" >configure.log || { cat configure.log; exit 1; }
grep -q 'Ocellus_DIR.*/vcpkg/share/ocellus' "$folder/consumer/CMakeCache.txt"

# A build that is not for Windows, and an installation for another width: said so.
refuse() { # MESSAGE BUILD OPTIONS...
    local message=$1 into=$folder/$2
    shift 2
    if "${configure[@]}" "$@" -B "$into" >"$folder/refused.log" 2>&1 || ! grep -q "$message" "$folder/refused.log"; then
        cat "$folder/refused.log"
        echo "this should have been refused: $message"
        exit 1
    fi
}
refuse "Ocellus is a library for Windows" native
rm "$sdk/bin/$target/ocellus.dll"
refuse "this installation of Ocellus is not for $target" consumer "${windows[@]}" -UOcellus_DIR
echo passed
