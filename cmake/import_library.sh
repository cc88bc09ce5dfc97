#!/usr/bin/env bash
# Makes the import library of a DLL whose WINAPI functions are exported without decoration. Callers on 32 bit ask for _camInit@12 where the DLL offers
# camInit; the linker's own import library has only the latter. On 64 bit there is no decoration.
#
#   import_library.sh NM DLL DEF OUTPUT DLLTOOL [OPTIONS...]
set -euo pipefail
nm=$1 dll=$2 def=$3 output=$4
shift 4

decorated=$(mktemp)
trap 'rm -f "$decorated"' EXIT
"$nm" "$dll" | sed -n 's/.* T _\([A-Za-z]\w*\)@\([0-9]*\)$/\1 \1@\2/p' |
    awk 'FILENAME == "-" { name[$1] = $2; next } $1 in name { $1 = name[$1] } { print }' - "$def" >"$decorated"
"$@" -k -d "$decorated" -D "$(basename "$dll")" -l "$output"
