// Any plane: the fast ways to threshold it give what the plain one gives.
#include <stdlib.h>

#include <vector>

#include "tiff/threshold_ways.h"

using namespace cam::tiff;

namespace {

std::vector<uint8_t> Threshold(ThresholdWay* way, std::vector<uint8_t> plane, uint32_t width, uint32_t rows,
                               float ratio) {
    ThresholdPlan plan;
    if (!PlanThreshold(plane.data(), width, static_cast<int32_t>(rows), static_cast<uint32_t>(plane.size()),
                       ratio, &plan) ||
        !way(plan))
        abort();
    return plane;
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
    if (Threshold(ThresholdWord, plane, width, rows, ratio) != expected) abort();
#if defined(__x86_64__) || defined(__i386__)
    if (Threshold(ThresholdSse2, plane, width, rows, ratio) != expected) abort();
    if (__builtin_cpu_supports("avx2") && Threshold(ThresholdAvx2, plane, width, rows, ratio) != expected)
        abort();
#endif
    return 0;
}
