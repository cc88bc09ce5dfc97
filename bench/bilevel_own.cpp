#include <string.h>

#include "bilevel_ways.h"
#include "still/pixels/pixel_convert.h"
#include "tiff/adaptive_threshold.h"
#include "tiff/encode_g4.h"
#include "tiff/encode_g4_ways.h"
#include "tiff/threshold_ways.h"
#include "tiff/tiff_file.h"

namespace cam::bench {
namespace {

uint32_t Pixels(const Picture& picture) {
    return picture.size.width * picture.size.rows;
}

Way ThresholdBy(const char* name, tiff::ThresholdWay* threshold) {
    return {Stage::Threshold, name, false, [threshold](const Picture& picture) {
                // As the image writer has it: the plane at the front of a frame of 16-bit pixels.
                auto buffer = std::make_shared<std::vector<uint8_t>>(picture.grey.size() * 2);
                auto prepare = [buffer, &picture] {
                    memcpy(buffer->data(), picture.grey.data(), picture.grey.size());
                };
                auto run = [buffer, &picture, threshold]() -> size_t {
                    tiff::ThresholdPlan plan;
                    const bool done =
                        PlanThreshold(buffer->data(), picture.size.width,
                                      static_cast<int32_t>(picture.size.rows),
                                      static_cast<uint32_t>(buffer->size()), kThresholdRatio, &plan) &&
                        threshold(plan);
                    return done ? Pixels(picture) : 0;
                };
                return Job{prepare, run};
            }};
}

Way EncodeBy(const char* name, tiff::EncodeG4Way* encode) {
    return {Stage::Group4, name, false, [encode](const Picture& picture) {
                auto run = [encode, &picture]() -> size_t {
                    const auto size = static_cast<uint32_t>(picture.raster.size());
                    tiff::ByteBuffer output(size + picture.size.width, true);
                    uint32_t bytes = 0;
                    encode(picture.raster.data(), size, picture.size.width, picture.size.rows, output,
                           &bytes);
                    return bytes;
                };
                return Job{[] {}, run};
            }};
}

// Everything between a YUY2 frame and a TIFF file in memory, by the given ways to threshold and to convert pixels.
Way FileBy(const char* name, tiff::ThresholdWay* threshold, still::PixelLevel level) {
    return {
        Stage::File, name, false, [=](const Picture& picture) {
            auto frame = std::make_shared<std::vector<uint8_t>>();
            auto run = [=, &picture]() -> size_t {
                const still::FrameShape shape{picture.size.width, picture.size.rows, picture.size.width * 2};
                const still::PixelRoutines& routines = *still::PixelRoutinesAt(level);
                Yuy2ToGrey(frame->data(), shape, routines);
                tiff::ThresholdPlan plan;
                PlanThreshold(frame->data(), shape.width, static_cast<int32_t>(shape.rows),
                              static_cast<uint32_t>(frame->size()), kThresholdRatio, &plan);
                threshold(plan);
                ExpandGrey(frame->data(), shape, routines);
                tiff::ByteBuffer file((Pixels(picture) + 7) / 8, true);
                EncodeBilevelTiff(file, frame->data(), static_cast<int32_t>(shape.width),
                                  -static_cast<int32_t>(shape.rows), nullptr, false);
                return file.Length();
            };
            return Job{[frame, &picture] { *frame = picture.yuy2; }, run};
        }};
}

}  // namespace

const char* StageName(Stage stage) {
    switch (stage) {
        case Stage::Threshold:
            return "threshold";
        case Stage::Group4:
            return "group4";
        case Stage::File:
            return "file";
    }
    return "";
}

std::vector<Way> OwnWays() {
    using namespace tiff;
    using still::PixelLevel;
    std::vector<Way> ways = {ThresholdBy("plain", ThresholdPlain), ThresholdBy("word", ThresholdWord),
                             EncodeBy("plain", EncodeG4Plain), EncodeBy("word", EncodeG4Word)};
#ifdef __x86_64__
    ways.push_back(ThresholdBy("sse2", ThresholdSse2));
    ways.push_back(EncodeBy("sse2", EncodeG4Sse2));
    ways.push_back(FileBy("sse2", ThresholdSse2, PixelLevel::Sse2));
    if (__builtin_cpu_supports("avx2")) {
        ways.push_back(ThresholdBy("avx2", ThresholdAvx2));
        ways.push_back(FileBy("avx2", ThresholdAvx2, PixelLevel::Avx2));
    }
#endif
    return ways;
}

}  // namespace cam::bench
