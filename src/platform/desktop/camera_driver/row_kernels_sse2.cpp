// Compiled with the SSE2 instruction set; called only on processors that have it.
#include "platform/desktop/camera_driver/row_kernels.h"

#include "platform/desktop/camera_driver/row_kernels_simd.inl"

namespace cam::driver {

const RowKernels kSse2RowKernels = {Yuy2ToRgb555, Nv12ToRgb555, Bgr24ToRgb555, Bgr32ToRgb555,
                                    Nv12ToYuy2,   PlanarToYuy2, FullToStudio};

}  // namespace cam::driver
