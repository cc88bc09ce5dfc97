#include "tiff/threshold_simd.inl"

namespace cam::tiff {

bool ThresholdSse2(const ThresholdPlan& plan) {
    return ThresholdWithVectors(plan);
}

}  // namespace cam::tiff
