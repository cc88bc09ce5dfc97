#include "tiff/encode_g4.h"

#include "tiff/tiff_kernels.h"

namespace cam::tiff {

bool EncodeG4(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output) {
    return kTiffKernels.Fastest().encodeG4(raster, width, rows, output);
}

}  // namespace cam::tiff
