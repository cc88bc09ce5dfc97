// Files beside those of libpng with its defaults, or of libjpeg-turbo: how many times faster, and how large,
// for each scene and size. A JPEG file has to be the same, byte for byte.
//
//     encoder_bench png|jpeg [--quick] [SCENE...]    --quick: only 640 x 480, a round of each
//
// A pair is timed in turn, in the thread's own time; the best round of each counts.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>

#include "memory_sink.h"
#include "pixel_peers.h"
#include "scenes.h"
#include "still/encoders/jpeg_encoder.h"
#include "still/encoders/png_encoder.h"

using namespace cam::bench;
using namespace cam::still;

namespace {

constexpr int kQuality = 90;

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

struct Format {
    const char* peer;
    int peerRounds, rounds;
    bool (*alone)(const Bytes& rgb888, Size size, Bytes& out, std::size_t* used);
    EncodeStatus (*encode)(const cam::Frame& frame, ByteSink& sink);
    bool isSame;  // as the peer's file
};

constexpr Format kPng = {
    "libpng", 2, 4, PngAlone, [](const cam::Frame& frame, ByteSink& sink) { return EncodePng(frame, sink); },
    false};
constexpr Format kJpeg = {
    "libjpeg",
    12,
    12,
    [](const Bytes& rgb888, Size size, Bytes& out, std::size_t* used) {
        return JpegAlone(rgb888, size, kQuality, out, used);
    },
    [](const cam::Frame& frame, ByteSink& sink) { return EncodeJpeg(frame, kQuality, sink); },
    true};

// False when a file is not what it has to be.
bool Measure(const Format& format, Scene scene, Size size, std::uint32_t seed, bool quick) {
    Bytes rgb565 = MakeScene(scene, size, seed);
    if (rgb565.empty()) return true;
    const Bytes rgb888 = Rgb888Of(rgb565);
    Bytes out(rgb888.size() * 2 + 65536), theirOut(out.size());
    const cam::Frame frame = {rgb565, size.width, -size.height, static_cast<std::uint32_t>(size.width) * 2};
    double theirs = 0, ours = 0;
    std::size_t theirBytes = 0, ourBytes = 0;
    for (int round = 0; round < (quick ? 1 : format.rounds); ++round) {
        if (round < format.peerRounds)
            Time(theirs, [&] { format.alone(rgb888, size, theirOut, &theirBytes); });
        Time(ours, [&] {
            MemorySink sink(out);
            ourBytes = format.encode(frame, sink) == EncodeStatus::Done ? sink.Used() : 0;
        });
    }
    const double pixels = 1.0 * size.width * size.height;
    std::printf("%-11s %4u %4d x %-4d %8.1f %8.1f %7.2f %10zu %7.3f\n", NameOf(scene), seed, size.width,
                size.height, theirs * 1e6 / pixels, ours * 1e6 / pixels, theirs / ours, ourBytes,
                1.0 * static_cast<double>(ourBytes) / static_cast<double>(theirBytes));
    std::fflush(stdout);
    if (ourBytes == 0) return false;
    const bool same = ourBytes == theirBytes && std::memcmp(out.data(), theirOut.data(), ourBytes) == 0;
    if (format.isSame && !same)
        std::fprintf(stderr, "%s: not the file that %s writes\n", NameOf(scene), format.peer);
    return same || !format.isSame;
}

}  // namespace

int main(int count, char** arguments) {
    const auto words = std::span(arguments, static_cast<std::size_t>(count)).subspan(1);
    const std::string_view name = words.empty() ? "" : words[0];
    if (name != "png" && name != "jpeg") {
        std::fprintf(stderr, "usage: encoder_bench png|jpeg [--quick] [SCENE...]\n");
        return 2;
    }
    const Format& format = name == "png" ? kPng : kJpeg;
    const bool quick = words.size() > 1 && std::strcmp(words[1], "--quick") == 0;
    const auto chosen = words.subspan(quick ? 2 : 1);
    const auto isChosen = [&](Scene scene) {
        return chosen.empty() || std::ranges::any_of(chosen, [&](const char* word) {
                   return std::strcmp(word, NameOf(scene)) == 0;
               });
    };
    constexpr Size kSizes[] = {{640, 480}, {1600, 1200}, {2592, 1944}};
    std::printf("%-11s %4s %-11s %8s %8s %7s %10s %7s\n", "scene", "seed", "size", format.peer, "ours",
                "times", "bytes", "share");
    bool good = true;
    for (const Size& size : kSizes) {
        for (const Scene scene : kScenes) {
            if (!isChosen(scene)) continue;
            const bool bySeed =
                scene != Scene::Photograph && scene != Scene::Gradient && scene != Scene::Chart;
            for (std::uint32_t seed = 1; seed <= (bySeed && size.width < 1000 && !quick ? 3u : 1u); ++seed)
                good &= Measure(format, scene, size, seed, quick);
        }
        if (quick) break;
    }
    return good ? 0 : 1;
}
