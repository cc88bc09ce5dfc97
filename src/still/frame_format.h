// What the two filters read from the media type of their frames.
#pragma once

#include "filter_base/direct_show.h"
#include "still/filter_interfaces.h"

namespace cam::still {

// Bytes from row to row: the pixels of a row, padded to a multiple of 4.
constexpr DWORD FrameStride(LONG width, WORD bitCount) {
    return (static_cast<DWORD>(width) * (bitCount / 8u) + 3u) & ~3u;
}

// The format block of a type whose format is a complete VIDEOINFOHEADER; null when it is anything else.
inline const VIDEOINFOHEADER* CompleteVideoInfo(const AM_MEDIA_TYPE& type) {
    static_assert(sizeof(VIDEOINFOHEADER) == 88, "the format block that senders fill in");
    if (!IsEqualGUID(type.formattype, FORMAT_VideoInfo) || type.cbFormat < sizeof(VIDEOINFOHEADER))
        return nullptr;
    return reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat);
}

inline FrameGeometry GeometryOf(const AM_MEDIA_TYPE& type, const VIDEOINFOHEADER& info) {
    const BITMAPINFOHEADER& header = info.bmiHeader;
    return {header.biHeight, header.biWidth, type.lSampleSize,
            FrameStride(header.biWidth, header.biBitCount)};
}

}  // namespace cam::still
