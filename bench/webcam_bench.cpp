// Pictures as webcams send them, on their way into preview: the driver's conversions beside the library's own
// to RGB 5-6-5, and its JPEG decoder beside libjpeg-turbo alone. In the thread's own time, all contenders in
// turn, the best round of each; ends with 1 when an aim is missed.
//
// Usage: webcam_bench [MILLISECONDS]     of each comparison, 2500 unless told
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <span>
#include <vector>

#include <jpeglib.h>

#include "pixel_frames.h"
#include "platform/desktop/camera_driver/jpeg_frame.h"
#include "still/pixels/pixel_convert.h"

using namespace cam::bench;
using namespace cam::driver;

namespace {

constexpr Size kSizes[] = {{640, 480}, {1280, 720}, {1600, 1200}};
double millisecondsForEach = 2500;

double ThreadMilliseconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

struct Contender {
    const char* name;
    std::function<void()> run;
    double aim = 0;  // the most, in times of the first one; 0: none
    double best = std::numeric_limits<double>::max();
};

// False: an aim is missed.
bool Race(const char* title, Size size, std::vector<Contender> contenders) {
    const double begin = ThreadMilliseconds();
    while (ThreadMilliseconds() - begin < millisecondsForEach) {
        for (Contender& one : contenders) {
            one.run();  // what the ones before it left in the caches is not measured
            const double start = ThreadMilliseconds();
            one.run();
            one.best = std::min(one.best, ThreadMilliseconds() - start);
        }
    }
    std::printf("\n%s, %d x %d\n", title, size.width, size.height);
    bool good = true;
    for (const Contender& one : contenders) {
        const double times = one.best / contenders.front().best;
        const bool missed = one.aim > 0 && times > one.aim;
        good = good && !missed;
        std::printf("  %-34s %8.3f ms %6.2f", one.name, one.best, times);
        if (one.aim > 0) std::printf("  at most %.2f%s", one.aim, missed ? "  MISSED" : "");
        std::printf("\n");
    }
    std::fflush(stdout);
    return good;
}

SourceShape ShapeOf(Encoding encoding, Size size) {
    return {encoding, static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height), false};
}

bool RaceConversions(Size size) {
    const Bytes yuy2 = MakeYuy2(size);
    Bytes inPlace = yuy2, frame(yuy2.size());
    Bytes nv12(yuy2.begin(), yuy2.begin() + static_cast<long>(yuy2.size() * 3 / 4));
    PreviewScaler scaler(static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height));
    const auto draw = [&](Encoding encoding, const Bytes& sample) {
        scaler.Draw(SourcePicture(ShapeOf(encoding, size), sample), frame.data());
    };
    const cam::Frame own = {{inPlace.data(), inPlace.size()},
                            size.width,
                            size.height,
                            static_cast<std::uint32_t>(size.width) * 2};
    return Race("Into preview", size,
                {{"YUY2 to RGB 5-6-5, in place",
                  [&] { cam::still::Yuy2ToRgb565(own, cam::still::kPixelKernels.Fastest()); }},
                 // Both of the driver's read one buffer and write another.
                 {"a copy, then that",
                  [&] {
                      std::copy(yuy2.begin(), yuy2.end(), inPlace.begin());
                      cam::still::Yuy2ToRgb565(own, cam::still::kPixelKernels.Fastest());
                  }},
                 {"YUY2 to RGB 5-5-5", [&] { draw(Encoding::Yuy2, yuy2); }, 1.0},
                 {"NV12 to RGB 5-5-5", [&] { draw(Encoding::Nv12, nv12); }, 1.2}});
}

Bytes EncodeJpeg(Size size, int verticalSampling) {
    const Bytes rgb = Rgb888Of(MakeRgb565(size));
    jpeg_error_mgr errors;
    jpeg_compress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&jpeg, &bytes, &length);
    jpeg.image_width = static_cast<JDIMENSION>(size.width);
    jpeg.image_height = static_cast<JDIMENSION>(size.height);
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 85, TRUE);
    jpeg.comp_info[0].v_samp_factor = verticalSampling;
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        auto* row = const_cast<JSAMPROW>(rgb.data() + std::size_t{jpeg.next_scanline} * 3 * jpeg.image_width);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    Bytes out(bytes, bytes + length);
    free(bytes);
    return out;
}

// The library alone: into planes that are there already.
void DecodeToPlanes(const Bytes& frame, Bytes (&planes)[3]) {
    jpeg_error_mgr errors;
    jpeg_decompress_struct jpeg;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, frame.data(), static_cast<unsigned long>(frame.size()));
    jpeg_read_header(&jpeg, TRUE);
    jpeg.raw_data_out = TRUE;
    jpeg.out_color_space = JCS_YCbCr;
    jpeg_start_decompress(&jpeg);
    const int lines = jpeg.comp_info[0].v_samp_factor * DCTSIZE;
    JSAMPROW rows[3][2 * DCTSIZE];
    JSAMPARRAY arrays[3] = {rows[0], rows[1], rows[2]};
    while (jpeg.output_scanline < jpeg.output_height) {
        for (int part = 0; part < 3; ++part) {
            const jpeg_component_info& info = jpeg.comp_info[part];
            const std::size_t stride = std::size_t{info.width_in_blocks} * DCTSIZE;
            const std::size_t first = std::size_t{jpeg.output_scanline} *
                                      static_cast<std::size_t>(info.v_samp_factor) /
                                      static_cast<std::size_t>(jpeg.comp_info[0].v_samp_factor);
            for (int row = 0; row < info.v_samp_factor * DCTSIZE; ++row)
                rows[part][row] = planes[part].data() + (first + static_cast<std::size_t>(row)) * stride;
        }
        jpeg_read_raw_data(&jpeg, arrays, static_cast<JDIMENSION>(lines));
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
}

bool RaceDecoders(Size size, int verticalSampling) {
    const Bytes frame = EncodeJpeg(size, verticalSampling);
    Bytes planes[3];
    for (Bytes& plane : planes)
        plane.resize(static_cast<std::size_t>(size.width + 32) * static_cast<std::size_t>(size.height + 32));
    JpegFrame decoder;
    Bytes preview(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 2);
    const auto width = static_cast<std::uint32_t>(size.width),
               height = static_cast<std::uint32_t>(size.height);
    PreviewScaler scaler(width, height);
    bool decoded = true;
    const bool good = Race(
        verticalSampling == 1 ? "MJPG 4:2:2" : "MJPG 4:2:0", size,
        {{"libjpeg-turbo alone, to YUV", [&] { DecodeToPlanes(frame, planes); }},
         {"the driver's decoder", [&] { decoded &= decoder.Decode(frame, width, height).has_value(); }, 1.1},
         {"the driver, into preview", [&] {
              if (const auto picture = decoder.Decode(frame, width, height))
                  scaler.Draw(*picture, preview.data());
          }}});
    if (!decoded) std::printf("  a frame could not be decoded\n");
    return good && decoded;
}

}  // namespace

int main(int count, char** arguments) {
    if (count > 1) millisecondsForEach = std::atof(arguments[1]);
    bool good = true;
    for (const Size size : kSizes) good = RaceConversions(size) && good;
    for (const Size size : kSizes) {
        for (const int verticalSampling : {1, 2}) good = RaceDecoders(size, verticalSampling) && good;
    }
    return good ? 0 : 1;
}
