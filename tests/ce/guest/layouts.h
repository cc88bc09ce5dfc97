// Every record that crosses a boundary of the library: to the system, to the capture graph, to the
// application, into files. Each line gives the record and its members; both targets with 32-bit pointers
// print it, and the prints must be equal.
#pragma once

#include <windows.h>

#include <dshow.h>

#include <stddef.h>

#include "platform/platform.h"
#include "still/bitmap_info.h"

namespace cam {

struct Layout {
    const char* name;
    unsigned offset;  // of the member; of a record: its size
};

#define CAM_RECORD(type) \
    { #type, static_cast < unsigned>(sizeof(type)) }
#define CAM_MEMBER(type, member) \
    { #type "." #member, static_cast < unsigned>(offsetof(type, member)) }

constexpr Layout kLayouts[] = {
    CAM_RECORD(AM_MEDIA_TYPE),
    CAM_MEMBER(AM_MEDIA_TYPE, subtype),
    CAM_MEMBER(AM_MEDIA_TYPE, lSampleSize),
    CAM_MEMBER(AM_MEDIA_TYPE, formattype),
    CAM_MEMBER(AM_MEDIA_TYPE, cbFormat),
    CAM_MEMBER(AM_MEDIA_TYPE, pbFormat),
    CAM_RECORD(VIDEOINFOHEADER),
    CAM_MEMBER(VIDEOINFOHEADER, AvgTimePerFrame),
    CAM_MEMBER(VIDEOINFOHEADER, bmiHeader),
    CAM_RECORD(VIDEO_STREAM_CONFIG_CAPS),
    CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, VideoStandard),
    CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, InputSize),
    CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, MinFrameInterval),
    CAM_MEMBER(VIDEO_STREAM_CONFIG_CAPS, MaxBitsPerSecond),
    CAM_RECORD(ALLOCATOR_PROPERTIES),
    CAM_RECORD(PIN_INFO),
    CAM_MEMBER(PIN_INFO, achName),
    CAM_RECORD(FILTER_INFO),
    CAM_RECORD(Quality),
    CAM_MEMBER(Quality, Late),
    CAM_RECORD(VARIANT),
    CAM_MEMBER(VARIANT, bstrVal),
    CAM_RECORD(GUID),
    CAM_RECORD(BITMAPFILEHEADER),
    CAM_MEMBER(BITMAPFILEHEADER, bfOffBits),
    CAM_RECORD(BITMAPINFOHEADER),
    CAM_RECORD(still::BitmapInfo565),
    CAM_MEMBER(still::BitmapInfo565, redMask),
    CAM_RECORD(platform::DEVMGR_DEVICE_INFORMATION),
    CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szLegacyName),
    CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szDeviceKey),
    CAM_MEMBER(platform::DEVMGR_DEVICE_INFORMATION, szBusName),
    CAM_RECORD(platform::MSGQUEUEOPTIONS),
    CAM_RECORD(RECT),
    CAM_RECORD(SIZE),
    CAM_RECORD(MSG),
    CAM_RECORD(FILETIME),
    CAM_RECORD(wchar_t),
    CAM_RECORD(VARIANT_BOOL),
    CAM_RECORD(OAFilterState),
};

}  // namespace cam
