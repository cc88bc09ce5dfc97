// The one row of a picture that is 24-bit RGB at a time, for the libraries that take nothing else.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace cam::still {

// Null when there is no memory. A size that cannot be expressed is asked for as the largest one, which fails.
inline std::unique_ptr<std::uint8_t[]> MakeRgbRow(std::uint32_t width) {
    constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
    const std::size_t bytes = width > kLargest / 3 ? kLargest : std::size_t{width} * 3;
    return std::unique_ptr<std::uint8_t[]>(new (std::nothrow) std::uint8_t[bytes]);
}

}  // namespace cam::still
