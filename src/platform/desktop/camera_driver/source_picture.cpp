#include "platform/desktop/camera_driver/source_picture.h"

#include <algorithm>
#include <cstring>

#include "base/frame.h"
#include "platform/desktop/camera_driver/row_kernels.h"

namespace cam::driver {
namespace {

const RowKernels& Kernels() {
    static constinit const RowKernels* fastest = nullptr;
    if (!fastest) fastest = &kRowKernels.Fastest();  // the same whoever finds it
    return *fastest;
}

constexpr unsigned kBitsOf24 = 24;

std::size_t Half(std::uint32_t length) {
    return (std::size_t{length} + 1) / 2;
}

// BT.601, studio range.
std::uint8_t Luma(const std::uint8_t* bgr) {
    return static_cast<std::uint8_t>(((66 * bgr[2] + 129 * bgr[1] + 25 * bgr[0] + 128) >> 8) + 16);
}

// Two pixels share their chroma; the last pixel of an odd row is its own neighbour.
void BgrToYuy2(std::uint8_t* out, const std::uint8_t* row, std::uint32_t width, std::size_t bytes) {
    for (std::uint32_t x = 0; x < width; x += 2, out += 4) {
        const std::uint8_t* const left = row + x * bytes;
        const std::uint8_t* const right = x + 1 < width ? left + bytes : left;
        const int blue = left[0] + right[0], green = left[1] + right[1], red = left[2] + right[2];
        out[0] = Luma(left);
        out[1] = static_cast<std::uint8_t>(((-38 * red - 74 * green + 112 * blue + 256) >> 9) + 128);
        out[2] = Luma(right);
        out[3] = static_cast<std::uint8_t>(((112 * red - 94 * green - 18 * blue + 256) >> 9) + 128);
    }
}

}  // namespace

std::size_t SourceShape::FrameBytes() const {
    switch (encoding) {
        case Encoding::Nv12:
        case Encoding::I420:
            return std::size_t{width} * height + 2 * Half(width) * Half(height);
        case Encoding::Yuy2:
            return 4 * Half(width) * height;
        case Encoding::Rgb24:
            return RowStride(width, kBitsOf24) * height;
        case Encoding::Rgb32:
            return std::size_t{width} * 4 * height;
        case Encoding::Mjpg:
            break;
    }
    return 0;
}

SourcePicture::SourcePicture(const SourceShape& of, std::span<const std::uint8_t> sample) : shape(of) {
    const std::uint8_t* const bytes = sample.data();
    const std::size_t luma = std::size_t{shape.width} * shape.height;
    planes.rows[0] = bytes;
    planes.halfHeightChroma = true;
    switch (shape.encoding) {
        case Encoding::Nv12:
            planes.strides[0] = shape.width;
            planes.rows[1] = bytes + luma;
            planes.strides[1] = 2 * Half(shape.width);
            break;
        case Encoding::I420:
            planes.strides[0] = shape.width;
            planes.rows[1] = bytes + luma;
            planes.rows[2] = planes.rows[1] + Half(shape.width) * Half(shape.height);
            planes.strides[1] = planes.strides[2] = Half(shape.width);
            break;
        default:
            planes.strides[0] = shape.height ? shape.FrameBytes() / shape.height : 0;
            break;
    }
}

const std::uint8_t* SourcePicture::Row(int plane, std::uint32_t y) const {
    const std::uint32_t seen = shape.bottomUp ? shape.height - 1 - y : y;
    return planes.rows[plane] + (plane && planes.halfHeightChroma ? seen / 2 : seen) * planes.strides[plane];
}

void SourcePicture::ReadYuy2Row(std::uint32_t y, std::uint8_t* out) const {
    const RowKernels& kernels = Kernels();
    switch (shape.encoding) {
        case Encoding::Yuy2:
            std::memcpy(out, Row(0, y), 4 * Half(shape.width));
            break;
        case Encoding::Nv12:
            kernels.nv12ToYuy2(out, Row(0, y), Row(1, y), shape.width);
            break;
        case Encoding::I420:
        case Encoding::Mjpg:
            kernels.planarToYuy2(out, Row(0, y), Row(1, y), Row(2, y), shape.width);
            break;
        case Encoding::Rgb24:
            BgrToYuy2(out, Row(0, y), shape.width, 3);
            break;
        case Encoding::Rgb32:
            BgrToYuy2(out, Row(0, y), shape.width, 4);
            break;
    }
    if (planes.fullRange) kernels.fullToStudio(out, shape.width);
}

void SourcePicture::ReadRgb555Row(std::uint32_t y, std::uint8_t* out, std::uint8_t* scratch,
                                  std::ptrdiff_t nextOut) const {
    const RowKernels& kernels = Kernels();
    switch (shape.encoding) {
        case Encoding::Rgb24:
            kernels.bgr24ToRgb555(out, Row(0, y), shape.width);
            break;
        case Encoding::Rgb32:
            kernels.bgr32ToRgb555(out, Row(0, y), shape.width);
            break;
        case Encoding::Yuy2:
            kernels.yuy2ToRgb555(out, Row(0, y), shape.width, nextOut);
            break;
        case Encoding::Nv12:
            kernels.nv12ToRgb555(out, Row(0, y), Row(1, y), shape.width, nextOut);
            break;
        default:
            ReadYuy2Row(y, scratch);
            kernels.yuy2ToRgb555(out, scratch, shape.width, nextOut);
            break;
    }
}

void MakeStill(const SourcePicture& picture, std::uint8_t* out) {
    const std::size_t stride = RowStride(picture.Shape().width);
    for (std::uint32_t y = 0; y < picture.Shape().height; ++y) picture.ReadYuy2Row(y, out + y * stride);
}

// The picture touches the frame's sides in one direction at least. Without memory nothing is measured: the
// next frame begins anew.
void PreviewScaler::Measure(std::uint32_t width, std::uint32_t height) {
    sourceWidth = sourceHeight = 0;
    const std::uint64_t across = std::uint64_t{frameWidth} * height,
                        down = std::uint64_t{frameHeight} * width;
    shownWidth =
        across <= down ? frameWidth : std::max<std::uint32_t>(1, static_cast<std::uint32_t>(down / height));
    shownHeight =
        across <= down ? std::max<std::uint32_t>(1, static_cast<std::uint32_t>(across / width)) : frameHeight;
    left = (frameWidth - shownWidth) / 2;
    top = (frameHeight - shownHeight) / 2;
    columns.resize(shownWidth);
    for (std::uint32_t x = 0; x < shownWidth; ++x)
        columns[x] = static_cast<std::uint32_t>((2 * std::uint64_t{x} + 1) * width / (2 * shownWidth));
    row.resize(4 * Half(width));
    scratch.resize(4 * Half(width));
    sourceWidth = width;
    sourceHeight = height;
}

void PreviewScaler::Draw(const SourcePicture& picture, std::uint8_t* frame) {
    const SourceShape& shape = picture.Shape();
    if (shape.width != sourceWidth || shape.height != sourceHeight) Measure(shape.width, shape.height);
    const std::size_t stride = RowStride(frameWidth);
    const bool sameSize = shape.width == frameWidth && shape.height == frameHeight;
    std::uint32_t inRow = shape.height;  // none yet
    for (std::uint32_t y = 0; y < frameHeight; ++y) {
        std::uint8_t* const out = frame + (frameHeight - 1 - y) * stride;
        if (sameSize) {
            picture.ReadRgb555Row(y, out, scratch.data(), -static_cast<std::ptrdiff_t>(stride));
            continue;
        }
        std::memset(out, 0, stride);
        if (y < top || y - top >= shownHeight) continue;
        const auto from =
            static_cast<std::uint32_t>((2 * std::uint64_t{y - top} + 1) * shape.height / (2 * shownHeight));
        if (from != inRow) picture.ReadRgb555Row(inRow = from, row.data(), scratch.data(), 0);
        for (std::uint32_t x = 0; x < shownWidth; ++x)
            std::memcpy(out + 2 * (left + x), row.data() + 2 * columns[x], 2);
    }
}

}  // namespace cam::driver
