#!/usr/bin/env bash
# The SDK: installs into a fresh folder, builds its sample there in the ways that a user has, and takes a picture with each.
#
#   sdk_test.sh BUILD x64|x86 COMPILER RUN FOLDER
set -euo pipefail
build=$1 target=$2 compiler=$3 run=$4 folder=$5
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
rm -rf "$folder" && mkdir -p "$folder" && cd "$folder"
cmake --install "$build" --prefix "$folder/sdk" --component sdk --strip >install.log

# Moved: nothing in it names the folder that it was installed into.
mv sdk moved
sdk=$folder/moved
configure=(cmake -S "$sources/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$sdk" -DSDK="$sdk")
windows=(-DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER="$compiler")
"${configure[@]}" "${windows[@]}" -B consumer >configure.log || { cat configure.log; exit 1; }
cmake --build consumer >build.log || { cat build.log; exit 1; }
[ -f consumer/ocellus.dll ] || { echo "the package does not say which DLL the program needs"; exit 1; }

sample=("$sdk/samples/take_pictures.c" -municode -mwindows)
PKG_CONFIG_PATH=$sdk/lib/$target/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$compiler" "${sample[@]}" $(pkg-config --cflags --libs ocellus) -o "$sdk/bin/$target/by_pkg_config.exe"
"$compiler" "${sample[@]}" -I"$sdk/include" "$sdk/lib/$target/ocellus.lib" -o "$sdk/bin/$target/by_lib.exe"
cp consumer/by_package.exe "$sdk/bin/$target/"

cp "$build/bin/launch.exe" "$sdk/bin/$target/"
cd "$sdk/bin/$target"
for program in by_package by_pkg_config by_lib take_pictures; do
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
cp "$build/bin/launch.exe" "$build/bin/unregistered.exe" "$prefix/drive_c/windows/system32/regsvr32.exe" "$folder/elsewhere/"
cd "$folder/elsewhere"
"$run" "$PWD/regsvr32.exe" /s /u "$library"
rm "$prefix/.registered-ocellus"
"$run" "$PWD/unregistered.exe" "$library" unregistered.png
identify -regard-warnings unregistered.png

# A build that is not for Windows, and an installation for another width: said so.
refuse() { # MESSAGE OPTIONS...
    local message=$1
    shift
    if "${configure[@]}" "$@" -B "$folder/refused" >"$folder/refused.log" 2>&1 || ! grep -q "$message" "$folder/refused.log"; then
        cat "$folder/refused.log"
        echo "this should have been refused: $message"
        exit 1
    fi
    rm -rf "$folder/refused"
}
refuse "Ocellus is a library for Windows"
rm "$sdk/bin/$target/ocellus.dll"
refuse "this installation of Ocellus is not for $target" "${windows[@]}"
echo passed
