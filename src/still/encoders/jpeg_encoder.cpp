#include "still/encoders/jpeg_encoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <jpeglib.h>

#include "still/pixels/pixel_kernels.h"

namespace cam::still {
namespace {

// The library's own handler would end the process.
struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf recovery;
};

[[noreturn]] void OnError(j_common_ptr common) {
    std::longjmp(reinterpret_cast<ErrorManager*>(common->err)->recovery, 1);
}

void OnMessage(j_common_ptr) {}

// Collects the library's output for the sink.
struct Destination {
    jpeg_destination_mgr base;
    ByteSink* out;
    std::uint8_t* buffer;  // kOutputBufferBytes
};

void StartOver(Destination& destination) {
    destination.base.next_output_byte = destination.buffer;
    destination.base.free_in_buffer = kOutputBufferBytes;
}

void OnInit(j_compress_ptr compressor) {
    StartOver(*reinterpret_cast<Destination*>(compressor->dest));
}

// Called when the buffer is full; what free_in_buffer says by then does not count.
boolean OnFull(j_compress_ptr compressor) {
    auto& destination = *reinterpret_cast<Destination*>(compressor->dest);
    if (!destination.out->Write({destination.buffer, kOutputBufferBytes}))
        OnError(reinterpret_cast<j_common_ptr>(compressor));
    StartOver(destination);
    return TRUE;
}

void OnEnd(j_compress_ptr compressor) {
    auto& destination = *reinterpret_cast<Destination*>(compressor->dest);
    const std::size_t used = kOutputBufferBytes - destination.base.free_in_buffer;
    if (used > 0 && !destination.out->Write({destination.buffer, used}))
        OnError(reinterpret_cast<j_common_ptr>(compressor));
}

// What the library takes at a time: 16 rows of luma and 8 of each difference, as wide as whole blocks, in one
// piece of memory. Colours are converted here, straight from the frame, to the samples that the library would
// make itself.
class McuRows {
  public:
    static constexpr std::uint32_t kLumaRows = 2 * DCTSIZE;

    explicit McuRows(std::uint32_t width) : whole(width & ~(kYccPixels - 1)), left(width - whole) {
        // A size that cannot be expressed is asked for as the largest one, which fails.
        constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();
        const bool expressible = width <= (kLargest / kLumaRows - kYccPixels) / 2;
        padded = whole + (left > 0 ? kYccPixels : 0);
        const std::size_t size = expressible ? padded * (kLumaRows + DCTSIZE) : kLargest;
        bytes.reset(new (std::nothrow) std::uint8_t[size]);
    }
    bool allocated() const { return bytes != nullptr; }

    // The frame's rows from `y` on; past its end the last ones are repeated. The pictures of the library's
    // three components.
    JSAMPIMAGE Fill(const ConstFrame& frame, std::uint32_t y) {
        const PixelKernels& kernels = kPixelKernels.Fastest();
        const std::uint32_t count = std::min<std::uint32_t>(kLumaRows, frame.rows() - y);
        for (std::uint32_t i = 0; i < kLumaRows; i += 2) {
            if (i >= count) {
                luma[i] = luma[i + 1] = luma[i - 1];
                cb[i / 2] = cb[i / 2 - 1];
                cr[i / 2] = cr[i / 2 - 1];
                continue;
            }
            luma[i] = bytes.get() + i * padded;
            luma[i + 1] = luma[i] + padded;
            cb[i / 2] = bytes.get() + kLumaRows * padded + i / 2 * padded;
            cr[i / 2] = cb[i / 2] + padded / 2;
            const std::uint8_t* const upper = frame.Row(y + i).data();
            const std::uint8_t* const lower = frame.Row(std::min(y + i + 1, frame.rows() - 1)).data();
            const YccRows to = {{luma[i], luma[i + 1]}, cb[i / 2], cr[i / 2]};
            if (whole > 0) kernels.rgb565RowsToYcc(to, upper, lower, whole);
            if (left > 0) ConvertRest(kernels, to, upper, lower);
        }
        return components;
    }

  private:
    // The pixels past the last whole run, the last of them repeated.
    void ConvertRest(const PixelKernels& kernels, const YccRows& to, const std::uint8_t* upper,
                     const std::uint8_t* lower) const {
        alignas(4) std::uint8_t rest[2][2 * kYccPixels];
        const std::uint8_t* const rows[] = {upper, lower};
        for (std::size_t row = 0; row < 2; ++row) {
            std::memcpy(rest[row], rows[row] + 2 * whole, 2 * left);
            for (std::size_t x = left; x < kYccPixels; ++x)
                std::memcpy(rest[row] + 2 * x, rest[row] + 2 * x - 2, 2);
        }
        const YccRows past = {{to.luma[0] + whole, to.luma[1] + whole}, to.cb + whole / 2, to.cr + whole / 2};
        kernels.rgb565RowsToYcc(past, rest[0], rest[1], kYccPixels);
    }

    const std::size_t whole, left;
    std::size_t padded;
    std::unique_ptr<std::uint8_t[]> bytes;
    JSAMPROW luma[kLumaRows], cb[DCTSIZE], cr[DCTSIZE];
    JSAMPARRAY components[3] = {luma, cb, cr};
};

// Everything that an error leaves by a long jump stands here, and nothing that would have to be destroyed on
// the way.
EncodeStatus Compress(const ConstFrame& frame, int quality, Destination& destination, McuRows& mcuRows) {
    const auto width = static_cast<std::uint32_t>(frame.width);
    const std::uint32_t rows = frame.rows();
    ErrorManager errors;
    jpeg_compress_struct compressor;
    compressor.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = OnError;
    errors.base.output_message = OnMessage;
    // The library clears the structure at creation; an error before that must find nothing to destroy.
    compressor.mem = nullptr;
    if (setjmp(errors.recovery)) {
        jpeg_destroy_compress(&compressor);
        return EncodeStatus::Failed;
    }
    jpeg_create_compress(&compressor);
    compressor.dest = &destination.base;
    compressor.image_width = width;
    compressor.image_height = rows;
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, TRUE);
    compressor.raw_data_in = TRUE;
    jpeg_start_compress(&compressor, TRUE);
    for (std::uint32_t y = 0; y < rows; y += McuRows::kLumaRows)
        jpeg_write_raw_data(&compressor, mcuRows.Fill(frame, y), McuRows::kLumaRows);
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    return EncodeStatus::Done;
}

}  // namespace

EncodeStatus EncodeJpeg(const ConstFrame& frame, int quality, ByteSink& out) {
    McuRows mcuRows(static_cast<std::uint32_t>(frame.width));
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[kOutputBufferBytes]);
    if (!mcuRows.allocated() || !buffer) return EncodeStatus::OutOfMemory;
    Destination destination = {};
    destination.base.init_destination = OnInit;
    destination.base.empty_output_buffer = OnFull;
    destination.base.term_destination = OnEnd;
    destination.out = &out;
    destination.buffer = buffer.get();
    return Compress(frame, quality, destination, mcuRows);
}

}  // namespace cam::still
