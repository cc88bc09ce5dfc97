#include "tiff/adaptive_threshold.h"

#include "tiff/threshold_ways.h"

namespace cam::tiff {
namespace {

ThresholdWay* FastestWay(uint32_t side) {
#if defined(__x86_64__) || defined(__i386__)
    if (side <= kVectorLargestSide && __builtin_cpu_supports("avx2")) return ThresholdAvx2;
    if (side <= kVectorLargestSide && __builtin_cpu_supports("sse2")) return ThresholdSse2;
#endif
    return side <= kWordLargestSide ? ThresholdWord : ThresholdPlain;
}

}  // namespace

bool AdaptiveThreshold(uint8_t* plane, uint32_t width, int32_t height, uint32_t bufferSize, float ratio) {
    ThresholdPlan plan;
    return PlanThreshold(plane, width, height, bufferSize, ratio, &plan) && FastestWay(plan.side)(plan);
}

}  // namespace cam::tiff
