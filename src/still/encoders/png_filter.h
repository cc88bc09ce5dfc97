// Which of PNG's filters makes a picture's rows small.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "still/pixels/pixel_kernels.h"
#include "still/pixels/pixel_tables.h"

namespace cam::still {

enum class PngFilter : std::uint8_t { None = 0, Up = 2, Paeth = 4 };  // as they are stored

// Filters `count` bytes of a row of RGB888; 3 bytes before `row` and before `above`, which is the row above,
// are read as well.
void FilterPngRow(PngFilter filter, std::uint8_t* filtered, const std::uint8_t* row,
                  const std::uint8_t* above, std::size_t count, const PixelKernels& kernels);

// Looks at a part of one row of each group, and keeps the filter of the group before unless another one is
// clearly better.
class PngFilterChoice {
  public:
    // For the rows from the top on, each once. Overwrites `scratch`, which holds what is looked at of a row.
    PngFilter Next(const std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                   std::span<std::uint8_t> scratch, const PixelKernels& kernels);

  private:
    static constexpr unsigned kGroupRows = 8;
    static constexpr std::size_t kLookedAt =
        4095;  // bytes of the row: whole pixels; those further right in the next group

    unsigned rowOfGroup = 0;
    std::size_t start = 0;
    PngFilter chosen = PngFilter::Paeth;
};

}  // namespace cam::still
