#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

constexpr uint32_t kAnySide = UINT32_MAX;
constexpr uint32_t kMaxFloatSide = 255;    // every sum is below 2^24, and so the same number as a float
constexpr uint32_t kMaxSignedSide = 2901;  // every sum is below 2^31, and so a signed number

constexpr TiffKernels kPlain = {ThresholdPlain, kAnySide, PackPixelsPlain, EncodeG4Plain};
constexpr TiffKernels kWord = {ThresholdWord, kMaxFloatSide, PackPixelsWord, EncodeG4Word};

#ifdef CAM_VECTOR_KERNELS
// Wider vectors or newer instructions make neither packing nor coding faster; coding wants 64-bit words.
#ifdef __x86_64__
constexpr EncodeG4Kernel* kVectorEncodeG4 = EncodeG4Sse2;
#else
constexpr EncodeG4Kernel* kVectorEncodeG4 = EncodeG4Word;
#endif
constexpr TiffKernels kSse2 = {ThresholdSse2, kMaxSignedSide, PackPixelsSse2, kVectorEncodeG4};
constexpr TiffKernels kAvx2 = {ThresholdAvx2, kMaxSignedSide, PackPixelsSse2, kVectorEncodeG4};
#endif

}  // namespace

const KernelTable<TiffKernels> kTiffKernels = {{
    &kPlain,
    &kWord,
#ifdef CAM_VECTOR_KERNELS
    &kSse2,
    &kAvx2,
#endif
}};

}  // namespace cam::tiff
