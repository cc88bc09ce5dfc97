#include "still/encoders/png_encoder.h"

#include <csetjmp>
#include <cstring>

#include <png.h>

#include "still/encoders/rgb_row.h"
#include "still/pixels/pixel_kernels.h"

namespace cam::still {
namespace {

// The library hands out every chunk in four pieces.
struct Output {
    ByteSink* out;
    std::uint8_t* buffer;  // kOutputBufferBytes
    std::size_t used;
};

bool Flush(Output& output) {
    const bool written = output.used == 0 || output.out->Write({output.buffer, output.used});
    output.used = 0;
    return written;
}

void OnWrite(png_structp png, png_bytep bytes, png_size_t count) {
    auto& output = *static_cast<Output*>(png_get_io_ptr(png));
    while (count > 0) {
        if (output.used == kOutputBufferBytes && !Flush(output)) png_error(png, "write");
        const std::size_t room = kOutputBufferBytes - output.used;
        const std::size_t part = count < room ? count : room;
        std::memcpy(output.buffer + output.used, bytes, part);
        output.used += part;
        bytes += part;
        count -= part;
    }
}

// Given so that the library's own is not called, which takes the I/O pointer for a standard file.
void OnFlush(png_structp) {}

// The library's own handlers print first.
[[noreturn]] void OnError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}
void OnWarning(png_structp, png_const_charp) {}

constexpr int kResumptions = 2;

// Everything that an error leaves by a long jump stands here, and nothing that would have to be destroyed on
// the way.
EncodeStatus Write(png_structp png, png_infop info, const ConstFrame& frame, Output& output,
                   std::uint8_t* rgbRow) {
    const auto width = static_cast<std::uint32_t>(frame.width);
    const std::uint32_t rows = frame.rows();
    if (setjmp(png_jmpbuf(png))) return EncodeStatus::Failed;
    png_set_write_fn(png, &output, OnWrite, OnFlush);
    png_set_IHDR(png, info, width, rows, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    const PixelKernels& pixels = kPixelKernels.Fastest();
    for (std::uint32_t y = 0; y < rows; ++y) {
        pixels.rgb565RowToRgb888(rgbRow, frame.Row(y).data(), width);
        png_write_row(png, rgbRow);
    }
    png_write_end(png, info);
    return Flush(output) ? EncodeStatus::Done : EncodeStatus::Failed;
}

// With structures of its own: those of a failed attempt remember what they have written and would leave it
// out.
EncodeStatus Attempt(const ConstFrame& frame, Output output, std::uint8_t* rgbRow) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const EncodeStatus status = info ? Write(png, info, frame, output, rgbRow) : EncodeStatus::OutOfMemory;
    png_destroy_write_struct(&png, &info);
    return status;
}

}  // namespace

EncodeStatus EncodePng(const ConstFrame& frame, ByteSink& out) {
    const auto rgbRow = MakeRgbRow(static_cast<std::uint32_t>(frame.width));
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[kOutputBufferBytes]);
    if (!rgbRow || !buffer) return EncodeStatus::OutOfMemory;
    const Output output = {&out, buffer.get(), 0};
    EncodeStatus status = Attempt(frame, output, rgbRow.get());
    for (int left = kResumptions; status == EncodeStatus::Failed && left > 0 && out.Restart(); --left) {
        status = Attempt(frame, output, rgbRow.get());
    }
    return status;
}

}  // namespace cam::still
