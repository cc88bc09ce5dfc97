// Times the pixel kernels alone, so that two builds of them can be compared: one line for each kernel, size
// and set, separated by tabs, with nanoseconds a pixel. scripts/bench.sh runs the native and the Windows
// build in turn and prints the ratios.
//
// By the wall clock, which both systems read alike.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <vector>

#include "pixel_frames.h"
#include "still/pixels/pixel_convert.h"

using namespace cam::bench;
using namespace cam::still;

namespace {

constexpr Size kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}};
constexpr std::size_t kPixelsForEach = 20'200'000;  // in all rounds: four of the largest size
constexpr std::uint32_t kBandPixels = 640 * 480;

// On a page of its own, as a sample's buffer is: where each system's allocator would put it makes more
// difference than the build.
class Pages {
  public:
    explicit Pages(std::size_t size) : bytes(static_cast<std::uint8_t*>(operator new(size, kAlignment))) {}
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;
    ~Pages() { operator delete(bytes, kAlignment); }
    std::uint8_t* data() const { return bytes; }

  private:
    static constexpr std::align_val_t kAlignment{4096};
    std::uint8_t* bytes;
};

// `rgb` has room for one row of RGB888, as an encoder has.
using Run = void (*)(const cam::Frame& frame, const PixelKernels& kernels, std::uint8_t* rgb);

void ToRgb888(const cam::Frame& frame, const PixelKernels& kernels, std::uint8_t* rgb) {
    for (std::uint32_t y = 0; y < frame.rows(); ++y)
        kernels.rgb565RowToRgb888(rgb, frame.MemoryRow(y).data(), static_cast<std::size_t>(frame.width));
}

template <void (*Conversion)(const cam::Frame&, const PixelKernels&)>
void InPlace(const cam::Frame& frame, const PixelKernels& kernels, std::uint8_t*) {
    Conversion(frame, kernels);
}

struct NamedRun {
    const char* name;
    Run run;
};
constexpr NamedRun kRuns[] = {{"YUY2 to RGB565", InPlace<Yuy2ToRgb565>},
                              {"luma of YUY2", InPlace<Yuy2ToGrey>},
                              {"grey of RGB565", InPlace<Rgb565ToGrey>},
                              {"grey to words", InPlace<ExpandGrey>},
                              {"RGB565 to RGB888", ToRgb888}};

// Sum of the best times of bands of rows, so short that on a busy machine some round of each passes without a
// break.
double BestNanoseconds(const NamedRun& named, Size size, const PixelKernels& kernels, const Bytes& input) {
    const auto width = static_cast<std::uint32_t>(size.width);
    const auto height = static_cast<std::uint32_t>(size.height);
    const std::uint32_t stride = width * 2;
    const Pages frame(input.size()), rgb(std::size_t{width} * 3);
    const std::uint32_t bandRows = kBandPixels / width;
    const std::size_t pixels = std::size_t{width} * height;
    std::vector<double> best((height + bandRows - 1) / bandRows, std::numeric_limits<double>::max());
    for (std::size_t round = 0; round < kPixelsForEach / pixels; ++round) {
        std::memcpy(frame.data(), input.data(), input.size());
        for (std::size_t band = 0; band < best.size(); ++band) {
            const auto first = static_cast<std::uint32_t>(band) * bandRows;
            const std::uint32_t rows = std::min(bandRows, height - first);
            const cam::Frame part = {{frame.data() + std::size_t{first} * stride, std::size_t{rows} * stride},
                                     size.width,
                                     static_cast<std::int32_t>(rows),
                                     stride};
            const auto start = std::chrono::steady_clock::now();
            named.run(part, kernels, rgb.data());
            const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
            best[band] = std::min(best[band], time.count());
        }
    }
    return std::accumulate(best.begin(), best.end(), 0.0) / static_cast<double>(pixels);
}

}  // namespace

int main() {
    for (const Size& size : kSizes) {
        const Bytes input = MakeYuy2(size);  // the kernels take the same time over any bytes
        for (const NamedRun& named : kRuns) {
            for (const cam::InstructionSet set : cam::kInstructionSets) {
                const PixelKernels* kernels = kPixelKernels.For(set);
                if (!kernels) continue;
                std::printf("%s\t%dx%d\t%s\t%.4f\n", named.name, size.width, size.height, cam::NameOf(set),
                            BestNanoseconds(named, size, *kernels, input));
            }
        }
    }
    return 0;
}
