// Signed picture heights: positive for rows stored bottom-up, negative for top-down.
#pragma once

#include <stdint.h>

namespace cam {

// How many rows a signed height stands for.
constexpr uint32_t RowCount(int32_t height) {
    return height < 0 ? 0u - static_cast<uint32_t>(height) : static_cast<uint32_t>(height);
}

}  // namespace cam
