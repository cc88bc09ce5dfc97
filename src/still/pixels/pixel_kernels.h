// The row kernels of the pixel conversions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/processor.h"

namespace cam::still {

// Where two rows go as luma, and their squares of four pixels as blue and red difference.
struct YccRows {
    std::uint8_t* luma[2];
    std::uint8_t* cb;
    std::uint8_t* cr;
};
constexpr std::size_t kYccPixels = 16;  // whole runs of so many

// Rows of `width` pixels. 16-bit pixels are little-endian words; YUY2 is Y0 U Y1 V for each pair of pixels.
// No alignment is asked for. A kernel touches the bytes of its pixels only: 2 * width bytes of an RGB565 row
// (a YUY2 row has whole pairs), width bytes of grey, 3 * width bytes of RGB888.
struct PixelKernels {
    // In place. An odd width ends with half a pair: its second pixel's bytes stay as they are.
    void (*yuy2RowToRgb565)(std::uint8_t* row, std::size_t width);
    // `grey` may be the row itself or lie anywhere before it, overlapping.
    void (*gatherLumaRow)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);
    void (*rgb565RowToGrey)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);
    // Backwards: `row` may be the grey bytes themselves or lie anywhere past their start, overlapping.
    void (*expandGreyRow)(std::uint8_t* row, const std::uint8_t* grey, std::size_t width);
    // Bytes R, G, B. The two rows must not overlap.
    void (*rgb565RowToRgb888)(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width);
    // The filters Up and Paeth of PNG (section 9.2) over `count` bytes of RGB888 rows. `above` is the row
    // above; of both rows 3 bytes before the first one are read as well by Paeth. `filtered` must not overlap
    // them.
    void (*upFilterRow)(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                        std::size_t count);
    void (*paethFilterRow)(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                           std::size_t count);
    // Bit for bit what libjpeg makes of RGB888 rows: the colours of each pixel rounded (JFIF 1.02), then the
    // mean of four with halves rounded up in every second column. `width` is a multiple of kYccPixels; both
    // rows may be the same one.
    void (*rgb565RowsToYcc)(const YccRows& to, const std::uint8_t* upper, const std::uint8_t* lower,
                            std::size_t width);
};

// The sets of the table. The plain one also does what the others leave over at the end of a row.
extern const PixelKernels kPlainPixelKernels;
extern const PixelKernels kWordPixelKernels;
#ifdef CAM_VECTOR_KERNELS
extern const PixelKernels kSse2PixelKernels;
extern const PixelKernels kAvx2PixelKernels;
#endif

// A constant, so that a build which can choose at compile time holds no kernel but the chosen one.
inline constexpr KernelTable<PixelKernels> kPixelKernels = {{
    &kPlainPixelKernels,
    &kWordPixelKernels,
#ifdef CAM_VECTOR_KERNELS
    &kSse2PixelKernels,
    &kAvx2PixelKernels,
#endif
}};

}  // namespace cam::still
