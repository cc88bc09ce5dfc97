#!/usr/bin/env bash
# Runs a Windows program in the project's own Wine prefix, with ocellus.dll and devicekit.dll registered.
#
#   scripts/host.sh PROGRAM [ARGUMENTS...]
#   scripts/host.sh --prepare                  makes the prefix, so that the first program need not wait for it
#
# Headless unless OCELLUS_HEADLESS=0 is set (then the X display in DISPLAY is used). Without the machine's own webcams unless OCELLUS_WEBCAMS=1
# is set: what runs here should not depend on what is plugged in. The program's exit code is passed on; 126 when it did
# not start. OCELLUS_WINE_PREFIX names another prefix than build/wine. With OCELLUS_REGISTER=0 nothing is registered. OCELLUS_PRELOAD names a
# library that Wine's own side of the program loads before all others.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/usage.sh"
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

die() {
    printf 'host.sh: %s\n' "$*" >&2
    exit 126
}

[ $# -ge 1 ] || die "usage: scripts/host.sh PROGRAM [ARGUMENTS...]"
program=$1
shift
if [ "$program" != --prepare ]; then
    [ -f "$program" ] || die "there is no program '$program'; build it first: cmake --build --preset host"
    program=$(readlink -f "$program")
fi
command -v wine >/dev/null || die "wine is not installed; run scripts/setup.sh"

export WINEPREFIX=${OCELLUS_WINE_PREFIX:-$root/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
export OCELLUS_HEADLESS=${OCELLUS_HEADLESS:-1}
export OCELLUS_WEBCAMS=${OCELLUS_WEBCAMS:-0}

# The registry settings differ between a headless and a visible run, and are read when the server starts: two prefixes.
if [ "$OCELLUS_HEADLESS" = 0 ]; then WINEPREFIX=$WINEPREFIX-visible; else unset DISPLAY; fi

# Every prefix has the machine's root as drive Z; asking a program of Wine's would take longer than most programs here run.
windowsPath() { printf 'Z:%s' "${1//\//\\}"; }

makePrefix() {
    local log=$WINEPREFIX.log
    if [ -t 2 ]; then printf 'host.sh: making a Wine prefix in %s; half a minute at most, once\n' "$WINEPREFIX" >&2; fi
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    {
        wineboot -i
        wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f
        wine reg add 'HKCU\Software\Wine\Drivers' /v Audio /t REG_SZ /d '' /f
        if [ "$OCELLUS_HEADLESS" = 0 ]; then
            wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f
        else
            wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /t REG_SZ /d null /f
        fi
        wineserver -k
        wineserver -w
    } >"$log" 2>&1 || { tail -n 5 "$log" >&2; die "the Wine prefix could not be made (see $log)"; }
    touch "$WINEPREFIX/.complete"
}

# Registers the two DLLs that stand beside the program, when they have changed since the last time.
registerLibraries() {
    local folder library stamp
    folder=$(dirname "$program")
    for library in ocellus devicekit; do
        [ -f "$folder/$library.dll" ] || continue
        stamp=$WINEPREFIX/.registered-$library
        if [ ! -f "$stamp" ] || [ "$folder/$library.dll" -nt "$stamp" ] || [ "$(cat "$stamp")" != "$folder" ]; then
            wine regsvr32 /s "$(windowsPath "$folder/$library.dll")" || die "$folder/$library.dll could not be registered"
            printf '%s\n' "$folder" >"$stamp"
            touch -r "$folder/$library.dll" "$stamp"
        fi
    done
}

# The server and Wine's own services take longer to start than most programs run: they stay for a while. A display may go earlier than that.
startServer() {
    if [ "$OCELLUS_HEADLESS" != 0 ]; then wineserver -p30 2>/dev/null || true; fi
    wine cmd /c exit >/dev/null 2>&1
}

mkdir -p "$(dirname "$WINEPREFIX")"
(
    flock 9
    # The server and services that the first program starts outlive it: they must inherit neither the lock nor its output.
    {
        [ -f "$WINEPREFIX/.complete" ] || makePrefix
        [ "$program" != --prepare ] || exit 0
        wineserver -k0 2>/dev/null || startServer
        if [ "${OCELLUS_REGISTER:-1}" != 0 ]; then registerLibraries; fi
    } 9>&-
) 9>"$WINEPREFIX.lock"
[ "$program" != --prepare ] || exit 0

# The launcher reports the full 32-bit exit code: Wine's own keeps the low byte, and a program that fails to load can end in 0.
launcher=$(dirname "$program")/launch.exe
[ -f "$launcher" ] || launcher=${OCELLUS_BIN32:-$root/build/host/bin}/launch.exe
[ -f "$launcher" ] || die "launch.exe is missing; build it first: cmake --build --preset host"
report=$(mktemp)
trap 'rm -f "$report"' EXIT
# A server that is just ending takes a process with it that begins at that moment. The launcher notes when the program has begun: what has left no
# trace is tried again.
for attempt in 1 2 3; do
    set +e
    OCELLUS_LAUNCH_REPORT=$(windowsPath "$report") LD_PRELOAD=${OCELLUS_PRELOAD:-} wine "$launcher" "$(windowsPath "$program")" "$@"
    set -e
    code=$(tr -d '\r\n' <"$report")
    [ -z "$code" ] || break
    sleep "0.$attempt"
done
case $code in
'') die "'$program' did not start" ;;
started) die "'$program' ended without an exit code: Wine's server ended beneath it" ;;
0xC0000135 | 0xC0000139 | 0xC000007B | 0xC0000142) die "'$program' did not start: the system answered $code (a DLL or an entry point it needs is missing)" ;;
esac
code=$((code))
if [ "$code" != 0 ] && [ $((code & 255)) = 0 ]; then exit 1; fi
exit $((code & 255))
