// Each routine once, over pictures that are the same on every machine, for bench/guard.py to count the
// instructions of: run by callgrind, which is told where a routine begins and ends.
//
//   desktop_instructions    prints, for each routine, its name and the pixels that it was given
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "memory_sink.h"
#include "pixel_frames.h"
#include "still/encoders/png_encoder.h"
#include "still/pixels/pixel_kernels.h"
#include "still/pixels/pixel_tables.h"
#include "tiff/byte_buffer.h"
#include "tiff/encode_g4.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

using namespace cam;
using namespace cam::bench;
using namespace cam::still;

namespace {

constexpr Size kSize = {320, 240};
constexpr std::size_t kWidth = kSize.width, kRows = kSize.height, kPixels = kWidth * kRows;

template <typename Run>
void Count(const std::string& routine, const char* kernels, Run run) {
    const std::string name = routine + ", " + kernels;
    CALLGRIND_TOGGLE_COLLECT;
    run();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    std::printf("%s\t%zu\n", name.c_str(), kPixels);
}

template <typename Row>
void CountRows(const std::string& routine, const char* kernels, Row row) {
    Count(routine, kernels, [&] {
        for (std::size_t y = 0; y < kRows; ++y) row(y);
    });
}

void CountPixels(const PixelKernels& kernels, const char* name) {
    Bytes yuy2 = MakeYuy2(kSize);
    const Bytes rgb565 = MakeRgb565(kSize), rgb888 = Rgb888Of(rgb565), grey = MakeBlackAndWhite(kSize);
    Bytes out(kPixels * 3);
    constexpr std::size_t kStride = 2 * kWidth, kRgbStride = kRgbBytes * kWidth;
    CountRows("luma of YUY2", name,
              [&](std::size_t y) { kernels.gatherLumaRow(&out[y * kWidth], &yuy2[y * kStride], kWidth); });
    CountRows("YUY2 to RGB565", name,
              [&](std::size_t y) { kernels.yuy2RowToRgb565(&yuy2[y * kStride], kWidth); });
    CountRows("grey of RGB565", name, [&](std::size_t y) {
        kernels.rgb565RowToGrey(&out[y * kWidth], &rgb565[y * kStride], kWidth);
    });
    CountRows("grey to words", name,
              [&](std::size_t y) { kernels.expandGreyRow(&out[y * kStride], &grey[y * kWidth], kWidth); });
    CountRows("RGB565 to RGB888", name, [&](std::size_t y) {
        kernels.rgb565RowToRgb888(&out[y * kRgbStride], &rgb565[y * kStride], kWidth);
    });
    // The filters read a pixel before the row.
    const auto filter = [&](const char* routine, auto run) {
        CountRows(routine, name, [&](std::size_t y) {
            if (y < 2) return;
            run(&out[y * kRgbStride], &rgb888[y * kRgbStride], &rgb888[(y - 1) * kRgbStride], kRgbStride);
        });
    };
    filter("PNG filter Up", kernels.upFilterRow);
    filter("PNG filter Paeth", kernels.paethFilterRow);
    CountRows("RGB565 to YCC", name, [&](std::size_t y) {
        if (y % 2) return;
        const YccRows to = {{&out[0], &out[kWidth]}, &out[2 * kWidth], &out[3 * kWidth]};
        kernels.rgb565RowsToYcc(to, &rgb565[y * kStride], &rgb565[(y + 1) * kStride], kWidth);
    });
}

void CountTiff(const tiff::TiffKernels& kernels, const tiff::TiffKernels* slower, const char* name) {
    const Bytes words = MakeRgb565(kSize);
    Bytes plane(kPixels * 2), raster(kPixels / 8);
    for (std::size_t i = 0; i < kPixels; ++i) plane[i] = words[2 * i + 1];
    const auto plan = tiff::PlanThreshold(plane, kWidth, kRows, 0.1f);
    // A routine that serves several sets bears the name of the first.
    if (!slower || kernels.threshold != slower->threshold)
        Count("threshold", name, [&] { kernels.threshold(*plan); });
    for (std::size_t i = 0; i < kPixels; ++i)
        raster[i / 8] = static_cast<std::uint8_t>(raster[i / 8] << 1 | (words[2 * i + 1] < 96));
    if (!slower || kernels.encodeG4 != slower->encodeG4) {
        tiff::ByteBuffer output(kPixels, true);
        Count("Group 4", name, [&] { tiff::EncodeG4(raster, kWidth, kRows, output, kernels.encodeG4); });
    }
    if (!slower || kernels.packPixels != slower->packPixels) {
        CountRows("words to bits", name, [&](std::size_t y) {
            kernels.packPixels(&words[2 * y * kWidth], kWidth, &raster[y * kWidth / 8]);
        });
    }
}

}  // namespace

int main() {
    const tiff::TiffKernels* slower = nullptr;
    for (const InstructionSet set : kInstructionSets) {
        if (const PixelKernels* kernels = kPixelKernels.For(set)) CountPixels(*kernels, NameOf(set));
        const tiff::TiffKernels* const kernels = tiff::kTiffKernels.For(set);
        if (kernels) CountTiff(*kernels, slower, NameOf(set));
        if (kernels) slower = kernels;
    }
    Bytes frame = MakeRgb565(kSize), out(kPixels * 4);
    Count("PNG", "chosen", [&] {
        MemorySink sink(out);
        EncodePng({frame, kSize.width, -kSize.height, 2 * kWidth}, sink);
    });
    return 0;
}
