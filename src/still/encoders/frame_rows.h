// The rows of a finished frame in the order in which they are seen, and as the bytes that encoders take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "base/frame.h"

namespace cam::still {

struct FrameRows {
    const std::uint8_t* top = nullptr;  // first byte of the topmost row
    std::ptrdiff_t step = 0;            // bytes to the row below it
    std::uint32_t width = 0;            // RGB565 pixels
    std::uint32_t rows = 0;
};

// A positive height means that the lowest row comes first in memory.
inline FrameRows TopDown(const std::uint8_t* frame, std::int32_t width, std::int32_t height,
                         std::uint32_t stride) {
    const std::uint32_t rows = RowCount(height);
    const auto step = static_cast<std::ptrdiff_t>(stride);
    const auto columns = static_cast<std::uint32_t>(width);
    if (height <= 0) return {frame, step, columns, rows};
    return {frame + (rows - 1) * static_cast<std::size_t>(stride), -step, columns, rows};
}

// The one row that is RGB888 at a time; null when there is no memory. A size that cannot be expressed is
// asked for as the largest one, which fails.
inline std::unique_ptr<std::uint8_t[]> MakeRgbRow(std::uint32_t width) {
    constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
    const std::size_t bytes = width > kLargest / 3 ? kLargest : std::size_t{width} * 3;
    return std::unique_ptr<std::uint8_t[]>(new (std::nothrow) std::uint8_t[bytes]);
}

}  // namespace cam::still
