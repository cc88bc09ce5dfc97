#include <algorithm>

#include "platform/desktop/camera_driver/row_kernels.h"

namespace cam::driver {
namespace {

void StoreWord(std::uint8_t* at, unsigned word) {
    at[0] = static_cast<std::uint8_t>(word);
    at[1] = static_cast<std::uint8_t>(word >> 8);
}

// A channel with eight fractional bits as its five highest.
unsigned FiveBits(int channel) {
    return static_cast<unsigned>(std::clamp(channel >> 11, 0, 31));
}

// BT.601 with eight fractional bits.
unsigned Rgb555OfYuv(int c, int d, int e) {
    const int luma = 298 * c + 128;
    return FiveBits(luma + 409 * e) << 10 | FiveBits(luma - 100 * d - 208 * e) << 5 |
           FiveBits(luma + 516 * d);
}

void Yuy2ToRgb555(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width, std::ptrdiff_t) {
    for (std::size_t x = 0; x < width; x += 2, row += 4, rgb += 4) {
        const int d = row[1] - 128;
        const int e = row[3] - 128;
        StoreWord(rgb, Rgb555OfYuv(row[0] - 16, d, e));
        if (x + 1 < width) StoreWord(rgb + 2, Rgb555OfYuv(row[2] - 16, d, e));
    }
}

void Nv12ToRgb555(std::uint8_t* rgb, const std::uint8_t* luma, const std::uint8_t* chroma, std::size_t width,
                  std::ptrdiff_t) {
    for (std::size_t x = 0; x < width; ++x, rgb += 2) {
        const std::uint8_t* const uv = chroma + x / 2 * 2;
        StoreWord(rgb, Rgb555OfYuv(luma[x] - 16, uv[0] - 128, uv[1] - 128));
    }
}

template <std::size_t kBytes>
void BgrToRgb555(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x, row += kBytes, rgb += 2)
        StoreWord(rgb, static_cast<unsigned>(row[2] >> 3 << 10 | row[1] >> 3 << 5 | row[0] >> 3));
}

void PlanarToYuy2(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* u, const std::uint8_t* v,
                  std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2, yuy2 += 4) {
        yuy2[0] = luma[x];
        yuy2[1] = u[x / 2];
        yuy2[2] = luma[std::min(x + 1, width - 1)];
        yuy2[3] = v[x / 2];
    }
}

void Nv12ToYuy2(std::uint8_t* yuy2, const std::uint8_t* luma, const std::uint8_t* chroma, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2, yuy2 += 4) {
        yuy2[0] = luma[x];
        yuy2[1] = chroma[x];
        yuy2[2] = luma[std::min(x + 1, width - 1)];
        yuy2[3] = chroma[x + 1];
    }
}

void FullToStudio(std::uint8_t* yuy2, std::size_t width) {
    for (std::size_t x = 0; x < width + width % 2; ++x, yuy2 += 2) {
        yuy2[0] = static_cast<std::uint8_t>((yuy2[0] * 220 + 16 * 256 + 128) >> 8);
        yuy2[1] = static_cast<std::uint8_t>((yuy2[1] * 225 + 16 * 256) >> 8);
    }
}

}  // namespace

const RowKernels kPlainRowKernels = {Yuy2ToRgb555, Nv12ToRgb555, BgrToRgb555<3>, BgrToRgb555<4>,
                                     Nv12ToYuy2,   PlanarToYuy2, FullToStudio};

}  // namespace cam::driver
