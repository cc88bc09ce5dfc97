#!/usr/bin/env bash
# Copies the sources of Wine's filter tests and makes them fit our compiler's headers and our filters. No line is added or taken away:
# differences.txt counts them.
#
#   adapt.sh SOURCES FOLDER    Wine's source folder; where the copies go
set -euo pipefail
mkdir -p "$2"
cp "$1"/libs/strmbase/*.[ch] "$1"/dlls/{qedit/tests/{samplegrabber,nullrenderer},qcap/tests/videocapture}.c "$2/"
cd "$2"

# Members that this compiler's headers do not have.
sed -i 's/.*DebugInfo->Spare.*/;/' ./*.c
sed -i 's/vih->u\.dwControlFlags/vih->dwControlFlags/g' mediatype.c

# What belongs to another interface than ours, and the types that our filters take. The sink is not asked what it makes of samples: it stores them.
# FILE FUNCTION...: leaves these functions out of a program.
leaveOut() {
    local file=$1 function
    shift
    for function in "$@"; do sed -i "s/^    $function();\$/    ;/" "$file"; done
}
leaveOut samplegrabber.c test_media_types
leaveOut nullrenderer.c test_media_types
# Types that the sink takes; two of them are the same when their blocks hold the same.
sed -i -e 's/^        \.majortype = {0x111},$/        .majortype = FRAME_MAJOR,/' -e 's/^        \.subtype = {0x222},$/        .subtype = FRAME_SUB,/' \
    -e 's/^        \.formattype = {0x333},$/        .formattype = FRAME_FORMAT, .cbFormat = sizeof frameFormat, .pbFormat = frameFormat,/' \
    -e 's/!memcmp(&mt, &req_mt, sizeof(AM_MEDIA_TYPE))/IsFrameType(\&mt)/' nullrenderer.c
# The same of the grabber's connections, without what its editing interface tells and asks for there.
sed -i -e '984,1320s/MEDIATYPE_Stream/FRAME_MAJOR/' -e '984,1320s/MEDIASUBTYPE_Avi/MEDIASUBTYPE_RGB555/' -e '984,1320s/MEDIASUBTYPE_RGB8/MEDIASUBTYPE_RGB555/' \
    -e '990s/FORMAT_None/FRAME_FORMAT, .cbFormat = sizeof frameFormat, .pbFormat = frameFormat/' \
    -e '1019s/$/ testsource.source_mt.cbFormat = sizeof frameFormat, testsource.source_mt.pbFormat = frameFormat;/' \
    -e '1015s/.*//;1021,1022s/.*//;1060,1065s/.*//;1087,1106s/.*//' -e '984,1330s/.*ISampleGrabber_.*//' samplegrabber.c
# The editing interface of the platform's grabber.
sed -i 's/^    check_interface(filter, &IID_ISampleGrabber, TRUE);/    ;/' samplegrabber.c
# Without position pass-through there is nothing to release.
sed -i '110,130s/^    IUnknown_Release(unk);/    if (SUCCEEDED(hr)) IUnknown_Release(unk);/' samplegrabber.c
