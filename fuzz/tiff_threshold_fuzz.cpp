// Any plane: the fast kernels make of it what the plain one makes, and pack that alike.
#include <stdlib.h>

#include <vector>

#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

using namespace cam::tiff;

namespace {

std::vector<uint8_t> Threshold(ThresholdKernel* kernel, std::vector<uint8_t> plane, uint32_t width,
                               uint32_t rows, float ratio) {
    const auto plan = PlanThreshold(plane, width, static_cast<int32_t>(rows), ratio);
    if (!plan || !kernel(*plan)) abort();
    return plane;
}

std::vector<uint8_t> Pack(PackPixelsKernel* kernel, const std::vector<uint8_t>& plane) {
    const auto count = static_cast<uint32_t>(plane.size() / 2);
    std::vector<uint8_t> bits((count + 7) / 8);
    kernel(plane.data(), count, bits.data());
    return bits;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Width, rows, ratio in percent; the samples repeat until the plane is full.
    if (size < 4) return 0;
    const uint32_t width = data[0] + 1u, rows = data[1] + 1u;
    const float ratio = static_cast<float>(data[2] % 101) / 100.0f;
    std::vector<uint8_t> plane(size_t{width} * rows);
    for (size_t i = 0; i < plane.size(); ++i) plane[i] = data[3 + i % (size - 3)];

    const std::vector<uint8_t> expected = Threshold(ThresholdPlain, plane, width, rows, ratio);
    const std::vector<uint8_t> packed = Pack(PackPixelsPlain, expected);
    for (const cam::InstructionSet set : cam::kInstructionSets) {
        const TiffKernels* kernels = kTiffKernels.For(set);
        if (!kernels) continue;
        if (Threshold(kernels->threshold, plane, width, rows, ratio) != expected) abort();
        if (Pack(kernels->packPixels, expected) != packed) abort();
    }
    return 0;
}
