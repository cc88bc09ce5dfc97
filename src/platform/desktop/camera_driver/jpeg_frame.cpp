#include "platform/desktop/camera_driver/jpeg_frame.h"

#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

namespace cam::driver {
namespace {

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf recovery;
};

[[noreturn]] void OnError(j_common_ptr common) {
    std::longjmp(reinterpret_cast<ErrorManager*>(common->err)->recovery, 1);
}

// Of the library's warnings those that tell of lost picture data; others, such as bytes between the parts,
// are usual with webcams.
void OnMessage(j_common_ptr common, int level) {
    if (level >= 0) return;
    switch (common->err->msg_code) {
        case JWRN_HIT_MARKER:
        case JWRN_HUFF_BAD_CODE:
        case JWRN_JPEG_EOF:
        case JWRN_MUST_RESYNC:
            OnError(common);
        default:
            break;
    }
}

void OnOutput(j_common_ptr) {}

enum class Layout { Rows, Planes };

struct Decoder {
    ~Decoder() { jpeg_destroy_decompress(&base); }

    ErrorManager errors;
    jpeg_decompress_struct base;
};

// 4:2:2 or 4:2:0, whose planes the library hands out as they are.
bool HasSharedChroma(const jpeg_decompress_struct& base) {
    const jpeg_component_info* const part = base.comp_info;
    return base.num_components == 3 && base.jpeg_color_space == JCS_YCbCr && part[0].h_samp_factor == 2 &&
           part[0].v_samp_factor <= 2 && part[1].h_samp_factor == 1 && part[1].v_samp_factor == 1 &&
           part[2].h_samp_factor == 1 && part[2].v_samp_factor == 1;
}

std::uint32_t RoundUp(std::uint32_t value, std::uint32_t to) {
    return (value + to - 1) / to * to;
}

void ReadPlanes(jpeg_decompress_struct& base, Planes& planes) {
    constexpr int kMaxRows = 2 * DCTSIZE;
    JSAMPROW rows[3][kMaxRows];
    JSAMPARRAY parts[3] = {rows[0], rows[1], rows[2]};
    const auto lines = static_cast<JDIMENSION>(base.max_v_samp_factor * DCTSIZE);
    while (base.output_scanline < base.output_height) {
        const std::size_t first = base.output_scanline;
        for (int part = 0; part < 3; ++part) {
            const std::size_t from = part && planes.halfHeightChroma ? first / 2 : first;
            for (int row = 0; row < kMaxRows; ++row)
                rows[part][row] = const_cast<JSAMPROW>(planes.rows[part]) +
                                  (from + static_cast<std::size_t>(row)) * planes.strides[part];
        }
        jpeg_read_raw_data(&base, parts, lines);
    }
}

void ReadRows(jpeg_decompress_struct& base, const Planes& planes) {
    while (base.output_scanline < base.output_height) {
        JSAMPROW row = const_cast<JSAMPROW>(planes.rows[0]) + base.output_scanline * planes.strides[0];
        jpeg_read_scanlines(&base, &row, 1);
    }
}

}  // namespace

std::optional<SourcePicture> JpegFrame::Decode(std::span<const std::uint8_t> frame, std::uint32_t width,
                                               std::uint32_t height) {
    // Whatever is to be destroyed stands in this object: an error leaves by a long jump.
    SourceShape shape = {Encoding::Mjpg, width, height, false};
    Planes planes;
    Decoder decoder;
    jpeg_decompress_struct& base = decoder.base;
    base.err = jpeg_std_error(&decoder.errors.base);
    decoder.errors.base.error_exit = OnError;
    decoder.errors.base.emit_message = OnMessage;
    decoder.errors.base.output_message = OnOutput;
    base.mem = nullptr;
    if (setjmp(decoder.errors.recovery)) return std::nullopt;
    jpeg_create_decompress(&base);
    jpeg_mem_src(&base, frame.data(), static_cast<unsigned long>(frame.size()));
    jpeg_read_header(&base, TRUE);
    if (base.image_width != width || base.image_height != height)
        OnError(reinterpret_cast<j_common_ptr>(&base));
    if (HasSharedChroma(base)) {
        base.raw_data_out = TRUE;
        base.out_color_space = JCS_YCbCr;
        const auto lines = static_cast<std::uint32_t>(base.comp_info[0].v_samp_factor) * DCTSIZE;
        planes.fullRange = true;
        planes.halfHeightChroma = base.comp_info[0].v_samp_factor == 2;
        for (int part = 0; part < 3; ++part) {
            planes.strides[part] = RoundUp(width, 2 * DCTSIZE) / (part ? 2 : 1);
            // Groups of rows are read whole, the luma's length for every part.
            buffers[part].resize(planes.strides[part] * (RoundUp(height, lines) + 2 * DCTSIZE));
            planes.rows[part] = buffers[part].data();
        }
        jpeg_start_decompress(&base);
        ReadPlanes(base, planes);
    } else {
        base.out_color_space = JCS_EXT_BGRX;
        shape.encoding = Encoding::Rgb32;
        planes.strides[0] = std::size_t{width} * 4;
        buffers[0].resize(planes.strides[0] * height);
        planes.rows[0] = buffers[0].data();
        jpeg_start_decompress(&base);
        ReadRows(base, planes);
    }
    jpeg_finish_decompress(&base);
    return SourcePicture(shape, planes);
}

}  // namespace cam::driver
