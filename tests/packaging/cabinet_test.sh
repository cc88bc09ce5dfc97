#!/usr/bin/env bash
# The installation for devices: the cabinets are made of what the ce build made, read by programs that nobody here wrote, and what they
# register is registered in the emulator.
#
#   cabinet_test.sh CE_BIN CE_RUN FOLDER
set -uo pipefail
ceBin=$1 ceRun=$2 folder=$3
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cabinet=$root/packaging/ce/cabinet.py
failed=0
fail() {
    echo "FAILED: $*"
    failed=1
}
rm -rf "$folder" && mkdir -p "$folder/unpacked" && cd "$folder" || exit 1

mkdir files && cp "$ceBin/"{ocellus.dll,camverify.exe,ocellus_restore.exe} files/ && "$root/packaging/ce/sample.sh" files/TakePictures.exe ||
    fail "what the cabinets are made of is not there"
ceBin=$PWD/files
for name in ocellus ocellus-flash camverify; do
    "$cabinet" make "$root/packaging/ce/$name.inf" "$ceBin" $name.armv4.cab || fail "$name.armv4.cab is not made"
    file $name.armv4.cab | grep -qE 'WinCE install, .* [234] files' || fail "$(file $name.armv4.cab)"
    7z t $name.armv4.cab >7z.log 2>&1 || { cat 7z.log; fail "7-Zip does not read $name.armv4.cab"; }
    cabextract --quiet --directory unpacked/$name $name.armv4.cab || fail "cabextract does not read $name.armv4.cab"
done
expect() { # CABINET LINES: what show must print of the cabinet; sizes are left out
    "$cabinet" show "$1" | sed 's/[0-9]* bytes/N bytes/' >shown || fail "$1 is not shown"
    diff shown - <<<"$2" || fail "$1 holds something else"
}
expect ocellus.armv4.cab 'Camera library (Ocellus), processor 2577, Windows CE 5.0 to 5.99
file %CE2%\ocellus.dll (N bytes, registers itself)'
expect camverify.armv4.cab 'Camera check (Ocellus), processor 2577, Windows CE 5.0 to 5.99
file %CE1%\Camera check\camverify.exe (N bytes)
file %CE1%\Camera check\TakePictures.exe (N bytes)
shortcut %CE11%\Camera check.lnk to camverify.exe'
expect ocellus-flash.armv4.cab 'Camera library (Ocellus), processor 2577, Windows CE 5.0 to 5.99
file %CE2%\ocellus.dll (N bytes, registers itself)
file Application\Ocellus\ocellus.bak (N bytes)
file Application\StartUp\ocellus_restore.exe (N bytes)'
"$cabinet" make "$root/packaging/ce/ocellus-flash.inf" "$ceBin" other.armv4.cab 'InstallDir=\Flash\Ocellus' 'StartDir=\Flash\2577' || fail "no other folders"
"$cabinet" show other.armv4.cab | grep -qF 'file Flash\2577\ocellus_restore.exe' || fail "the folders are not the ones that were given"

# What is in it is what was built, and registers itself.
cmp unpacked/ocellus/0OCELLUS.001 "$ceBin/ocellus.dll" || fail "another ocellus.dll is in the cabinet"
mkdir device && cp unpacked/ocellus/0OCELLUS.001 device/ocellus.dll
"$ceRun" --quiet --save-registry device.reg device/ocellus.dll DllRegisterServer | grep -q '= 0 ' || fail "the library does not register itself"
[ "$(grep -ci 'InprocServer32' device.reg)" = 2 ] || fail "two classes should be registered: $(cat device.reg)"

# A cold boot: \Windows and the registry are new, the flash is as it was, and what stands in its folder for autostart is started.
restore() { "$ceRun" --quiet --folder cold --save-registry cold.reg cold/Application/StartUp/ocellus_restore.exe; }
mkdir -p cold/Windows cold/Application/Ocellus cold/Application/StartUp
cp unpacked/ocellus-flash/OCELLUSR.003 cold/Application/StartUp/ocellus_restore.exe
restore && fail "there is nothing to restore, and nobody says so"
cp unpacked/ocellus-flash/0OCELLUS.002 cold/Application/Ocellus/ocellus.bak
restore || fail "the library is not restored: $?"
cmp cold/Windows/ocellus.dll "$ceBin/ocellus.dll" || fail "the library is not the one from the flash"
for registry in device cold; do tr -d '\r' <$registry.reg | grep -iE 'InprocServer32|ThreadingModel|^"FriendlyName' | sort >$registry.classes; done
diff device.classes cold.classes && [ -s cold.classes ] || fail "what the library registers after a cold boot is something else"
# A library that is there already, newer perhaps, stays.
cp "$ceBin/ocellus.dll" cold/Windows/ocellus.dll && printf old >cold/Application/Ocellus/ocellus.bak
restore && cmp cold/Windows/ocellus.dll "$ceBin/ocellus.dll" || fail "the library that is there was replaced"

# What is wrong is named, and nothing is left.
refuse() { # MESSAGE SED-COMMAND: the description, changed
    sed "$2" "$root/packaging/ce/ocellus.inf" >wrong.inf
    if output=$("$cabinet" make wrong.inf "$ceBin" wrong.cab 2>&1) || ! grep -q "$1" <<<"$output" || [ -e wrong.cab ]; then
        fail "'$1' expected, not '$output'"
    fi
}
refuse 'wrong.inf:30: there is no .*/other.dll; build it first' 's/^ocellus.dll,.*/other.dll,,,0/'
refuse 'CESelfRegister names other.dll, which is not copied' 's/^CESelfRegister.*/CESelfRegister = other.dll/'
refuse "'deletefiles' in \[DefaultInstall\] is not understood" 's/^CESelfRegister/DeleteFiles/'
refuse 'section \[spare\] is used by nothing' '$a [Spare]\nx = 1'
refuse "there is no section \[CEDevice\]" '/^\[CEDevice\]/,/^$/d'
head -c 100 "$ceBin/ocellus.dll" >text.cab
"$cabinet" make "$root/packaging/ce/ocellus-flash.inf" "$ceBin" wrong.cab Flash=x >refused.log 2>&1
grep -q 'says nothing of Flash' refused.log || fail "a string that is not there is changed"
"$cabinet" show text.cab >/dev/null 2>&1 && fail "a file that is no cabinet is shown"
[ $failed = 0 ] && echo "passed"
exit $failed
