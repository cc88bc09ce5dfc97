// Times the pixel conversions and the encoders, each kernel set and each peer in turn, round after round,
// and reports the best round of each: what the machine does when nothing else disturbs it.
//
//     pixel_bench [--quick] [conversions|encoders]    --quick: only 640 x 480, a tenth of the rounds
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <ranges>
#include <string>
#include <vector>

#include "memory_sink.h"
#include "pixel_frames.h"
#include "pixel_peers.h"
#include "still/encoders/jpeg_encoder.h"
#include "still/pixels/pixel_convert.h"
#include "still/encoders/png_encoder.h"

using namespace cam::bench;
using namespace cam::still;

namespace {

constexpr Size kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}};
constexpr int kQuality = 90;
bool quick = false;

struct Contender {
    std::string name;
    std::function<void()> prepare;  // not timed; may be empty
    std::function<bool()> run;      // false: not available
    double best = 0;                // milliseconds
};

// The thread's own time: what others do on the machine does not count.
double ThreadMilliseconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double Milliseconds(const std::function<bool()>& run, bool& available) {
    const double start = ThreadMilliseconds();
    available = run();
    return ThreadMilliseconds() - start;
}

// Rounds of all contenders; the first warms up and counts as well.
void Race(const char* what, Size size, std::vector<Contender> contenders, int rounds) {
    if (quick) rounds = (rounds + 9) / 10;
    for (int round = 0; round < rounds; ++round) {
        for (Contender& contender : contenders) {
            if (contender.best < 0) continue;
            if (contender.prepare) contender.prepare();
            bool available = true;
            const double time = Milliseconds(contender.run, available);
            if (!available)
                contender.best = -1;
            else if (contender.best == 0 || time < contender.best)
                contender.best = time;
        }
    }
    std::printf("\n%s, %d x %d (best of %d rounds)\n", what, size.width, size.height, rounds);
    const double reference = contenders.front().best;
    for (const Contender& contender : contenders) {
        if (contender.best < 0) {
            std::printf("  %-38s not installed\n", contender.name.c_str());
            continue;
        }
        std::printf("  %-38s %9.3f ms  %7.3f ns/pixel  %6.2f of the first\n", contender.name.c_str(),
                    contender.best, contender.best * 1e6 / size.width / size.height,
                    contender.best / reference);
    }
}

std::string OursWith(cam::InstructionSet set) {
    return std::string("Ocellus ") + cam::NameOf(set);
}

cam::Frame FrameOf(Bytes& bytes, Size size) {
    return {bytes, size.width, -size.height, static_cast<std::uint32_t>(size.width) * 2};
}

// As much memory read and written as there is in `bytes` of it.
constexpr const char* kFloor = "floor: the memory, copied";
bool Copy(Bytes& to, const Bytes& from, std::size_t bytes) {
    std::memcpy(to.data(), from.data(), bytes);
    return true;
}

using Conversion = void (*)(const cam::Frame&, const PixelKernels&);

// One contender for each kernel set, the fastest first; the frame is made anew before each run, since the
// conversions work in place.
std::vector<Contender> KernelSets(Conversion conversion, Size size, const Bytes& input, Bytes& frame) {
    std::vector<Contender> contenders;
    for (const cam::InstructionSet set : std::views::reverse(cam::kInstructionSets)) {
        const PixelKernels* kernels = kPixelKernels.For(set);
        contenders.push_back({OursWith(set),
                              [&input, &frame] { std::memcpy(frame.data(), input.data(), input.size()); },
                              [=, &frame] {
                                  if (kernels) conversion(FrameOf(frame, size), *kernels);
                                  return kernels != nullptr;
                              }});
    }
    return contenders;
}

void RaceConversions(Size size) {
    const std::size_t pixels = static_cast<std::size_t>(size.width) * size.height;
    const int rounds = static_cast<int>(600'000'000 / pixels / 4);
    const Bytes yuy2 = MakeYuy2(size);
    const Bytes rgb565 = MakeRgb565(size);
    Bytes grey = MakeBlackAndWhite(size);
    Bytes frame(pixels * 2), target(pixels * 2), argb(pixels * 4), rgb(pixels * 3);

    auto toRgb = KernelSets(Yuy2ToRgb565, size, yuy2, frame);
    // Warm as the frames converted in place are: read once before the clock starts.
    const auto warm = [&] { std::memcpy(frame.data(), yuy2.data(), yuy2.size()); };
    toRgb.push_back({"libyuv AVX2, two passes", warm,
                     [&] { return YuvTwoPasses(frame, size, YuvLevel::Avx2, argb, target); }});
    toRgb.push_back({"libyuv AVX2, two passes by row", warm,
                     [&] { return YuvTwoPassesByRow(frame, size, YuvLevel::Avx2, argb, target); }});
    toRgb.push_back({"libyuv SSE, two passes", warm,
                     [&] { return YuvTwoPasses(frame, size, YuvLevel::Sse, argb, target); }});
    toRgb.push_back({"swscale", warm, [&] { return SwscaleYuy2ToRgb565(frame, size, target); }});
    // No conversion is faster than reading all of its input and writing all of its output.
    toRgb.push_back({kFloor, warm, [&] { return Copy(target, frame, pixels * 2); }});
    Race("YUY2 to RGB565", size, toRgb, rounds);

    for (const bool fromYuy2 : {true, false}) {
        auto toGrey = KernelSets(fromYuy2 ? Yuy2ToGrey : Rgb565ToGrey, size, fromYuy2 ? yuy2 : rgb565, frame);
        toGrey.push_back({kFloor, warm, [&] { return Copy(target, frame, pixels * 3 / 2); }});
        Race(fromYuy2 ? "Luma of YUY2" : "Grey of RGB565", size, toGrey, rounds);
    }

    auto expansion = KernelSets(ExpandGrey, size, grey, frame);
    expansion.push_back(
        {"OpenCV, grey to BGR565", warm, [&] { return OpenCvGreyTo565(grey, size, target); }});
    expansion.push_back({kFloor, warm, [&] { return Copy(target, frame, pixels * 3 / 2); }});
    Race("Grey to words", size, expansion, rounds);

    std::vector<Contender> toRgb888;
    for (const cam::InstructionSet set : std::views::reverse(cam::kInstructionSets)) {
        const PixelKernels* kernels = kPixelKernels.For(set);
        toRgb888.push_back({OursWith(set), {}, [&, kernels] {
                                if (!kernels) return false;
                                // One row at a time into the same buffer, as the encoders do.
                                for (int y = 0; y < size.height; ++y) {
                                    kernels->rgb565RowToRgb888(
                                        rgb.data(), rgb565.data() + std::size_t{2} * size.width * y,
                                        static_cast<std::size_t>(size.width));
                                }
                                return true;
                            }});
    }
    toRgb888.push_back(
        {"OpenCV, BGR565 to RGB (not rounded)", {}, [&] { return OpenCvRgb565To888(rgb565, size, rgb); }});
    Race("RGB565 to RGB888 rows", size, toRgb888, rounds);
}

#ifdef CAM_HAVE_JPEG
// A file as PictureFile makes it: created anew, written in the encoder's portions, closed.
class FileSink final : public ByteSink {
  public:
    explicit FileSink(const std::string& path)
        : file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666)) {}
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;
    ~FileSink() { close(file); }
    bool Write(std::span<const std::uint8_t> bytes) override {
        return write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    bool Restart() override { return false; }

  private:
    int file;
};

// From a camera's frame to a file in the same folder.
void RaceJpegFiles(Size size) {
    const std::size_t pixels = static_cast<std::size_t>(size.width) * size.height;
    const Bytes yuy2 = MakeYuy2(size);
    Bytes frame(pixels * 2), bgr(pixels * 3);
    const std::string path = (std::filesystem::temp_directory_path() / "pixel_bench.jpg").string();
    const auto warm = [&] { std::memcpy(frame.data(), yuy2.data(), yuy2.size()); };
    Race("YUY2 frame to JPEG file", size,
         {{"Ocellus", warm,
           [&] {
               Yuy2ToRgb565(FrameOf(frame, size));
               FileSink sink(path);
               return EncodeJpeg(FrameOf(frame, size), kQuality, sink) == EncodeStatus::Done;
           }},
          {"OpenCV, YUY2 to BGR, imwrite", warm,
           [&] { return OpenCvJpegFile(frame, size, kQuality, bgr, path); }}},
         static_cast<int>(60'000'000 / pixels));
    std::filesystem::remove(path);
}
#endif

void RaceEncoders(Size size) {
    const std::size_t pixels = static_cast<std::size_t>(size.width) * size.height;
    const Bytes yuy2 = MakeYuy2(size);
    Bytes rgb565 = MakeRgb565(size);
    const Bytes rgb888 = Rgb888Of(rgb565);
    Bytes frame(pixels * 2), out(pixels * 4 + 65536);
#ifdef CAM_HAVE_JPEG
    const Planes planes = PlanesOf(rgb565, size);
    Race("JPEG in memory", size,
         {{"libjpeg-turbo alone, from RGB888", {}, [&] { return JpegAlone(rgb888, size, kQuality, out); }},
          {"Ocellus, from RGB565",
           {},
           [&] {
               MemorySink sink(out);
               return EncodeJpeg(FrameOf(rgb565, size), kQuality, sink) == EncodeStatus::Done;
           }},
          {"Ocellus, from YUY2", [&] { std::memcpy(frame.data(), yuy2.data(), yuy2.size()); },
           [&] {
               Yuy2ToRgb565(FrameOf(frame, size));
               MemorySink sink(out);
               return EncodeJpeg(FrameOf(frame, size), kQuality, sink) == EncodeStatus::Done;
           }},
          {"floor: libjpeg-turbo from planes", {}, [&] { return JpegFromPlanes(planes, kQuality, out); }}},
         static_cast<int>(60'000'000 / pixels));
    RaceJpegFiles(size);
#endif
#ifdef CAM_HAVE_PNG
    Race("PNG in memory", size,
         {{"libpng alone, from RGB888", {}, [&] { return PngAlone(rgb888, size, out); }},
          {"Ocellus, from RGB565",
           {},
           [&] {
               MemorySink sink(out);
               return EncodePng(FrameOf(rgb565, size), sink) == EncodeStatus::Done;
           }}},
         static_cast<int>(15'000'000 / pixels) + 1);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    quick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const int next = quick ? 2 : 1;
    const std::string only = argc > next ? argv[next] : "";
    if (argc > next + 1 || (argc > next && only != "conversions" && only != "encoders")) {
        std::fprintf(stderr, "usage: pixel_bench [--quick] [conversions|encoders]\n");
        return 2;
    }
    for (const Size& size : kSizes) {
        if (only != "encoders") RaceConversions(size);
        if (only != "conversions") RaceEncoders(size);
        if (quick) break;
    }
    return 0;
}
