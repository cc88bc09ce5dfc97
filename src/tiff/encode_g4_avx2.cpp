#include "tiff/g4_x64.inl"

namespace cam::tiff {

bool EncodeG4Avx2(const uint8_t* raster, uint32_t rasterLength, uint32_t width, uint32_t rows,
                  ByteBuffer& output, uint32_t* outLength) {
    return EncodeG4With<WordScanner, LongSink>(raster, rasterLength, width, rows, output, outLength);
}

}  // namespace cam::tiff
