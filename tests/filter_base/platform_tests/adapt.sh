# Read by run.sh, in the folder with the copies.
# shellcheck shell=bash disable=SC2148

# test FILE FUNCTION...: leaves these functions out of a program.
leaveOut() {
    local file=$1 function
    shift
    for function in "$@"; do sed -i "s/^    $function();\$/    ;/" "$file"; done
}
leaveOut samplegrabber.c test_media_types test_connect_pin
leaveOut nullrenderer.c test_media_types test_connect_pin
# The editing interface of the platform's grabber.
sed -i 's/^    check_interface(filter, &IID_ISampleGrabber, TRUE);/    ;/' samplegrabber.c
# Without position pass-through there is nothing to release.
sed -i '110,130s/^    IUnknown_Release(unk);/    if (SUCCEEDED(hr)) IUnknown_Release(unk);/' samplegrabber.c
