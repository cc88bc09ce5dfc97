// Any raster: every kernel gives the same bytes, and libtiff finds the raster in them.
#include <stdlib.h>

#include <algorithm>

#include "tiff/encode_g4.h"
#include "libtiff_peer.h"
#include "tiff/tiff_kernels.h"

using namespace cam::tiff;

namespace {

std::vector<uint8_t> Encode(EncodeG4Kernel* encode, const std::vector<uint8_t>& bits, uint32_t width,
                            uint32_t rows) {
    ByteBuffer output(0, true);
    if (!EncodeG4(bits, width, rows, output, encode)) abort();
    return {output.Data(), output.Data() + output.Length()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Two bytes for the width, the rest is the raster.
    if (size < 3) return 0;
    const uint32_t lineBytes = (data[0] | uint32_t{data[1]} << 8) % (kG4MaxWidth / 8) + 1;
    const std::vector<uint8_t> given(data + 2, data + size);
    const auto rows = static_cast<uint32_t>((given.size() + lineBytes - 1) / lineBytes);
    std::vector<uint8_t> bits(size_t{lineBytes} * rows);
    std::copy(given.begin(), given.end(), bits.begin());
    const uint32_t width = lineBytes * 8;

    const std::vector<uint8_t> expected = Encode(EncodeG4Plain, bits, width, rows);
    if (cam::peer::LibtiffDecodeG4(expected.data(), expected.size(), width, rows) != bits) abort();
    for (const cam::InstructionSet set : cam::kInstructionSets) {
        const TiffKernels* kernels = kTiffKernels.For(set);
        if (kernels && Encode(kernels->encodeG4, bits, width, rows) != expected) abort();
    }
    return 0;
}
