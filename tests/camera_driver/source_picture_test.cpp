// Pictures as webcams send them, in frames for preview and stills.
#include "platform/desktop/camera_driver/source_picture.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <vector>

#include "base/frame.h"

using namespace cam::driver;

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::uint8_t kWhite = 235, kBlack = 16, kGrey = 128;

// Black, with a white row at `y` as it is seen.
Bytes RowPicture(const SourceShape& shape, std::uint32_t y) {
    Bytes bytes(shape.FrameBytes(), kGrey);
    const std::uint32_t row = shape.bottomUp ? shape.height - 1 - y : y;
    const bool isRgb = shape.encoding == Encoding::Rgb24 || shape.encoding == Encoding::Rgb32;
    const std::size_t stride =
        isRgb || shape.encoding == Encoding::Yuy2 ? bytes.size() / shape.height : shape.width;
    for (std::uint32_t line = 0; line < shape.height; ++line) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(line * stride);
        if (isRgb) {
            std::fill_n(begin, stride, line == row ? 255 : 0);
        } else if (shape.encoding == Encoding::Yuy2) {
            for (std::size_t x = 0; x < stride; x += 2)
                begin[static_cast<std::ptrdiff_t>(x)] = line == row ? kWhite : kBlack;
        } else {
            std::fill_n(begin, stride, line == row ? kWhite : kBlack);
        }
    }
    return bytes;
}

unsigned WordAt(const Bytes& frame, std::size_t at) {
    return frame[at] | frame[at + 1] << 8;
}

}  // namespace

TEST_CASE("every encoding, odd sizes and either direction of RGB come out upright") {
    constexpr SourceShape kShapes[] = {
        {Encoding::Yuy2, 7, 5, false},  {Encoding::Nv12, 7, 5, false},  {Encoding::I420, 7, 5, false},
        {Encoding::Rgb24, 7, 5, true},  {Encoding::Rgb24, 7, 5, false}, {Encoding::Rgb32, 7, 5, true},
        {Encoding::Rgb32, 7, 5, false}, {Encoding::Nv12, 8, 4, false},  {Encoding::I420, 64, 6, false}};
    for (const SourceShape& shape : kShapes) {
        CAPTURE(static_cast<int>(shape.encoding));
        CAPTURE(shape.bottomUp);
        const std::size_t stride = cam::RowStride(shape.width);
        for (std::uint32_t y = 0; y < shape.height; ++y) {
            const Bytes sample = RowPicture(shape, y);
            const SourcePicture picture(shape, sample);
            Bytes still(stride * shape.height), preview(stride * shape.height);
            MakeStill(picture, still.data());
            PreviewScaler(shape.width, shape.height).Draw(picture, preview.data());
            for (std::uint32_t line = 0; line < shape.height; ++line) {
                CAPTURE(line);
                for (std::uint32_t x = 0; x < shape.width; ++x) {
                    CHECK(still[line * stride + 2 * x] == (line == y ? kWhite : kBlack));
                    CHECK(WordAt(preview, (shape.height - 1 - line) * stride + 2 * x) ==
                          (line == y ? 0x7FFFu : 0u));
                }
            }
        }
    }
}

TEST_CASE("preview keeps the sides in proportion and leaves the rest black") {
    struct Fit {
        std::uint32_t sourceWidth, sourceHeight, left, top, width, height;
    };
    constexpr std::uint32_t kWidth = 64, kHeight = 48;
    constexpr Fit kFits[] = {{128, 96, 0, 0, 64, 48}, {128, 72, 0, 6, 64, 36}, {32, 24, 0, 0, 64, 48},
                             {48, 48, 8, 0, 48, 48},  {1000, 1, 0, 23, 64, 1}, {1, 1000, 31, 0, 1, 48}};
    PreviewScaler scaler(kWidth, kHeight);
    for (const Fit& fit : kFits) {
        CAPTURE(fit.sourceWidth);
        const SourceShape shape = {Encoding::Rgb32, fit.sourceWidth, fit.sourceHeight, false};
        const Bytes white(shape.FrameBytes(), 255);
        Bytes frame(2 * kWidth * kHeight, 0xAA);
        scaler.Draw(SourcePicture(shape, white), frame.data());
        int wrong = 0;
        for (std::uint32_t y = 0; y < kHeight; ++y) {
            for (std::uint32_t x = 0; x < kWidth; ++x) {
                const bool inside =
                    x >= fit.left && x < fit.left + fit.width && y >= fit.top && y < fit.top + fit.height;
                wrong += WordAt(frame, 2 * ((kHeight - 1 - y) * kWidth + x)) != (inside ? 0x7FFFu : 0u);
            }
        }
        CHECK(wrong == 0);
    }
}
