// What the two filters read from the media type of their frames.
#pragma once

#include "base/frame.h"
#include "filter_base/direct_show.h"

namespace cam::still {

// The format block of a type whose format is a complete VIDEOINFOHEADER; null when it is anything else.
inline const VIDEOINFOHEADER* CompleteVideoInfo(const AM_MEDIA_TYPE& type) {
    static_assert(sizeof(VIDEOINFOHEADER) == 88, "the format block that senders fill in");
    if (!IsEqualGUID(type.formattype, FORMAT_VideoInfo) || type.cbFormat < sizeof(VIDEOINFOHEADER))
        return nullptr;
    // Null also where a sender tells a length and gives no block.
    return reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat);
}

// The frame that a sample of this format holds, as yet without bytes.
inline Frame FrameOf(const VIDEOINFOHEADER& info) {
    const BITMAPINFOHEADER& header = info.bmiHeader;
    const auto stride = RowStride(static_cast<DWORD>(header.biWidth), header.biBitCount);
    return {{}, header.biWidth, header.biHeight, static_cast<DWORD>(stride)};
}

}  // namespace cam::still
