#!/usr/bin/env bash
# Runs a C# program that uses the library through bindings/csharp/Ocellus.cs, on a runtime that nobody here wrote, from both kinds of COM
# apartment; the pictures that it takes are the kit's.
#
#   csharp_test.sh BIN RUN PACKAGE FRAMEWORK    folder with ocellus.dll, scripts/host.sh or host32.sh, the runtime's package, its version
#
# Ends with 77 when the runtime is not there (scripts/setup.sh test fetches it).
set -uo pipefail
bin=$(readlink -f "$1") run=$2 package=$3 framework=$4
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
[ -f "$package" ] || { echo "csharp_test: skipped: $package is missing; scripts/setup.sh test fetches it"; exit 77; }

folder=$bin/../csharp
mkdir -p "$folder"
if [ ! -f "$folder/package/.complete" ]; then
    tar -xzf "$package" -C "$folder" || exit 1
    touch "$folder/package/.complete"
fi
cp "$bin/launch.exe" "$sources/profiles.xml" "$folder/package/"
printf '{ "runtimeOptions": { "framework": { "name": "Microsoft.NETCore.App", "version": "%s" } } }\n' "$framework" \
    >"$folder/package/camera_test.runtimeconfig.json"
mcs -langversion:3 -warnaserror -out:"$folder/package/camera_test.exe" "$sources/camera_test.cs" "$sources/../../bindings/csharp/Ocellus.cs" || exit 1

cd "$folder/package" || exit 1
# Registers the kit, which is the camera.
"$run" "$bin/camctl.exe" --version || exit $?
# The program finds the library where it is registered.
WINEPATH=$(printf 'Z:%s' "${bin//\//\\}")
export WINEPATH
failed=0
for apartment in MTA STA; do
    rm -rf pictures && mkdir pictures
    "$run" "$PWD/dotnet.exe" camera_test.exe $apartment pictures profiles.xml | tr -d '\r'
    code=${PIPESTATUS[0]}
    [ "$code" = 77 ] && exit 77
    echo "$apartment: $code wrong"
    [ "$code" = 0 ] || failed=1
    for picture in pictures/a.jpg pictures/b.png pictures/c.bmp pictures/d.tif; do
        identify -regard-warnings "$picture" || failed=1
    done
done
# The sample as it is on a device, the very file.
"$sources/../../packaging/ce/sample.sh" TakePictures.exe || failed=1
cp camera_test.runtimeconfig.json TakePictures.runtimeconfig.json
"$run" "$PWD/dotnet.exe" TakePictures.exe "Z:${PWD//\//\\}\\pictures\\e.jpg" || failed=1
identify -regard-warnings pictures/e.jpg || failed=1
exit $failed
