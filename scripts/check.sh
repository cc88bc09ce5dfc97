#!/usr/bin/env bash
# Checks the formatting of every source file and the structure of the tree (architecture.py), and with --tidy runs clang-tidy over what build/host compiles, Clang's thread-safety
# analysis included: guarded fields without their lock, functions on a thread of another role.
#
#   scripts/check.sh                     formatting and structure; a few seconds
#   scripts/check.sh --tidy [FILES...]   clang-tidy as well, over FILES or all of src, device_kit, tools and apps; minutes
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tidy=
if [ "${1:-}" = --tidy ]; then
    tidy=yes
    shift
elif [ $# -gt 0 ]; then
    refuse "unknown option '$1'"
fi
mapfile -t sources < <(git ls-files '*.cpp' '*.h' '*.hpp')
if ! clang-format --dry-run -Werror "${sources[@]}" >/dev/null 2>&1; then
    clang-format --dry-run -Werror "${sources[@]}" 2>&1 | grep -E 'error:' | cut -d: -f1 | sort | uniq -c >&2
    echo "check: the files above are not formatted; this repairs them: clang-format -i \$(git ls-files '*.cpp' '*.h' '*.hpp')" >&2
    exit 1
fi
scripts/architecture.py || { echo "check: the structure of the tree is broken as said above; docs/architecture.md has the rules" >&2; exit 1; }
[ -n "$tidy" ] || exit 0

[ -f build/host/compile_commands.json ] || { echo "check: configure first: cmake --preset host" >&2; exit 1; }
if [ $# -eq 0 ]; then mapfile -t files < <(git ls-files 'src/*.cpp' 'device_kit/*.cpp' 'tools/*.cpp' 'apps/*.cpp' | grep -v '/ce/'); else files=("$@"); fi
# Without the headers that another compiler has precompiled: every file includes what it uses.
mkdir -p build/tidy
sed -E 's#-include [^ ]*/cmake_pch\.hxx##' build/host/compile_commands.json >build/tidy/compile_commands.json
include=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include/c++
printf '%s\0' "${files[@]}" | xargs -0 -n 4 -P 2 clang-tidy -quiet -p build/tidy \
    --extra-arg=--target=x86_64-w64-mingw32 --extra-arg=-isystem"$include" --extra-arg=-isystem"$include/x86_64-w64-mingw32" \
    --extra-arg=-Wthread-safety --extra-arg=-Wno-unknown-warning-option --extra-arg=-Wno-unused-command-line-argument 2>&1 |
    { grep -E "(error|warning):" && { echo "check: clang-tidy found the above" >&2; exit 1; } || true; }
