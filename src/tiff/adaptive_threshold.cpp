#include "tiff/adaptive_threshold.h"

#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {

bool AdaptiveThreshold(std::span<uint8_t> buffer, uint32_t width, int32_t height, float ratio) {
    const auto plan = PlanThreshold(buffer, width, height, ratio);
    if (!plan) return false;
    const auto reachesFarEnough = [&](const TiffKernels& kernels) {
        return plan->side <= kernels.maxThresholdSide;
    };
    return kTiffKernels.Fastest(reachesFarEnough).threshold(*plan);
}

}  // namespace cam::tiff
