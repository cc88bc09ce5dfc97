// The media types of the formats that the camera's pins offer.
#pragma once

#include <cstddef>

#include "filter_base/media_type.h"
#include "format.h"

namespace kit {

// VIDEOINFOHEADER and three colour masks. The masks are there for every layout: cameras of this kind always
// send the longer block, and its readers rely on more than a bare VIDEOINFOHEADER.
struct FormatBlock {
    VIDEOINFOHEADER header;
    DWORD masks[3];
};
constexpr DWORD kFormatBlockSize =
    offsetof(FormatBlock, masks) + sizeof(DWORD) * 3;  // without what pads the record
static_assert(kFormatBlockSize == 100, "as it stands in a media type");

// Replaces `type` by the format's. False: out of memory.
bool FillMediaType(const Format& format, int framesPerSecond, cam::filter_base::MediaType& type);

// Whether `type` is `format`: major type, subtype, format type and the bitmap's geometry. The frame rate may
// differ.
bool Matches(const Format& format, const AM_MEDIA_TYPE& type);

// What an output pin of this format asks of its allocator: at least one buffer that holds a sample. Calls
// SetProperties.
HRESULT RequestBuffers(const Format& format, IMemAllocator* allocator, ALLOCATOR_PROPERTIES* request);

// {E436EB7C-...}, {E436EB7B-...}, "YUY2"
const GUID& Subtype(Layout layout);

}  // namespace kit
