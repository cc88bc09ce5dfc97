#!/usr/bin/env bash
# Drives camctl through its command line: exit codes, messages, JSON, and pictures judged by djpeg, pngcheck and ImageMagick.
#
#   camctl_test.sh CAMCTL.EXE
set -uo pipefail
camctlProgram=$(readlink -f "$1")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

passed=0
failed=0
camctl() { "$root/scripts/host.sh" "$camctlProgram" "$@" </dev/null; }

check() { # WHAT COMMAND...: the command must succeed
    local what=$1
    shift
    if "$@" >/dev/null 2>&1; then passed=$((passed + 1)); else
        failed=$((failed + 1))
        echo "FAILED: $what: $*"
    fi
}

expect() { # CODE PATTERN ARGUMENTS...: camctl must end with CODE and print something that matches PATTERN
    local code=$1 pattern=$2 output actual
    shift 2
    output=$(camctl "$@" 2>&1)
    actual=$?
    if [ "$actual" = "$code" ] && grep -qE -- "$pattern" <<<"$output"; then passed=$((passed + 1)); else
        failed=$((failed + 1))
        printf 'FAILED: camctl %s\n  exit code %s, expected %s; expected output like: %s\n%s\n' "$*" "$actual" "$code" "$pattern" "$output"
    fi
}

# ---- Usage and bad values: nothing is written, and the message says what to do ----------------------------------------

expect 0 'snap.*' --help
expect 2 'remedy' 
expect 2 'remedy' snap
expect 2 "no command 'nonsense'" nonsense
expect 2 '"exitCode": 2' snap a.jpg --mode 3 --json
expect 2 'remedy' snap a.jpg --size 640
expect 2 "position 'nowhere'.*" snap a.jpg --text x --position nowhere
expect 2 "no font" snap a.jpg --text x --font "DejaVu Sans,18pt"
expect 2 "no property 'sparkle'" get sparkle
expect 2 'no assignment' set brightness
expect 4 "extension '.jpeg'" snap a.jpeg
expect 4 "extension ''" snap dir.x/file
expect 4 "folder 'nowhere' does not exist" snap nowhere/a.jpg
expect 4 'is no still resolution.*' snap a.jpg --size 641x480
expect 4 'there is no file' profiles nothing.xml
expect 4 'there is no file' settings nothing.ini Camera
expect 4 'there is no file' snap a.jpg --settings nothing.ini --section Camera
expect 4 "no scenario file 'nothing.json'" snap a.jpg --scenario nothing.json
expect 2 "'%q.jpg' is no pattern" snap %q.jpg
check "nothing was written by the refusals" test -z "$(ls -A)"

# ---- A camera that is not there, or misbehaves ---------------------------------------------------------------------------

expect 3 '0x80070012.*' info --scenario '{"devices": []}'
expect 3 '"exitCode": 3' info --json --scenario '{"devices": []}'
expect 5 '8 \(camCaptureFailed\)' snap a.jpg --scenario '{"calls": {"IAMVideoControl::SetMode": {"result": "0x80004005", "times": 0}}}'
expect 6 'only 2 of 9 preview frames came' snap a.jpg --skip 9 --timeout 1 --scenario '{"loseDeviceAfterFrames": 2}'

# ---- What doctor finds, and the remedy -----------------------------------------------------------------------------------------

expect 0 'ok +camera +.*first frame after' doctor
expect 8 'problem +camera.*0x8007048F|0x80070012' doctor --scenario '{"devices": []}'
expect 8 '"state": "problem"' doctor --json --camera 'no such camera'
expect 0 'ok +camera +the imager: opened' doctor --type imager
registry() { "$root/scripts/host.sh" "$OCELLUS_WINE_PREFIX/drive_c/windows/system32/reg.exe" "$@" >registry.log 2>&1; }
consent='HKCU\Software\Microsoft\Windows\CurrentVersion\CapabilityAccessManager\ConsentStore\webcam\NonPackaged'
registry add "$consent" /v Value /d Deny /f
expect 8 "problem +privacy +'Let desktop apps access your camera' is off" doctor
registry delete "$consent" /f
server='HKCR\CLSID\{B62F694E-0593-4E60-AA1C-16AF6496AC39}\InprocServer32'
registry add "$server" /ve /d 'C:\gone\ocellus.dll' /f
expect 8 'problem +registration +what is registered is not there: C:.gone' doctor
registry add "$server" /ve /d 'C:\windows\system32\ole32.dll' /f
expect 0 'note +registration +another one is registered' doctor
rm "$OCELLUS_WINE_PREFIX/.registered-ocellus" registry.log
# A library that is missing, or for the other width.
mkdir alone
cp "$camctlProgram" alone/
inOrder=$camctlProgram camctlProgram=$folder/alone/camctl.exe
export OCELLUS_REGISTER=0
expect 3 'there is no ocellus.dll' info
echo 'no library' >alone/ocellus.dll
expect 3 'is not for 64 bit' doctor
cp "$(dirname "$inOrder")/ocellus.dll" alone/
expect 0 'note +imager +no Imvoxa.dll' doctor
camctlProgram=$inOrder
unset OCELLUS_REGISTER
rm -r alone

# ---- Pictures ------------------------------------------------------------------------------------------------------------------

expect 0 'PNG' snap a.bmp a.jpg a.Png --size 640x480
check "djpeg reads the JPEG" djpeg -outfile /dev/null a.jpg
check "pngcheck accepts the PNG" pngcheck -q a.Png
for picture in a.bmp a.jpg a.Png; do
    check "$picture has the size asked for" test "$(identify -format '%wx%h' "$picture")" = 640x480
done
expect 0 '"ok": true' snap --json "$folder/b.jpg" --skip 0 --mode 2

# A series: each picture has a name of its own, and they keep their distance.
start=$(date +%s)
expect 0 'series-003.png' snap series.png '%Y.jpg' --count 3 --interval 1
check "two intervals take two seconds" test $(($(date +%s) - start)) -ge 2
year=$(date +%Y)
for picture in series-00{1,2,3}.png "$year".jpg "$year"-2.jpg "$year"-3.jpg; do check "$picture is one of the series" identify "$picture"; done
# A camera that needs two seconds to find its exposure: the picture is dark without --settle.
ffmpeg -v error -f lavfi -i "color=white:s=640x480:r=30:d=4,fade=in:0:60" -pix_fmt yuv420p fade.y4m
for seconds in 0 5; do
    expect 0 'PNG' snap settled-$seconds.png --settle $seconds --scene fade.y4m
    brightness=$(convert settled-$seconds.png -format '%[fx:mean]' info:)
    check "--settle $seconds gives a picture of brightness $brightness" awk "BEGIN { exit !($seconds ? $brightness > 0.9 : $brightness < 0.5) }"
done

mkdir taken.bmp
expect 4 'is a folder' snap taken.bmp
expect 4 'stores no TIFF' snap a.bmp a.tif --type imager
expect 7 'first.jpg: JPEG' snap first.jpg 'no?.jpg'
mkdir small
if mount -t tmpfs -o size=8k camctl-test small 2>/dev/null; then
    for picture in small/full.bmp small/full.jpg small/full.png small/full.tif; do
        expect 7 "$picture' does not exist" snap "$picture" --scene "$root/build/media/photo.png"
    done
    check "nothing is left of the pictures that the disk had no room for" test -z "$(ls -A small)"
    umount small
else
    echo "not tested: a full disk, since this user cannot mount a small one"
fi

# A real photograph, of exactly the still's size, comes back upright and in its colours, within what 5 and 6 bits a channel can hold.
convert "$root/build/media/photo.png" -resize '640x480!' -depth 8 PNG24:scene.png
expect 0 'PNG' snap photo.png photo.jpg photo.bmp --scene scene.png --size 640x480
for picture in photo.png photo.jpg photo.bmp; do
    error=$(compare -metric MAE scene.png "$picture" null: 2>&1 | sed 's/.*(\(.*\))/\1/')
    check "$picture shows the photograph (mean error $error)" awk "BEGIN { exit !($error < 0.025) }"
    convert "$picture" -flip flipped.png
    mirrored=$(compare -metric MAE scene.png flipped.png null: 2>&1 | sed 's/.*(\(.*\))/\1/')
    check "and not upside down ($mirrored)" awk "BEGIN { exit !($mirrored > 2 * $error) }"
done

# The example application, which stands beside camctl, takes one picture and ends.
check "the example ends well" "$root/scripts/host.sh" "$(dirname "$camctlProgram")/take_pictures.exe" "$folder/example.jpg"
check "and djpeg reads its picture" djpeg -outfile /dev/null example.jpg
check "the C++ example ends well" "$root/scripts/host.sh" "$(dirname "$camctlProgram")/take_pictures_cpp.exe" "$folder/example_cpp.png"
check "and pngcheck accepts its picture" pngcheck -q example_cpp.png

# ---- Looking ---------------------------------------------------------------------------------------------------------------

expect 0 '2\.209\.30001\.0' info
expect 0 '640x480' formats
expect 0 'brightness' props
expect 0 'frames a second' preview --seconds 1
expect 4 'give .* to ' set brightness=1000000
expect 0 'exposure is 1' set exposure=1 --type imager
expect 0 'contrast is 100 \(manual\)' reset
expect 4 'no default for pan' reset zoom pan --scenario '{"properties": {"pan": {"supported": false}}}'
expect 0 '^\.SS snap FILE' manual man
camctl manual bash 2>/dev/null | tr -d '\r' >completion
completed() { # WORDS...: what bash offers for the last of them
    bash -c '. ./completion; COMP_WORDS=(camctl "$@"); COMP_CWORD=$#; _camctl; echo "${COMPREPLY[*]}"' bash "$@"
}
check "a command is completed" test "$(completed sn)" = snap
check "its options, too" test "$(completed snap --se)" = "--settle --settings --section"
check "and an option's value" test "$(completed snap --type i)" = imager

# ---- Webcams: the kit as one, beside the kit's camera --------------------------------------------------------------------------

export OCELLUS_WEBCAMS=1
expect 2 'WHAT' kit camera on
expect 0 'is a webcam' kit webcam on
expect 0 '^1  webcam  Device kit webcam' list
expect 0 '"encoding": "MJPG"' list --formats --json
expect 3 '0x8007048F.*' info --camera 'no such camera'
expect 3 'in use|another program' preview --camera webcam --scenario '{"calls": {"IBaseFilter::Run Webcam": {"times": 0, "result": "0x8007001F"}}}'
expect 0 'the webcam sends YUY2 640x480, 30 a second' preview --seconds 1 --camera webcam
expect 0 'stopped sending' preview --seconds 2 --camera webcam --scenario '{"loseDeviceAfterFrames": 9}'
expect 0 'PNG' snap webcam.png webcam.jpg --camera '\\?\devicekit#webcam1' --size 1280x720 --scene scene.png
convert scene.png -resize '1280x720!' large.png
for picture in webcam.png webcam.jpg; do
    error=$(compare -metric MAE large.png "$picture" null: 2>&1 | sed 's/.*(\(.*\))/\1/')
    check "$picture of a JPEG webcam shows the photograph (mean error $error)" awk "BEGIN { exit !($error < 0.03) }"
done
expect 0 'no webcam any more' kit webcam off
expect 0 '^0  driver  CAM1:' list
export OCELLUS_WEBCAMS=0

# ---- Configuration files -------------------------------------------------------------------------------------------------

printf '[Camera]\r\nZoom=2\r\nBrightness=0x10\r\n' >camera.ini
expect 0 'Zoom +2 +file' settings camera.ini Camera
expect 0 'Brightness +16 +file.*' settings camera.ini Camera
expect 0 'nothing was found' settings camera.ini Nowhere
printf '<?xml version="1.0"?>\n<ConfigDoc name="x"><Section name="Profiles"><Section name="Indoor"/><Section name="Outdoor"/></Section></ConfigDoc>\n' >profiles.xml
expect 0 '1  Outdoor' profiles profiles.xml
expect 0 'JPEG' snap set.jpg --settings camera.ini --section Camera
expect 0 'Zoom=2' save-settings saved.ini Dusk --settings camera.ini --section Camera
expect 0 'Brightness +16 +file' settings saved.ini Dusk
expect 4 'already' save-settings saved.ini Dusk

# ---- Black and white ---------------------------------------------------------------------------------------------------------

expect 0 'TIFF' snap page.tif --mode 1
check "the TIFF is black and white Group 4" test "$(identify -format '%[compression] %z' page.tif)" = "Group4 1"
expect 0 'bytes' convert scene.png converted.tif
check "the converted picture has its size" test "$(identify -format '%wx%h' converted.tif)" = 640x480
convert scene.png palette.gif
expect 0 'bytes' convert palette.gif palette.tif
expect 4 'cannot be read as a picture' convert camera.ini out.tif

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
