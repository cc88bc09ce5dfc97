// An RGB565 frame as JPEG, through libjpeg.
#pragma once

#include "base/frame.h"
#include "still/encoders/byte_sink.h"

namespace cam::still {

// 24-bit RGB input, the library's defaults, baseline. `quality` as the library takes it: below 1 counts as 1,
// above 100 as 100. An error of the library ends the encoding and nothing else; what was written by then is
// no picture.
EncodeStatus EncodeJpeg(const ConstFrame& frame, int quality, ByteSink& out);

}  // namespace cam::still
