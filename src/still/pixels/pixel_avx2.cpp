// Compiled with the AVX2 instruction set; called only on processors that have it.
#include "still/pixels/pixel_kernels.h"

#include "still/pixels/pixel_ycc_simd.inl"

namespace cam::still {

const PixelKernels kAvx2PixelKernels = {Yuy2RowToRgb565,   GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                        Rgb565RowToRgb888, UpFilterRow,   PaethFilterRow,  Rgb565RowsToYcc};

}  // namespace cam::still
