// JPEG files are, byte for byte, what libjpeg makes of the same pixels as 24-bit rows.
#include <doctest/doctest.h>

#include <cstdio>
#include <random>
#include <vector>

#include <jpeglib.h>

#include "still/encoders/jpeg_encoder.h"
#include "still/pixels/pixel_kernels.h"

using namespace cam::still;

namespace {

using Bytes = std::vector<std::uint8_t>;

class VectorSink final : public ByteSink {
  public:
    bool Write(std::span<const std::uint8_t> some) override {
        bytes.insert(bytes.end(), some.begin(), some.end());
        return true;
    }
    bool Restart() override { return false; }
    Bytes bytes;
};

Bytes FromRows(const Bytes& rgb565, unsigned width, unsigned rows, int quality) {
    jpeg_compress_struct compressor;
    jpeg_error_mgr errors;
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    Bytes out(std::size_t{width} * rows * 6 + 4096);
    unsigned char* buffer = out.data();
    unsigned long used = static_cast<unsigned long>(out.size());
    jpeg_mem_dest(&compressor, &buffer, &used);
    compressor.image_width = width;
    compressor.image_height = rows;
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, TRUE);
    jpeg_start_compress(&compressor, TRUE);
    Bytes rgb(std::size_t{width} * 3);
    for (unsigned y = 0; y < rows; ++y) {
        kPlainPixelKernels.rgb565RowToRgb888(rgb.data(), rgb565.data() + std::size_t{y} * width * 2, width);
        JSAMPROW row = rgb.data();
        jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    REQUIRE(buffer == out.data());
    out.resize(used);
    return out;
}

}  // namespace

TEST_CASE("JPEG bytes do not depend on who converts the colours") {
    std::minstd_rand random(5);
    struct {
        unsigned width, rows;
    } const sizes[] = {{1, 1},   {2, 2},   {7, 9},   {8, 16},  {15, 17}, {16, 16},  {17, 15},
                       {24, 33}, {31, 31}, {33, 18}, {40, 48}, {97, 65}, {160, 121}};
    for (const auto& size : sizes) {
        for (const bool noisy : {true, false}) {
            CAPTURE(size.width);
            CAPTURE(size.rows);
            CAPTURE(noisy);
            Bytes pixels(std::size_t{size.width} * size.rows * 2);
            for (std::size_t i = 0; i < pixels.size(); ++i)
                pixels[i] = static_cast<std::uint8_t>(noisy ? random() >> 8 : i / 7 + (i & 1) * 90);
            for (const int quality : {50, 90, 100}) {
                VectorSink sink;
                const auto height = static_cast<std::int32_t>(size.rows);
                const cam::ConstFrame frame = {pixels, static_cast<std::int32_t>(size.width), -height,
                                               size.width * 2};
                REQUIRE(EncodeJpeg(frame, quality, sink) == EncodeStatus::Done);
                CHECK(sink.bytes == FromRows(pixels, size.width, size.rows, quality));
            }
        }
    }
}
