#include "tiff/encode_g4.h"

#include "tiff/encode_g4_ways.h"

namespace cam::tiff {

bool EncodeG4(const uint8_t* raster, uint32_t rasterLength, uint32_t width, uint32_t rows, ByteBuffer& output,
              uint32_t* outLength) {
#ifdef __x86_64__
    EncodeG4Way* const way = EncodeG4Sse2;
#else
    EncodeG4Way* const way = EncodeG4Word;
#endif
    return way(raster, rasterLength, width, rows, output, outLength);
}

}  // namespace cam::tiff
