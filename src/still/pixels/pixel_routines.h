// The row routines behind the pixel conversions: a plain set that says what the others must give, bit for
// bit, and faster sets.
#pragma once

#include <cstddef>
#include <cstdint>

namespace cam::still {

// Rows of `width` pixels. 16-bit pixels are little-endian words; YUY2 is Y0 U Y1 V for each pair of pixels.
// No alignment is asked for. A routine touches the bytes of its pixels only: 2 * width bytes of an RGB565 row
// (a YUY2 row has whole pairs), width bytes of grey, 3 * width bytes of RGB888.
struct PixelRoutines {
    // In place. An odd width ends with half a pair: its second pixel's bytes stay as they are.
    void (*yuy2RowToRgb565)(std::uint8_t* row, std::size_t width);
    // `grey` may be the row itself or lie anywhere before it, overlapping.
    void (*gatherLumaRow)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);
    void (*rgb565RowToGrey)(std::uint8_t* grey, const std::uint8_t* row, std::size_t width);
    // Backwards: `row` may be the grey bytes themselves or lie anywhere behind their start, overlapping.
    void (*expandGreyRow)(std::uint8_t* row, const std::uint8_t* grey, std::size_t width);
    // Bytes R, G, B. The two rows must not overlap.
    void (*rgb565RowToRgb888)(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width);
};

enum class PixelLevel {
    Plain,
    Word,  // 32-bit words, tables and no vectors: processors without SIMD
    Sse2,
    Avx2,
};

// Null when this build or this processor does not have the level. Any thread.
const PixelRoutines* PixelRoutinesAt(PixelLevel level);

// The fastest set that this processor has. Any thread.
const PixelRoutines& FastPixels();

// The sets themselves; the vector sets exist in builds for x86 only.
extern const PixelRoutines kPlainPixels;
extern const PixelRoutines kWordPixels;
extern const PixelRoutines kSse2Pixels;
extern const PixelRoutines kAvx2Pixels;

}  // namespace cam::still
