// What the camera shows: a chart whose every pixel is known.
#include "emulator/graph/filters.h"

#include <cstring>

namespace ce {

u16 ChartWord(i32 x, i32 row) {
    return static_cast<u16>((x / 4 % 32) << 11 | (row / 2 % 64) << 5 | ((x + row) / 8 % 32));
}

ChartYuv ChartLuma(i32 x, i32 row) {
    const bool dark = x / 10 % 2 == row / 10 % 2;
    return {static_cast<u8>(dark ? 20 + x % 30 : 200 + row % 40), static_cast<u8>(96 + x / 2 % 64),
            static_cast<u8>(96 + row / 2 % 64)};
}

// Rows are numbered as they lie in memory.
void PaintChart(u8* bytes, const VideoFormat& format, u32 number) {
    for (i32 row = 0; row < std::abs(format.height); ++row) {
        u8* line = bytes + static_cast<size_t>(row) * format.Stride();
        // Two pixels share their colour, also where the second lies beyond the picture.
        for (i32 x = 0; x < (format.subtype == kSubtypeYuy2 ? (format.width + 1) / 2 * 2 : format.width);
             ++x) {
            if (format.subtype == kSubtypeYuy2) {
                const ChartYuv pair = ChartLuma(x / 2 * 2, row);
                line[2 * x] = ChartLuma(x, row).y;
                line[2 * x + 1] = x % 2 == 0 ? pair.u : pair.v;
            } else {
                u16 word = ChartWord(x, row);
                if (format.subtype == kSubtype555) word = static_cast<u16>((word + number) & 0x7FFF);
                std::memcpy(line + 2 * x, &word, 2);
            }
        }
    }
}

}  // namespace ce
