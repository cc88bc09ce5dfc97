#include "tiff/threshold_simd.inl"

namespace cam::tiff {

bool ThresholdAvx2(const ThresholdPlan& plan) {
    return ThresholdWithVectors(plan);
}

}  // namespace cam::tiff
