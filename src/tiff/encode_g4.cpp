#include "tiff/encode_g4.h"

#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

class RasterLines final : public G4Lines {
  public:
    RasterLines(std::span<const uint8_t> raster, uint32_t width)
        : next(raster.data()), lineBytes(width / 8) {}
    const uint8_t* Next() override {
        const uint8_t* const line = next;
        next += lineBytes;
        return line;
    }

  private:
    const uint8_t* next;
    const uint32_t lineBytes;
};

}  // namespace

uint8_t* BufferOutput::GoOn(uint8_t* end, uint32_t room) {
    const uint32_t used = Used(end);
    if (buffer.Capacity() - used < room) {
        const uint64_t wanted = uint64_t{buffer.Capacity()} + buffer.Capacity() / 2 + room;
        if (!buffer.IsGrowable() || wanted > UINT32_MAX - 2 || !buffer.SetLength(used)) return nullptr;
        buffer.Resize(static_cast<uint32_t>(wanted), false);
        if (buffer.Capacity() - used < room) return nullptr;
    }
    return buffer.Data() + used;
}

bool BufferOutput::Finish(uint8_t* end) {
    return buffer.SetLength(Used(end));
}

uint32_t BufferOutput::Used(const uint8_t* end) const {
    return end ? static_cast<uint32_t>(end - buffer.Data()) : 0;
}

bool EncodeG4(G4Lines& lines, uint32_t width, uint32_t rows, G4Output& output) {
    return kTiffKernels.Fastest().encodeG4(lines, width, rows, output);
}

bool EncodeG4(std::span<const uint8_t> raster, uint32_t width, uint32_t rows, ByteBuffer& output,
              EncodeG4Kernel* kernel) {
    if (uint64_t{width / 8} * rows > raster.size()) return false;
    RasterLines lines(raster, width);
    BufferOutput area(output);
    return kernel(lines, width, rows, area);
}

}  // namespace cam::tiff
