#include "still/pixels/pixel_routines.h"

#include "still/pixels/pixel_simd.inl"

namespace cam::still {

const PixelRoutines kSse2Pixels = {Yuy2RowToRgb565, GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                   Rgb565RowToRgb888};

}  // namespace cam::still
