// Positions and colours of a stamped text, as applications give them.
#pragma once

#include <cstdint>

namespace tables {

inline constexpr std::uint32_t kPositions[] = {0, 1, 2, 4, 5, 6, 8, 9, 10};
inline constexpr std::uint32_t kNoPositions[] = {3, 7, 11, 12, 16, 0x80000000, 0xFFFFFFFF};

// The imager library has positions of its own, and one for all that mean none of them.
struct ImagerPosition {
    std::uint32_t asked, stamped;
};
inline constexpr ImagerPosition kImagerPositions[] = {{0, 0},  {1, 4},  {2, 1},  {3, 6},         {4, 6},
                                                      {5, 6},  {6, 6},  {7, 6},  {8, 3},         {9, 5},
                                                      {10, 2}, {11, 6}, {12, 6}, {0xFFFFFFFF, 6}};

// By the code of a background or an outline, blue in the high byte. 0 is the inverse of the text's colour,
// and 15 is none.
inline constexpr std::uint32_t kColors[16] = {0,        0x000000, 0x808080, 0xC0C0C0, 0xFFFFFF, 0x0000FF,
                                              0xFF00FF, 0x00A5FF, 0x00FFFF, 0x2A2AA5, 0x00FF00, 0xFF0000,
                                              0xFFFF00, 0xEE82EE, 0x000000, 0x000000};

}  // namespace tables
