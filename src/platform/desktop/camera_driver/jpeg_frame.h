// Decodes the JPEG pictures of webcams.
#pragma once

#include <optional>

#include "platform/desktop/camera_driver/source_picture.h"

namespace cam::driver {

// Keeps its buffers from frame to frame. One thread at a time.
class JpegFrame {
  public:
    // A sample of any encoding; nothing when it is JPEG and cannot be decoded. Valid until the next call, and
    // as long as the sample.
    std::optional<SourcePicture> Read(const SourceShape& shape, std::span<const std::uint8_t> sample) {
        if (shape.encoding == Encoding::Mjpg) return Decode(sample, shape.width, shape.height);
        return SourcePicture(shape, sample);
    }
    // The picture, valid until the next call; nothing when the frame is broken, cut off or of another size.
    // Frames may lack the Huffman tables, as those of webcams do.
    std::optional<SourcePicture> Decode(std::span<const std::uint8_t> frame, std::uint32_t width,
                                        std::uint32_t height);

  private:
    std::vector<std::uint8_t> buffers[3];
};

}  // namespace cam::driver
