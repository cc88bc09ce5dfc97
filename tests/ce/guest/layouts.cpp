// Records that cross a boundary of the library, to the system, to the capture graph, to the application or
// into files, are laid out as the system's own 32-bit compilers do it. Checked where this is compiled: for
// Windows CE, and for the 32-bit desktop, whose layout is the system's.
#include <windows.h>

#include <dshow.h>

#include <stddef.h>

#include "platform/platform.h"
#include "still/bitmap_info.h"

namespace cam {

#define CAM_RECORD(type, size) static_assert(sizeof(type) == size)
#define CAM_MEMBER(type, member, offset) static_assert(offsetof(type, member) == offset)

CAM_RECORD(AM_MEDIA_TYPE, 72);
CAM_MEMBER(AM_MEDIA_TYPE, subtype, 16);
CAM_MEMBER(AM_MEDIA_TYPE, lSampleSize, 40);
CAM_MEMBER(AM_MEDIA_TYPE, formattype, 44);
CAM_MEMBER(AM_MEDIA_TYPE, cbFormat, 64);
CAM_MEMBER(AM_MEDIA_TYPE, pbFormat, 68);
CAM_RECORD(VIDEOINFOHEADER, 88);
CAM_MEMBER(VIDEOINFOHEADER, AvgTimePerFrame, 40);
CAM_MEMBER(VIDEOINFOHEADER, bmiHeader, 48);
CAM_RECORD(VIDEO_STREAM_CONFIG_CAPS, 128);
CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, VideoStandard, 16);
CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, InputSize, 20);
CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, MinFrameInterval, 104);
CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, MaxBitsPerSecond, 124);
CAM_RECORD(ALLOCATOR_PROPERTIES, 16);
CAM_RECORD(PIN_INFO, 264);
CAM_MEMBER(PIN_INFO, achName, 8);
CAM_RECORD(FILTER_INFO, 260);
CAM_RECORD(Quality, 24);
CAM_MEMBER(Quality, Late, 8);
CAM_RECORD(VARIANT, 16);
CAM_MEMBER(VARIANT, bstrVal, 8);
CAM_RECORD(GUID, 16);
CAM_RECORD(BITMAPFILEHEADER, 14);
CAM_MEMBER(BITMAPFILEHEADER, bfOffBits, 10);
CAM_RECORD(BITMAPINFOHEADER, 40);
CAM_RECORD(still::BitmapInfo565, 52);
CAM_MEMBER(still::BitmapInfo565, redMask, 40);
CAM_RECORD(platform::DEVMGR_DEVICE_INFORMATION, 1584);
CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szLegacyName, 12);
CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szDeviceKey, 24);
CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szBusName, 1064);
CAM_RECORD(platform::MSGQUEUEOPTIONS, 20);
CAM_RECORD(RECT, 16);
CAM_RECORD(SIZE, 8);
CAM_RECORD(MSG, 28);
CAM_RECORD(FILETIME, 8);
CAM_RECORD(wchar_t, 2);
CAM_RECORD(VARIANT_BOOL, 2);
CAM_RECORD(OAFilterState, 4);

}  // namespace cam
