#include <doctest/doctest.h>

#include <string.h>

#include "guarded_memory.h"
#include "tiff/byte_buffer.h"
#include "tiff/sample_rasters.h"
#include "tiff/tiff_kernels.h"

using namespace cam;
using namespace cam::tiff;
using cam::test::GuardedMemory;

TEST_CASE("every kernel packs pixels into the bits that the bit writer would give") {
    constexpr uint16_t kWords[] = {0, 0, 0, 0xFFFF, 0xFFFF, 1, 0x0100, 0x8000, 0x00FF, 0xFF00};
    test::Random random(11);
    for (uint32_t count = 0; count <= 200; ++count) {
        for (size_t offset : {size_t{0}, size_t{2}}) {  // aligned to words, and not
            const GuardedMemory pixels(count * 2 + (offset ? 0 : (4 - count * 2 % 4) % 4));
            ByteBuffer expected(64, false);
            for (uint32_t x = 0; x < count; ++x) {
                const uint16_t word = kWords[random.Below(10)];
                memcpy(pixels.data() + 2 * x, &word, 2);
                expected.PutBits(word == 0, 1);
            }
            expected.PadToByte(0);
            for (const InstructionSet set : kInstructionSets) {
                const TiffKernels* kernels = kTiffKernels.For(set);
                if (!kernels) continue;
                CAPTURE(NameOf(set));
                CAPTURE(count);
                const GuardedMemory bits((count + 7) / 8);
                kernels->packPixels(pixels.data(), count, bits.data());
                CHECK(memcmp(bits.data(), expected.Data(), bits.size()) == 0);
            }
        }
    }
}
