// The row kernels that turn what webcams send into preview and still pictures.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/processor.h"

namespace cam::driver {

// Rows of `width` pixels; the rows of one call must not overlap. 16-bit pixels are little-endian words; YUY2
// is Y0 U Y1 V for each pair of pixels, and its rows have whole pairs. No alignment is asked for. A kernel
// touches the bytes of its pixels only. `nextRgb` is the way in bytes to the row that will be written next:
// its memory is fetched meanwhile; whether there is such a row makes no difference but to the time.
struct RowKernels {
    // BT.601 of the studio range, cut to 5 bits each.
    void (*yuy2ToRgb555)(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width,
                         std::ptrdiff_t nextRgb);
    void (*nv12ToRgb555)(std::uint8_t* rgb, const std::uint8_t* luma, const std::uint8_t* chroma,
                         std::size_t width, std::ptrdiff_t nextRgb);
    // Pixels of B, G, R, and of B, G, R and a byte that does not count.
    void (*bgr24ToRgb555)(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width);
    void (*bgr32ToRgb555)(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width);
    // A luma row and the chroma row that belongs to it: U and V in turn, or a row of each.
    void (*nv12ToYuy2)(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* chroma,
                       std::size_t width);
    void (*planarToYuy2)(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* u,
                         const std::uint8_t* v, std::size_t width);
    // In place: from the full range of JPEG pictures to the studio range.
    void (*fullToStudio)(std::uint8_t* yuy2, std::size_t width);
};

// The plain set also does what the others leave over at the end of a row.
extern const RowKernels kPlainRowKernels;
#ifdef CAM_VECTOR_KERNELS
extern const RowKernels kSse2RowKernels;
extern const RowKernels kAvx2RowKernels;
#endif

// The driver is the desktop's alone, whose processors all have vectors: there is nothing between them and the
// plain set.
inline constexpr KernelTable<RowKernels> kRowKernels = {{
    &kPlainRowKernels,
    &kPlainRowKernels,
#ifdef CAM_VECTOR_KERNELS
    &kSse2RowKernels,
    &kAvx2RowKernels,
#endif
}};

}  // namespace cam::driver
