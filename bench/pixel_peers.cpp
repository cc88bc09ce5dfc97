#include "pixel_peers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "still/pixels/pixel_convert.h"
#include "still/pixels/pixel_kernels.h"

#ifdef CAM_HAVE_JPEG
#include <jpeglib.h>
#endif
#ifdef CAM_HAVE_PNG
#include <png.h>
#endif
#ifdef CAM_HAVE_OPENCV
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef CAM_HAVE_YUV
#include <libyuv.h>
#endif
#ifdef CAM_HAVE_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif

namespace cam::bench {

#ifdef CAM_HAVE_YUV
namespace {

void Limit(YuvLevel level) {
    int flags = libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3 | libyuv::kCpuHasSSE41 |
                libyuv::kCpuHasSSE42 | libyuv::kCpuInitialized;
    if (level == YuvLevel::Avx2) flags |= libyuv::kCpuHasAVX | libyuv::kCpuHasAVX2 | libyuv::kCpuHasFMA3;
    libyuv::MaskCpuFlags(flags);
}

}  // namespace

bool YuvTwoPasses(const Bytes& yuy2, Size size, YuvLevel level, Bytes& argb, Bytes& rgb565) {
    Limit(level);
    libyuv::YUY2ToARGB(yuy2.data(), size.width * 2, argb.data(), size.width * 4, size.width, size.height);
    libyuv::ARGBToRGB565(argb.data(), size.width * 4, rgb565.data(), size.width * 2, size.width, size.height);
    return true;
}

bool YuvTwoPassesByRow(const Bytes& yuy2, Size size, YuvLevel level, Bytes& argbRow, Bytes& rgb565) {
    Limit(level);
    for (int y = 0; y < size.height; ++y) {
        const std::size_t offset = static_cast<std::size_t>(y) * size.width * 2;
        libyuv::YUY2ToARGB(yuy2.data() + offset, size.width * 2, argbRow.data(), size.width * 4, size.width,
                           1);
        libyuv::ARGBToRGB565(argbRow.data(), size.width * 4, rgb565.data() + offset, size.width * 2,
                             size.width, 1);
    }
    return true;
}
#else
bool YuvTwoPasses(const Bytes&, Size, YuvLevel, Bytes&, Bytes&) {
    return false;
}
bool YuvTwoPassesByRow(const Bytes&, Size, YuvLevel, Bytes&, Bytes&) {
    return false;
}
#endif

#ifdef CAM_HAVE_SWSCALE
bool SwscaleYuy2ToRgb565(const Bytes& yuy2, Size size, Bytes& rgb565) {
    static SwsContext* context = nullptr;
    context =
        sws_getCachedContext(context, size.width, size.height, AV_PIX_FMT_YUYV422, size.width, size.height,
                             AV_PIX_FMT_RGB565LE, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    if (!context) return false;
    const std::uint8_t* const source[] = {yuy2.data()};
    std::uint8_t* const target[] = {rgb565.data()};
    const int stride[] = {size.width * 2};
    sws_scale(context, source, stride, 0, size.height, target, stride);
    return true;
}
#else
bool SwscaleYuy2ToRgb565(const Bytes&, Size, Bytes&) {
    return false;
}
#endif

#ifdef CAM_HAVE_OPENCV
bool OpenCvGreyTo565(Bytes& grey, Size size, Bytes& rgb565) {
    cv::setNumThreads(1);
    const cv::Mat source(size.height, size.width, CV_8UC1, grey.data());
    cv::Mat target(size.height, size.width, CV_8UC2, rgb565.data());
    cv::cvtColor(source, target, cv::COLOR_GRAY2BGR565);
    return true;
}

bool OpenCvRgb565To888(const Bytes& rgb565, Size size, Bytes& rgb888) {
    cv::setNumThreads(1);
    const cv::Mat source(size.height, size.width, CV_8UC2, const_cast<std::uint8_t*>(rgb565.data()));
    cv::Mat target(size.height, size.width, CV_8UC3, rgb888.data());
    cv::cvtColor(source, target, cv::COLOR_BGR5652RGB);
    return true;
}

bool OpenCvJpegFile(const Bytes& yuy2, Size size, int quality, Bytes& bgr, const std::string& path) {
    cv::setNumThreads(1);
    const cv::Mat source(size.height, size.width, CV_8UC2, const_cast<std::uint8_t*>(yuy2.data()));
    cv::Mat target(size.height, size.width, CV_8UC3, bgr.data());
    cv::cvtColor(source, target, cv::COLOR_YUV2BGR_YUY2);
    return cv::imwrite(path, target, {cv::IMWRITE_JPEG_QUALITY, quality});
}
#else
bool OpenCvGreyTo565(Bytes&, Size, Bytes&) {
    return false;
}
bool OpenCvRgb565To888(const Bytes&, Size, Bytes&) {
    return false;
}
bool OpenCvJpegFile(const Bytes&, Size, int, Bytes&, const std::string&) {
    return false;
}
#endif

#ifdef CAM_HAVE_JPEG
namespace {

// One file into `out`, which has to be large enough; `write` hands all rows to the library.
template <typename Write>
bool Compress(Size size, int quality, boolean isRaw, Bytes& out, std::size_t* used, Write write) {
    jpeg_compress_struct compressor;
    jpeg_error_mgr errors;
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char* buffer = out.data();
    unsigned long bytes = out.size();
    jpeg_mem_dest(&compressor, &buffer, &bytes);
    compressor.image_width = static_cast<unsigned>(size.width);
    compressor.image_height = static_cast<unsigned>(size.height);
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    jpeg_set_defaults(&compressor);
    jpeg_set_quality(&compressor, quality, TRUE);
    compressor.raw_data_in = isRaw;
    jpeg_start_compress(&compressor, TRUE);
    write(compressor);
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    if (buffer != out.data()) std::abort();
    if (used) *used = bytes;
    return true;
}

}  // namespace

bool JpegAlone(const Bytes& rgb888, Size size, int quality, Bytes& out, std::size_t* used) {
    return Compress(size, quality, FALSE, out, used, [&](jpeg_compress_struct& compressor) {
        constexpr unsigned kRowsAtOnce = 16;
        while (compressor.next_scanline < compressor.image_height) {
            JSAMPROW rows[kRowsAtOnce];
            unsigned count = 0;
            for (; count < kRowsAtOnce && compressor.next_scanline + count < compressor.image_height;
                 ++count) {
                const std::size_t row = compressor.next_scanline + count;
                rows[count] = const_cast<JSAMPROW>(rgb888.data()) + row * size.width * 3;
            }
            jpeg_write_scanlines(&compressor, rows, count);
        }
    });
}

Planes PlanesOf(const Bytes& rgb565, Size size) {
    constexpr std::size_t kBlock = 2 * DCTSIZE;
    static_assert(kBlock % still::kYccPixels == 0 || still::kYccPixels % kBlock == 0);
    const auto width = static_cast<std::size_t>(size.width), rows = static_cast<std::size_t>(size.height);
    if (width % still::kYccPixels != 0) std::abort();
    const std::size_t padded = (rows + kBlock - 1) / kBlock * kBlock;
    Planes planes = {size, Bytes(padded * width), Bytes(padded * width / 4), Bytes(padded * width / 4)};
    for (std::size_t y = 0; y < padded; y += 2) {
        const std::uint8_t* const upper = rgb565.data() + std::min(y, rows - 1) * width * 2;
        const std::uint8_t* const lower = rgb565.data() + std::min(y + 1, rows - 1) * width * 2;
        std::uint8_t* const luma = planes.luma.data() + y * width;
        still::kPlainPixelKernels.rgb565RowsToYcc({{luma, luma + width},
                                                   planes.cb.data() + y / 2 * width / 2,
                                                   planes.cr.data() + y / 2 * width / 2},
                                                  upper, lower, width);
    }
    return planes;
}

bool JpegFromPlanes(const Planes& planes, int quality, Bytes& out) {
    return Compress(planes.size, quality, TRUE, out, nullptr, [&](jpeg_compress_struct& compressor) {
        const auto width = static_cast<std::size_t>(planes.size.width);
        while (compressor.next_scanline < compressor.image_height) {
            constexpr std::size_t kLumaRows = 2 * DCTSIZE;
            JSAMPROW luma[kLumaRows], cb[DCTSIZE], cr[DCTSIZE];
            for (std::size_t i = 0; i < kLumaRows; ++i)
                luma[i] = const_cast<JSAMPROW>(planes.luma.data()) + (compressor.next_scanline + i) * width;
            for (std::size_t i = 0; i < DCTSIZE; ++i) {
                const std::size_t at = (compressor.next_scanline / 2 + i) * width / 2;
                cb[i] = const_cast<JSAMPROW>(planes.cb.data()) + at;
                cr[i] = const_cast<JSAMPROW>(planes.cr.data()) + at;
            }
            JSAMPARRAY components[] = {luma, cb, cr};
            jpeg_write_raw_data(&compressor, components, kLumaRows);
        }
    });
}
#else
bool JpegAlone(const Bytes&, Size, int, Bytes&, std::size_t*) {
    return false;
}
Planes PlanesOf(const Bytes&, Size size) {
    return {size, {}, {}, {}};
}
bool JpegFromPlanes(const Planes&, int, Bytes&) {
    return false;
}
#endif

#ifdef CAM_HAVE_PNG
bool PngAlone(const Bytes& rgb888, Size size, Bytes& out, std::size_t* used) {
    struct Target {
        Bytes* out;
        std::size_t used;
    } target = {&out, 0};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &target,
        [](png_structp writer, png_bytep bytes, png_size_t count) {
            auto& to = *static_cast<Target*>(png_get_io_ptr(writer));
            std::memcpy(to.out->data() + to.used, bytes, count);
            to.used += count;
        },
        [](png_structp) {});
    png_set_IHDR(png, info, static_cast<png_uint_32>(size.width), static_cast<png_uint_32>(size.height), 8,
                 PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < size.height; ++y) {
        png_write_row(png, rgb888.data() + static_cast<std::size_t>(y) * size.width * 3);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    if (used) *used = target.used;
    return true;
}
#else
bool PngAlone(const Bytes&, Size, Bytes&, std::size_t*) {
    return false;
}
#endif

}  // namespace cam::bench
