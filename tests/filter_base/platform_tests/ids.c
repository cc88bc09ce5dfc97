// The filters under test, in place of the system's; and the traces of the tests' sources, which go nowhere.
#include <windows.h>
#include <objbase.h>
#include <strmif.h>

const GUID OcellusGrabber = {0xB62F694E, 0x0593, 0x4E60, {0xAA, 0x1C, 0x16, 0xAF, 0x64, 0x96, 0xAC, 0x39}};
const GUID OcellusSink = {0xBCEED521, 0xA101, 0x45A9, {0x8B, 0x7D, 0x15, 0x83, 0x46, 0x6F, 0xD5, 0x7C}};

const char* wine_dbgstr_w(const WCHAR* text) {
    (void)text;
    return "";
}
const char* wine_dbgstr_guid(const GUID* id) {
    (void)id;
    return "";
}

// A VIDEOINFOHEADER with a BITMAPINFOHEADER from byte 48 on: size, width, height, planes and bits a pixel.
BYTE frameFormat[88] = {[48] = 40, [52] = 32, [56] = 16, [60] = 1, [62] = 16};

BOOL IsFrameType(const void* mediaType) {
    const AM_MEDIA_TYPE* const type = mediaType;
    return type->cbFormat == sizeof frameFormat && type->pbFormat && !memcmp(type->pbFormat, frameFormat, sizeof frameFormat);
}
