#!/usr/bin/env bash
# Sets up, builds, and takes pictures: a BMP, a JPEG and a PNG each of the test chart, of a photograph and of a film, with ocellus.dll and the
# device kit's camera under Wine. The pictures land in pictures/.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/scripts/usage.sh"
takesNoArguments "$@"
cd "$(dirname "${BASH_SOURCE[0]}")"

scripts/setup.sh build
# Wine, its prefix, a photograph and a film come while the compiler runs.
{ scripts/setup.sh run && scripts/host.sh --prepare; } &
setup=$!
if [ ! -f build/host/build.ninja ]; then cmake --preset host >build/configure.log || { cat build/configure.log >&2; exit 1; }; fi
printf '== Building\n'
# All that README and docs/ run from build/host/bin but the viewer, which scripts/view.sh builds.
built=yes
cmake --build --preset host --target sdk_libraries imvoxa camctl camverify take_pictures launch || built=''
wait "$setup"
[ "$built" ] || exit 1

mkdir -p pictures
printf '== Taking pictures\n'
take() { # NAME SCENE
    scripts/host.sh build/host/bin/camctl.exe snap "pictures/$1.bmp" "pictures/$1.jpg" "pictures/$1.png" --scene "$2"
}
take chart chart
take photo build/media/photo.png
take film build/media/film.y4m
printf '== The pictures are in %s\n' "$PWD/pictures"
