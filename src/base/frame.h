// One picture in memory: its bytes, its measures and which way up it stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace cam {

// How many rows a signed height stands for.
constexpr std::uint32_t RowCount(std::int32_t height) {
    return height < 0 ? 0u - static_cast<std::uint32_t>(height) : static_cast<std::uint32_t>(height);
}

// Bytes from row to row: whole bytes a pixel, rows padded to a multiple of 4. A media type's stride is what
// 32 bits keep of it, also for a width below 0.
constexpr std::uint64_t RowStride(std::uint32_t width, std::uint32_t bitsPerPixel = 16) {
    return (std::uint64_t{width} * (bitsPerPixel / 8) + 3) & ~std::uint64_t{3};
}

// A view: copied freely, owns nothing. Where the format asks for a stride that is shorter than a row's
// pixels, rows overlap, and the last one reaches past size().
template <typename Byte>
struct BasicFrame {
    std::span<Byte> bytes;     // from the first row in memory on; empty where only the measures are known
    std::int32_t width = 0;    // pixels
    std::int32_t height = 0;   // rows; positive: bottom-up, the lowest row comes first in memory
    std::uint32_t stride = 0;  // bytes from row to row

    std::uint32_t rows() const { return RowCount(height); }
    bool isBottomUp() const { return height > 0; }
    std::uint64_t size() const { return std::uint64_t{rows()} * stride; }

    // From the first byte of row `y` to the end of the frame, counted in memory, and from the top as it is
    // seen.
    std::span<Byte> MemoryRow(std::uint32_t y) const { return bytes.subspan(std::size_t{y} * stride); }
    std::span<Byte> Row(std::uint32_t y) const { return MemoryRow(isBottomUp() ? rows() - 1 - y : y); }

    operator BasicFrame<const Byte>() const requires(!std::is_const_v<Byte>) {
        return {bytes, width, height, stride};
    }
};

using Frame = BasicFrame<std::uint8_t>;
using ConstFrame = BasicFrame<const std::uint8_t>;

}  // namespace cam
