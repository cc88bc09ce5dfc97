#include "tiff/adaptive_threshold.h"

#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {

bool AdaptiveThreshold(uint8_t* plane, uint32_t width, int32_t height, uint32_t bufferSize, float ratio) {
    ThresholdPlan plan;
    if (!PlanThreshold(plane, width, height, bufferSize, ratio, &plan)) return false;
    const auto reachesFarEnough = [&](const TiffKernels& kernels) {
        return plan.side <= kernels.maxThresholdSide;
    };
    return kTiffKernels.Fastest(reachesFarEnough).threshold(plan);
}

}  // namespace cam::tiff
