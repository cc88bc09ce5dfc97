// An RGB565 frame as PNG, through libpng.
#pragma once

#include "base/frame.h"
#include "still/encoders/byte_sink.h"

namespace cam::still {

// 8-bit RGB, no interlace, the library's default compression and filters, no chunks but the necessary ones.
// After an error of the library or the sink the whole sequence runs again from a restarted sink, at most
// twice: a write that failed for a moment costs no picture, and one that fails for good ends it.
EncodeStatus EncodePng(const ConstFrame& frame, ByteSink& out);

}  // namespace cam::still
