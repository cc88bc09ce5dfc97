#include "still/pixels/pixel_kernels.h"

#include "still/pixels/pixel_ycc_simd.inl"

namespace cam::still {

const PixelKernels kSse2PixelKernels = {Yuy2RowToRgb565,   GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                        Rgb565RowToRgb888, UpFilterRow,   PaethFilterRow,  Rgb565RowsToYcc};

}  // namespace cam::still
