#include "still/encoders/png_encoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>

#include <png.h>
#include <zlib.h>

#include "still/encoders/deflate.h"
#include "still/encoders/png_filter.h"
#include "still/pixels/pixel_kernels.h"
#include "still/pixels/pixel_tables.h"

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

std::uint32_t WidthOf(const ConstFrame& frame) {
    return static_cast<std::uint32_t>(frame.width);
}

// png_write_info() would bring the writers of all chunks into the program, and zlib's own deflate with them.
void WriteHeader(png_structp png, const ConstFrame& frame) {
    static constexpr png_byte kIhdr[] = "IHDR";
    png_byte header[13] =
        {};  // after the size: depth, kind, and the only compression, filters and order there are
    png_save_uint_32(header, WidthOf(frame));
    png_save_uint_32(header + 4, frame.rows());
    header[8] = 8;
    header[9] = PNG_COLOR_TYPE_RGB;
    png_write_chunk(png, kIhdr, header, sizeof header);
}

void WriteIdat(void* png, const std::uint8_t* bytes, std::size_t count) {
    static constexpr png_byte kIdat[] = "IDAT";
    png_write_chunk(static_cast<png_structp>(png), kIdat, bytes, count);
}

// Two rows of RGB888 in one block of memory, with the pixel of zeros before each that filters ask for.
class RgbRows {
  public:
    explicit RgbRows(std::uint32_t width) : rowBytes(std::size_t{width} * kRgbBytes) {
        // A size that cannot be expressed is asked for as the largest one, which fails.
        constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
        const bool expressible = width <= (kLargest - 2 * kGap - 2 * kAlignment) / 2 / kRgbBytes;
        step = expressible ? (kGap + rowBytes + kAlignment - 1) & ~(kAlignment - 1) : 0;
        bytes.reset(new (std::nothrow) std::uint8_t[expressible ? 2 * step : kLargest]);
    }
    bool allocated() const { return bytes != nullptr; }
    void Clear() { std::memset(bytes.get(), 0, 2 * step); }
    // Of the picture's row `y`; it takes the place of that two above it.
    std::uint8_t* Row(std::uint32_t y) const { return bytes.get() + (y % 2) * step + kGap; }

    const std::size_t rowBytes;

  private:
    static constexpr std::size_t kAlignment = 4;
    static constexpr std::size_t kGap = 4;

    std::size_t step;
    std::unique_ptr<std::uint8_t[]> bytes;
};

// The rows, each after the number of its filter, as one zlib stream.
void WriteRows(const ConstFrame& frame, RgbRows& rgb, Deflate& deflate) {
    const PixelKernels& kernels = kPixelKernels.Fastest();
    PngFilterChoice filters;
    uLong checksum = adler32(0, nullptr, 0);
    const auto add = [&](std::span<std::uint8_t> bytes) {
        checksum = adler32(checksum, bytes.data(), static_cast<uInt>(bytes.size()));
        deflate.Add(bytes.size());
    };
    rgb.Clear();
    for (std::uint32_t y = 0; y < frame.rows(); ++y) {
        const std::uint8_t* const above = rgb.Row(y + 1);
        std::uint8_t* const row = rgb.Row(y);
        kernels.rgb565RowToRgb888(row, frame.Row(y).data(), WidthOf(frame));
        PngFilter filter = filters.Next(row, above, rgb.rowBytes, deflate.Room(), kernels);
        // One byte over and over is what takes the least room.
        if (std::memcmp(row, above, rgb.rowBytes) == 0) filter = PngFilter::Up;
        deflate.ExpectRepeat(filter == PngFilter::None);
        const auto room = deflate.Room();
        room[0] = static_cast<std::uint8_t>(filter);
        add(room.first(1));
        for (std::size_t done = 0; done < rgb.rowBytes;) {
            const auto free = deflate.Room();
            const auto part = free.first(std::min(free.size(), rgb.rowBytes - done));
            FilterPngRow(filter, part.data(), row + done, above + done, part.size(), kernels);
            add(part);
            done += part.size();
        }
    }
    deflate.Finish(static_cast<std::uint32_t>(checksum));
}

// Everything that an error leaves by a long jump stands here and in what it calls, and nothing that would
// have to be destroyed on the way.
EncodeStatus Write(png_structp png, png_infop info, const ConstFrame& frame, Output& output, RgbRows& rgb,
                   Deflate& deflate) {
    if (setjmp(png_jmpbuf(png))) return EncodeStatus::Failed;
    png_set_write_fn(png, &output, OnWrite, OnFlush);
    // Refuses what cannot be a picture.
    png_set_IHDR(png, info, WidthOf(frame), frame.rows(), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_sig(png);
    WriteHeader(png, frame);
    WriteRows(frame, rgb, deflate);
    static constexpr png_byte kIend[] = "IEND";
    png_write_chunk(png, kIend, nullptr, 0);
    return Flush(output) ? EncodeStatus::Done : EncodeStatus::Failed;
}

// With structures of its own: those of a failed attempt remember what they have written and would leave it
// out.
EncodeStatus Attempt(const ConstFrame& frame, Output output, RgbRows& rgb) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError, OnWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const std::unique_ptr<Deflate> deflate(new (std::nothrow) Deflate({WriteIdat, png}, 1 + rgb.rowBytes));
    const EncodeStatus status =
        info && deflate ? Write(png, info, frame, output, rgb, *deflate) : EncodeStatus::OutOfMemory;
    png_destroy_write_struct(&png, &info);
    return status;
}

}  // namespace

EncodeStatus EncodePng(const ConstFrame& frame, ByteSink& out) {
    RgbRows rgb(WidthOf(frame));
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[kOutputBufferBytes]);
    if (!rgb.allocated() || !buffer) return EncodeStatus::OutOfMemory;
    const Output output = {&out, buffer.get(), 0};
    EncodeStatus status = Attempt(frame, output, rgb);
    for (int left = kResumptions; status == EncodeStatus::Failed && left > 0 && out.Restart(); --left) {
        status = Attempt(frame, output, rgb);
    }
    return status;
}

}  // namespace cam::still
