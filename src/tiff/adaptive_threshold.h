// Black or white by comparison with the mean of the surroundings.
#pragma once

#include <stdint.h>

#include <span>

namespace cam::tiff {

// Replaces each sample by 0 (black) or 255 (white): black when it is below (1 - ratio) times the mean of the
// square around it, whose side is an eighth of the picture's smaller side and which is clipped at the
// picture's borders.
//
// `buffer`: begins with |height| rows of `width` samples without padding, also the output; what lies past the
// samples may be used as scratch.
// `ratio`: 0 to 1.
//
// False, and the samples untouched, for a null buffer, an empty picture, a buffer too small, a ratio outside
// its range, or too little memory. The size test takes the height as it is given, so that a negative height
// is refused. Any thread; no state is shared.
bool AdaptiveThreshold(std::span<uint8_t> buffer, uint32_t width, int32_t height, float ratio);

}  // namespace cam::tiff
