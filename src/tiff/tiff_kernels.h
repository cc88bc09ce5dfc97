// The kernels of bilevel TIFF files.
#pragma once

#include <stdint.h>

#include "base/processor.h"
#include "tiff/encode_g4.h"

namespace cam::tiff {

struct ThresholdPlan;

// Replaces a plane by black and white. Takes a checked plan with a window that suits the kernel. False, and
// nothing changed, when there is no memory.
using ThresholdKernel = bool(const ThresholdPlan& plan);

// Stores one bit for each of `count` 16-bit words, the most significant bit first: 1 for a word of 0, else 0.
// The last byte is filled up with 0. `pixels` is aligned to 2 bytes; `bits` takes (count + 7) / 8 bytes. The
// two must not overlap.
using PackPixelsKernel = void(const uint8_t* pixels, uint32_t count, uint8_t* bits);

struct TiffKernels {
    ThresholdKernel* threshold;
    uint32_t maxThresholdSide;  // of the window, in pixels
    PackPixelsKernel* packPixels;
    EncodeG4Kernel* encodeG4;
};

// What stands in the table below.

ThresholdKernel ThresholdPlain;  // pixel by pixel, over an integral image kept in a ring of rows
ThresholdKernel ThresholdWord;   // whole numbers only
PackPixelsKernel PackPixelsPlain;
PackPixelsKernel PackPixelsWord;
EncodeG4Kernel
    EncodeG4Plain;  // step by step after T.6, a byte of the raster and a bit of the output at a time
EncodeG4Kernel EncodeG4Word;
#ifdef CAM_VECTOR_KERNELS
ThresholdKernel ThresholdSse2;
ThresholdKernel ThresholdAvx2;
PackPixelsKernel PackPixelsSse2;
EncodeG4Kernel EncodeG4Sse2;  // 64-bit processors only
#endif

inline constexpr uint32_t kAnySide = UINT32_MAX;
inline constexpr uint32_t kMaxFloatSide = 255;  // every sum is below 2^24, and so the same number as a float
inline constexpr uint32_t kMaxSignedSide = 2901;  // every sum is below 2^31, and so a signed number
static_assert(255ULL * kMaxSignedSide * kMaxSignedSide < 1ULL << 31 &&
              255ULL * (kMaxSignedSide + 1) * (kMaxSignedSide + 1) >= 1ULL << 31);

inline constexpr TiffKernels kPlainTiffKernels = {ThresholdPlain, kAnySide, PackPixelsPlain, EncodeG4Plain};
inline constexpr TiffKernels kWordTiffKernels = {ThresholdWord, kMaxFloatSide, PackPixelsWord, EncodeG4Word};

#ifdef CAM_VECTOR_KERNELS
// Wider vectors or newer instructions make neither packing nor coding faster; coding wants 64-bit words.
#ifdef __x86_64__
inline constexpr EncodeG4Kernel* kVectorEncodeG4 = EncodeG4Sse2;
#else
inline constexpr EncodeG4Kernel* kVectorEncodeG4 = EncodeG4Word;
#endif
inline constexpr TiffKernels kSse2TiffKernels = {ThresholdSse2, kMaxSignedSide, PackPixelsSse2,
                                                 kVectorEncodeG4};
inline constexpr TiffKernels kAvx2TiffKernels = {ThresholdAvx2, kMaxSignedSide, PackPixelsSse2,
                                                 kVectorEncodeG4};
#endif

// A constant, so that a build which can choose at compile time holds no kernel but the chosen one.
inline constexpr KernelTable<TiffKernels> kTiffKernels = {{
    &kPlainTiffKernels,
    &kWordTiffKernels,
#ifdef CAM_VECTOR_KERNELS
    &kSse2TiffKernels,
    &kAvx2TiffKernels,
#endif
}};

}  // namespace cam::tiff
