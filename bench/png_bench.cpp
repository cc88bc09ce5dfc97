// PNG files beside libpng's with its defaults: how many times faster, and how large, for each scene and size.
//
//     png_bench [--quick] [SCENE...]    --quick: only 640 x 480, a round of each
//
// A pair is timed in turn, in the thread's own time; the best round of each counts.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>

#include "memory_sink.h"
#include "pixel_peers.h"
#include "scenes.h"
#include "still/encoders/png_encoder.h"

using namespace cam::bench;
using namespace cam::still;

namespace {

double Milliseconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

template <typename F>
void Time(double& best, F run) {
    const double start = Milliseconds();
    run();
    const double time = Milliseconds() - start;
    if (best == 0 || time < best) best = time;
}

void Measure(Scene scene, Size size, std::uint32_t seed, int rounds) {
    Bytes rgb565 = MakeScene(scene, size, seed);
    if (rgb565.empty()) return;
    const Bytes rgb888 = Rgb888Of(rgb565);
    Bytes out(rgb888.size() * 2 + 65536);
    const cam::Frame frame = {rgb565, size.width, -size.height, static_cast<std::uint32_t>(size.width) * 2};
    double theirs = 0, ours = 0;
    std::size_t theirBytes = 0, ourBytes = 0;
    for (int round = 0; round < rounds; ++round) {
        if (round < 2) Time(theirs, [&] { PngAlone(rgb888, size, out, &theirBytes); });
        Time(ours, [&] {
            MemorySink sink(out);
            if (EncodePng(frame, sink) == EncodeStatus::Done) ourBytes = sink.Used();
        });
    }
    const double pixels = 1.0 * size.width * size.height;
    std::printf("%-11s %4u %4d x %-4d %8.1f %8.1f %7.2f %10zu %7.3f\n", NameOf(scene), seed, size.width,
                size.height, theirs * 1e6 / pixels, ours * 1e6 / pixels, theirs / ours, ourBytes,
                1.0 * static_cast<double>(ourBytes) / static_cast<double>(theirBytes));
    std::fflush(stdout);
}

}  // namespace

int main(int count, char** arguments) {
    const bool quick = count > 1 && std::strcmp(arguments[1], "--quick") == 0;
    const auto isChosen = [&](Scene scene) {
        const auto chosen = std::span(arguments, static_cast<std::size_t>(count)).subspan(quick ? 2 : 1);
        return chosen.empty() || std::ranges::any_of(chosen, [&](const char* name) {
                   return std::strcmp(name, NameOf(scene)) == 0;
               });
    };
    constexpr Size kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}};
    std::printf("%-11s %4s %-11s %8s %8s %7s %10s %7s\n", "scene", "seed", "size", "libpng", "ours", "times",
                "bytes", "share");
    for (const Size& size : kSizes) {
        for (const Scene scene : kScenes) {
            if (!isChosen(scene)) continue;
            const bool bySeed =
                scene != Scene::Photograph && scene != Scene::Gradient && scene != Scene::Chart;
            for (std::uint32_t seed = 1; seed <= (bySeed && size.width < 1000 ? 3u : 1u); ++seed)
                Measure(scene, size, seed, quick ? 1 : 4);
        }
        if (quick) break;
    }
    return 0;
}
