#include "still/pixels/pixel_kernels.h"

namespace cam::still {

const KernelTable<PixelKernels> kPixelKernels = {{
    &kPlainPixelKernels,
    &kWordPixelKernels,
#ifdef CAM_VECTOR_KERNELS
    &kSse2PixelKernels,
    &kAvx2PixelKernels,
#endif
}};

}  // namespace cam::still
