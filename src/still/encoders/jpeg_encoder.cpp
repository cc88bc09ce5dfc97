#include "still/encoders/jpeg_encoder.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include "still/encoders/rgb_row.h"
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

// Everything that an error leaves by a long jump stands here, and nothing that would have to be destroyed on
// the way.
EncodeStatus Compress(const ConstFrame& frame, int quality, Destination& destination, std::uint8_t* rgbRow) {
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
    jpeg_start_compress(&compressor, TRUE);
    const PixelKernels& pixels = kPixelKernels.Fastest();
    for (std::uint32_t y = 0; y < rows; ++y) {
        pixels.rgb565RowToRgb888(rgbRow, frame.Row(y).data(), width);
        JSAMPROW row = rgbRow;
        jpeg_write_scanlines(&compressor, &row, 1);
    }
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    return EncodeStatus::Done;
}

}  // namespace

EncodeStatus EncodeJpeg(const ConstFrame& frame, int quality, ByteSink& out) {
    const auto rgbRow = MakeRgbRow(static_cast<std::uint32_t>(frame.width));
    const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[kOutputBufferBytes]);
    if (!rgbRow || !buffer) return EncodeStatus::OutOfMemory;
    Destination destination = {};
    destination.base.init_destination = OnInit;
    destination.base.empty_output_buffer = OnFull;
    destination.base.term_destination = OnEnd;
    destination.out = &out;
    destination.buffer = buffer.get();
    return Compress(frame, quality, destination, rgbRow.get());
}

}  // namespace cam::still
