// What a webcam's media types say, and the choice among them.
#pragma once

#include <optional>
#include <vector>

#include "filter_base/media_type.h"
#include "platform/desktop/camera_driver/source_picture.h"

namespace cam::driver {

// One capability of a webcam, in the words of this driver.
struct SourceFormat {
    SourceShape shape;
    LONGLONG frameTime = 0;  // of its highest rate, in 100 ns; 0: it does not say
    // As the webcam gave it, with that rate: webcams take back no other.
    filter_base::MediaType type;
};

// Nothing for an encoding that is not understood, and for a format block that is cut off or makes no sense.
// Takes VIDEOINFOHEADER and VIDEOINFOHEADER2.
std::optional<SourceShape> ReadShape(const AM_MEDIA_TYPE& type);

// The average time per frame in the format block, 0 for one that makes no sense; ReadShape must have
// understood the type.
LONGLONG ReadFrameTime(const AM_MEDIA_TYPE& type);
void WriteFrameTime(AM_MEDIA_TYPE& type, LONGLONG frameTime);

// All capabilities that are understood, in the webcam's order.
HRESULT ReadFormats(IAMStreamConfig& config, std::vector<SourceFormat>& formats);
// Those of a pin that has no list of capabilities.
HRESULT ReadFormats(IPin& pin, std::vector<SourceFormat>& formats);

struct PictureSize {
    std::uint32_t width, height;
    bool operator==(const PictureSize&) const = default;
};

// Each size once, in the order of their first formats.
std::vector<PictureSize> SizesOf(const std::vector<SourceFormat>& formats);

// The best format of a size: the highest rate up to 30 a second, then the encoding that is the least work.
// Null: there is none of that size.
const SourceFormat* BestFormat(const std::vector<SourceFormat>& formats, PictureSize size);

// What preview has when nothing else is asked for: the size nearest to 640x480, which every camera manages at
// its full rate.
PictureSize PreviewSize(const std::vector<PictureSize>& sizes);

}  // namespace cam::driver
