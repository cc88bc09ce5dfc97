// Compiled with the AVX2 instruction set; called only on processors that have it.
#include "tiff/threshold_simd.inl"

namespace cam::tiff {

bool ThresholdAvx2(const ThresholdPlan& plan) {
    return ThresholdWithVectors(plan);
}

}  // namespace cam::tiff
