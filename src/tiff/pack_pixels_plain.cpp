#include "tiff/tiff_kernels.h"

namespace cam::tiff {

void PackPixelsPlain(const uint8_t* pixels, uint32_t count, uint8_t* bits) {
    constexpr uint32_t kByteBits = 8;
    for (uint32_t x = 0; x < count; x += kByteBits, ++bits) {
        const uint32_t left = count - x < kByteBits ? count - x : kByteBits;
        uint32_t byte = 0;
        for (uint32_t i = 0; i < left; ++i, pixels += 2) {
            const bool black = (pixels[0] | pixels[1]) == 0;
            byte |= static_cast<uint32_t>(black) << (kByteBits - 1 - i);
        }
        *bits = static_cast<uint8_t>(byte);
    }
}

}  // namespace cam::tiff
