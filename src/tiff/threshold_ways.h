// The ways to threshold a plane. All give the same plane, and all take a checked plan.
#pragma once

#include "tiff/threshold_plan.h"

namespace cam::tiff {

// False, and nothing changed, when there is no memory.
using ThresholdWay = bool(const ThresholdPlan& plan);

// Pixel by pixel, over an integral image kept in a ring of rows: what the others are compared with.
ThresholdWay ThresholdPlain;

// Whole numbers only. Needs a window of at most kWordLargestSide.
ThresholdWay ThresholdWord;
constexpr uint32_t kWordLargestSide = 255;  // every sum is below 2^24, and so the same number as a float

#if defined(__x86_64__) || defined(__i386__)
// Vectors. Need a window of at most kVectorLargestSide; call the second one only on a processor with AVX2.
ThresholdWay ThresholdSse2;
ThresholdWay ThresholdAvx2;
constexpr uint32_t kVectorLargestSide = 2901;  // every sum is below 2^31, and so a signed number
#endif

}  // namespace cam::tiff
