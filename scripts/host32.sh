#!/usr/bin/env bash
# Runs a 32-bit Windows program as scripts/host.sh runs a 64-bit one. 32-bit Wine cannot be installed beside the 64-bit one, so it lives in a Debian root of
# its own, build/root32 (1.3 GB), which the first use makes.
#
#   scripts/host32.sh PROGRAM [ARGUMENTS...]
#
# Exit codes are host.sh's; 77 when this machine cannot run 32-bit programs or may not make the root: the test is then skipped, not passed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
system=$root/build/root32

skip() {
    printf 'host32.sh: skipped: %s\n' "$*" >&2
    exit 77
}

[ $# -ge 1 ] || { echo "host32.sh: usage: scripts/host32.sh PROGRAM [ARGUMENTS...]" >&2; exit 126; }
[ "$(id -u)" = 0 ] || skip "32-bit Wine runs in a root of its own, which only root can enter"
command -v debootstrap >/dev/null || skip "debootstrap is missing; run scripts/setup.sh test"
unshare -m true 2>/dev/null || skip "this machine allows no mounts of one's own (unshare -m)"

# The mirror is the machine's own: the repository from which its release is installed.
makeSystem() {
    local codename mirror log=$root/build/root32.log
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Identifier: Packages' |
        awk -v codename="$codename" '$2 == codename && $3 == "main" { print $1; exit }')
    [ -n "$mirror" ] || skip "apt's configuration names no repository of Debian $codename"
    echo "host32.sh: making a Debian root with 32-bit Wine in build/root32; a minute or two, once" >&2
    rm -rf "$system"
    mkdir -p "$system"
    # Whether 32-bit programs run at all shows when the second stage starts the root's own.
    if ! debootstrap --arch=i386 --variant=minbase --include=wine32,wine,fonts-dejavu-core "$codename" "$system" "$mirror" >"$log" 2>&1; then
        if ! chroot "$system" /bin/true 2>/dev/null; then
            rm -rf "$system"
            skip "this machine does not run 32-bit programs"
        fi
        tail -n 5 "$log" >&2
        echo "host32.sh: the root could not be made (see $log)" >&2
        exit 126
    fi
    rm -rf "$system"/var/cache/apt/archives/*.deb
    touch "$system/.complete"
}

mkdir -p "$root/build"
(
    flock 9
    [ -f "$system/.complete" ] || makeSystem
) 9>"$root/build/root32.lock" || exit $?
chroot "$system" /bin/true 2>/dev/null || skip "this machine does not run 32-bit programs"

# The project is seen in the root at its own path; the mounts end with the program.
export OCELLUS_WINE_PREFIX=${OCELLUS_WINE_PREFIX32:-$root/build/wine32}
export WINEARCH=win32 OCELLUS_BIN32=${OCELLUS_BIN32:-$root/build/host32/bin}
mkdir -p "$system$root"
exec unshare -m bash -euc '
    system=$1 root=$2 here=$PWD
    shift 2
    mount --make-rprivate /
    mount --bind "$root" "$system$root"
    mount -t proc proc "$system/proc"
    mount --bind /dev "$system/dev"
    case $here in "$root"*) ;; *) here=$root ;; esac
    exec chroot "$system" /usr/bin/env -C "$here" HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin "$root/scripts/host.sh" "$@"
' bash "$system" "$root" "$@"
