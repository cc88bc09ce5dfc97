#!/usr/bin/env bash
# Makes the C# sample as one program for the Compact Framework and for every .NET of the desktop.
#
#   packaging/ce/sample.sh OUT.exe
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cecil=/usr/lib/mono-cecil
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mcs -langversion:3 -warnaserror -out:"$work/TakePictures.exe" "$root/examples/TakePictures.cs" "$root/bindings/csharp/Ocellus.cs"
mcs -warnaserror -r:$cecil/Mono.Cecil.dll -out:"$work/retarget.exe" "$root/packaging/ce/retarget.cs"
MONO_PATH=$cecil mono "$work/retarget.exe" "$work/TakePictures.exe" "$1"
