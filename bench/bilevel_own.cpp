#include <string.h>

#include "bilevel_contenders.h"
#include "still/pixels/pixel_convert.h"
#include "tiff/byte_buffer.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_file.h"
#include "tiff/tiff_kernels.h"

namespace cam::bench {
namespace {

uint32_t Pixels(const Picture& picture) {
    return picture.size.width * picture.size.rows;
}

Contender ThresholdBy(const char* name, tiff::ThresholdKernel* threshold) {
    return {Stage::Threshold, name, false, [threshold](const Picture& picture) {
                // As the image writer has it: the plane at the front of a frame of 16-bit pixels.
                auto buffer = std::make_shared<std::vector<uint8_t>>(picture.grey.size() * 2);
                auto prepare = [buffer, &picture] {
                    memcpy(buffer->data(), picture.grey.data(), picture.grey.size());
                };
                auto run = [buffer, &picture, threshold]() -> size_t {
                    const auto plan =
                        tiff::PlanThreshold(*buffer, picture.size.width,
                                            static_cast<int32_t>(picture.size.rows), kThresholdRatio);
                    return plan && threshold(*plan) ? Pixels(picture) : 0;
                };
                return Job{prepare, run};
            }};
}

Contender EncodeBy(const char* name, tiff::EncodeG4Kernel* encode) {
    return {Stage::Group4, name, false, [encode](const Picture& picture) {
                auto run = [encode, &picture]() -> size_t {
                    const auto size = static_cast<uint32_t>(picture.raster.size());
                    tiff::ByteBuffer output(size + picture.size.width, true);
                    EncodeG4(picture.raster, picture.size.width, picture.size.rows, output, encode);
                    return output.Length();
                };
                return Job{[] {}, run};
            }};
}

// Everything between a YUY2 frame and a TIFF file in memory, thresholding and converting pixels with the
// kernels of `set`.
Contender FileBy(InstructionSet set) {
    return {Stage::File, NameOf(set), false, [=](const Picture& picture) {
                auto frame = std::make_shared<std::vector<uint8_t>>();
                auto run = [=, &picture]() -> size_t {
                    const Frame words = {*frame, static_cast<int32_t>(picture.size.width),
                                         -static_cast<int32_t>(picture.size.rows), picture.size.width * 2};
                    const still::PixelKernels& pixels = *still::kPixelKernels.For(set);
                    Yuy2ToGrey(words, pixels);
                    const auto plan =
                        tiff::PlanThreshold(*frame, picture.size.width, -words.height, kThresholdRatio);
                    tiff::kTiffKernels.For(set)->threshold(*plan);
                    ExpandGrey(words, pixels);
                    tiff::ByteBuffer file((Pixels(picture) + 7) / 8, true);
                    EncodeBilevelTiff(file, words, nullptr, false);
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

std::vector<Contender> OwnContenders() {
    std::vector<Contender> contenders;
    const tiff::TiffKernels* slower = nullptr;
    for (const InstructionSet set : kInstructionSets) {
        const tiff::TiffKernels* const kernels = tiff::kTiffKernels.For(set);
        if (!kernels) continue;
        // A kernel that serves two sets bears the name of the first.
        if (!slower || kernels->threshold != slower->threshold)
            contenders.push_back(ThresholdBy(NameOf(set), kernels->threshold));
        if (!slower || kernels->encodeG4 != slower->encodeG4)
            contenders.push_back(EncodeBy(NameOf(set), kernels->encodeG4));
        if (set > InstructionSet::Word) contenders.push_back(FileBy(set));
        slower = kernels;
    }
    return contenders;
}

}  // namespace cam::bench
