// Compiled with the AVX2 instruction set; called only on processors that have it.
#include "still/pixels/pixel_routines.h"

#include "still/pixels/pixel_simd.inl"

namespace cam::still {

const PixelRoutines kAvx2Pixels = {Yuy2RowToRgb565, GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                   Rgb565RowToRgb888};

}  // namespace cam::still
