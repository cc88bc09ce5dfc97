#!/usr/bin/env bash
# Compiles bindings/csharp/Ocellus.cs at the language level of the Compact Framework's compilers, and compares what it uses of the framework
# with the list of what the Compact Framework has.
#
#   references_test.sh FOLDER    for what is compiled
set -euo pipefail
folder=$1
sources=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
cecil=/usr/lib/mono-cecil
mkdir -p "$folder"
mcs -langversion:3 -warnaserror -target:library -out:"$folder/Ocellus.dll" "$sources/../../bindings/csharp/Ocellus.cs"
mcs -langversion:3 -warnaserror -r:"$folder/Ocellus.dll" -out:"$folder/TakePictures.exe" "$sources/../../examples/TakePictures.cs"
mcs -r:$cecil/Mono.Cecil.dll -out:"$folder/references.exe" "$sources/references.cs"
MONO_PATH=$cecil mono "$folder/references.exe" "$folder/Ocellus.dll" | LC_ALL=C sort >"$folder/used"
[ -s "$folder/used" ] || { echo "references_test: the assembly uses nothing"; exit 1; }
if missing=$(grep -v '^#' "$sources/compact_framework.txt" | LC_ALL=C sort | LC_ALL=C comm -13 - "$folder/used") && [ -n "$missing" ]; then
    echo "references_test: Ocellus.cs uses what tests/csharp/compact_framework.txt does not list:"
    echo "$missing"
    echo "Find another way if the Compact Framework 2.0 lacks it; else add it to the list."
    exit 1
fi
