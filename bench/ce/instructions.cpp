// Instructions for each pixel on ARM code: exact, and the same in every run.
//
//   ce_instructions [--chart] [FOLDER]    of kernels.dll; default: the ce build's
//   ce_instructions --time [FOLDER]       also the time that a device may take (emulator/device_time.h); from
//                                         empty caches, twice as slow
//   ce_instructions --scenes [FOLDER]     of pictures made from seeds instead
//   ce_instructions --memory [FOLDER]     instead, the memory that each format takes beside the frame
//
// The picture is a frame of the real film when scripts/setup.sh has put it into build/media, else, or with
// --chart, a chart, which is the same on every machine.
// Ends with 1 when a second run counts otherwise.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "emulator/process.h"
#include "scenes.h"

using namespace ce;

namespace {

constexpr u32 kWidth = 640, kRows = 480, kPixels = kWidth * kRows, kStride = 2 * kWidth;
constexpr u32 kFrame = 0x60000000, kOut = 0x64000000, kBytes = 0x00400000;
constexpr u32 kPlain = 0, kWord = 1, kChosen = 2;

// Y0 U Y1 V from the first frame of a 4:2:0 film.
std::vector<u8> ReadFilm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!std::getline(file, line) || line.find("W640 H480") == std::string::npos || !std::getline(file, line))
        return {};
    std::vector<u8> planes(kPixels * 3 / 2), frame(2 * kPixels);
    if (!file.read(reinterpret_cast<char*>(planes.data()), static_cast<std::streamsize>(planes.size())))
        return {};
    for (u32 y = 0; y < kRows; ++y) {
        for (u32 x = 0; x < kWidth; ++x) {
            const u32 chroma = kPixels + (x % 2 ? kPixels / 4 : 0) + y / 2 * (kWidth / 2) + x / 2;
            frame[2 * (y * kWidth + x)] = planes[y * kWidth + x];
            frame[2 * (y * kWidth + x) + 1] = planes[chroma];
        }
    }
    return frame;
}

std::vector<u8> MakeChart() {
    std::vector<u8> frame(2 * kPixels);
    for (u32 i = 0; i < kPixels; ++i) {
        const u32 x = i % kWidth, y = i / kWidth;
        frame[2 * i] = static_cast<u8>((x / 20 + y / 20) % 2 ? 40 + x % 16 : 180 + y % 16);
        frame[2 * i + 1] = static_cast<u8>(128 + (x / 2 + y) % 32);
    }
    return frame;
}

class Bench {
  public:
    Bench(const std::string& folder, std::vector<u8> frame, bool isTimed)
        : module(LoadCounted(folder + "/kernels.dll", isTimed)), yuy2(std::move(frame)) {
        process.machine.Map(kFrame, kBytes);
        process.machine.Map(kOut, kBytes);
        process.machine.CheckAlignment(false);
        Put(yuy2);
        Call("runFrame", {kChosen, kFrame, kWidth, kRows, kStride});
        rgb565 = Get(2 * kPixels);
        for (u32 i = 0; i < kPixels; ++i) grey.push_back(yuy2[2 * i]);
        Put(grey);
        Call("runThreshold", {kChosen, kFrame, kWidth, kRows, kPixels, 10});
        bilevel = Get(kPixels);
        raster.resize(kPixels / 8);
        for (u32 i = 0; i < kPixels; ++i)
            raster[i / 8] = static_cast<u8>(raster[i / 8] << 1 | (bilevel[i] == 0));
    }

    void Pixels(const char* name, u32 kernel, const std::vector<u8>& input, bool inPlace) {
        for (const u32 set : {kPlain, kWord}) {
            Count(name, set, input, [&] {
                for (u32 y = 0; y < kRows; ++y) {
                    const u32 row = kFrame + y * static_cast<u32>(input.size()) / kRows;
                    Call("runPixels", {set, kernel, inPlace ? row : kOut, row, kWidth});
                }
                return 0u;
            });
        }
    }
    void All() {
        std::printf("%-28s %-8s %14s %12s %10s %10s", "640 x 480", "kernels", "instructions", "per pixel",
                    "of plain", "bytes");
        if (process.machine.Time()) std::printf(" %10s %10s %10s %10s", "accesses", "fills", "cycles", "ms");
        std::printf("\n");
        Pixels("YUY2 to RGB565", 0, yuy2, true);
        Pixels("luma of YUY2", 1, yuy2, false);
        Pixels("grey of RGB565", 2, rgb565, false);
        Pixels("grey to words", 3, grey, false);
        Pixels("RGB565 to RGB888", 4, rgb565, false);
        for (const u32 set : {kPlain, kWord, kChosen}) {
            Count("threshold", set, grey, [&] {
                return Call("runThreshold", {set, kFrame, kWidth, kRows, kPixels, 10}), 0u;
            });
        }
        for (const u32 set : {kPlain, kWord, kChosen}) {
            Count("Group 4", set, raster, [&] {
                return Call("runGroup4", {set, kFrame, kWidth, kRows, kOut, kBytes});
            });
        }
        Count("TIFF file", kChosen, Words(), [&] {
            return Call("runTiff", {kFrame, kWidth, kRows, kOut, kBytes});
        });
        for (const u32 quality : {50u, 90u}) {
            Count(quality == 50 ? "JPEG, quality 50" : "JPEG, quality 90", kChosen, rgb565, [&] {
                return Call("runJpeg", {kFrame, kWidth, kRows, kStride, quality, kOut, kBytes});
            });
        }
        Count("PNG", kChosen, rgb565, [&] {
            return Call("runPng", {kFrame, kWidth, kRows, kStride, kOut, kBytes});
        });
    }
    // One picture through everything that depends on what it shows; instructions a pixel.
    void Scene(const char* name, u32 seed) {
        std::printf("%-11s %4u", name, seed);
        const auto count = [&](const std::vector<u8>& input, const char* function,
                               const std::vector<u32>& words) {
            Put(input);
            process.machine.StartCounting();
            Call(function, words);
            std::printf(" %9.2f", PerPixel(process.machine.StopCounting()));
        };
        count(grey, "runThreshold", {kChosen, kFrame, kWidth, kRows, kPixels, 10});
        count(raster, "runGroup4", {kChosen, kFrame, kWidth, kRows, kOut, kBytes});
        count(rgb565, "runJpeg", {kFrame, kWidth, kRows, kStride, 90, kOut, kBytes});
        count(rgb565, "runPng", {kFrame, kWidth, kRows, kStride, kOut, kBytes});
        std::printf("\n");
        std::fflush(stdout);
    }
    bool repeatable = true;

  private:
    Module& LoadCounted(const std::string& path, bool isTimed) {
        if (isTimed) process.machine.EstimateTime();
        process.machine.StartCounting();
        return process.Load(path);
    }
    u32 Call(const char* name, const std::vector<u32>& words) { return process.Call(module, name, words); }
    void Put(const std::vector<u8>& bytes) {
        std::memcpy(process.machine.Bytes(kFrame, static_cast<u32>(bytes.size())), bytes.data(),
                    bytes.size());
    }
    std::vector<u8> Get(u32 size) {
        const u8* bytes = process.machine.Bytes(kFrame, size);
        return {bytes, bytes + size};
    }
    std::vector<u8> Words() const {
        std::vector<u8> words;
        for (const u8 sample : bilevel) words.insert(words.end(), 2, sample);
        return words;
    }
    template <typename F>
    void Count(const char* name, u32 set, const std::vector<u8>& input, F run) {
        u64 counts[2];
        u32 bytes = 0;
        for (u64& count : counts) {
            Put(input);
            process.machine.StartCounting();
            bytes = run();
            count = process.machine.StopCounting();
        }
        repeatable = repeatable && counts[0] == counts[1];
        const char* sets[] = {"plain", "word", "chosen"};
        // The plain kernel is counted before its others.
        if (set == kPlain) {
            plainName = name;
            plainCount = counts[0];
        }
        char ofPlain[16] = "-";
        if (plainName == name) {
            std::snprintf(ofPlain, sizeof ofPlain, "%.3f",
                          static_cast<double>(counts[0]) / static_cast<double>(plainCount));
        }
        std::printf("%-28s %-8s %14llu %12.2f %10s %10u", name, sets[set],
                    static_cast<unsigned long long>(counts[0]), PerPixel(counts[0]), ofPlain, bytes);
        if (const DeviceTime* time = process.machine.Time()) {
            std::printf(" %10.2f %10.3f %10.2f %10.1f", PerPixel(time->accesses),
                        PerPixel(time->data.fills + time->code.fills), PerPixel(time->Cycles()),
                        1000.0 * static_cast<double>(time->Cycles()) / DeviceTime::kHertz);
        }
        std::printf("%s\n", counts[0] == counts[1] ? "" : "  NOT REPEATED");
    }
    static double PerPixel(u64 count) { return static_cast<double>(count) / kPixels; }

    Process process;
    Module& module;
    std::vector<u8> yuy2, rgb565, grey, bilevel, raster;
    std::string plainName;
    u64 plainCount = 0;
};

}  // namespace

namespace {

// Y0 U Y1 V of a scene, as a camera would send it.
std::vector<u8> Yuy2Of(const cam::bench::Bytes& rgb565) {
    std::vector<u8> yuy2(2 * kPixels);
    for (u32 i = 0; i < kPixels; i += 2) {
        int blue = 0, red = 0;
        for (u32 x = i; x < i + 2; ++x) {
            const u32 word = static_cast<u32>(rgb565[2 * x] | rgb565[2 * x + 1] << 8);
            const int r = static_cast<int>(word >> 11) * 255 / 31,
                      g = static_cast<int>(word >> 5 & 63) * 255 / 63;
            const int b = static_cast<int>(word & 31) * 255 / 31;
            yuy2[2 * x] = static_cast<u8>(16 + (66 * r + 129 * g + 25 * b + 128) / 256);
            blue += -38 * r - 74 * g + 112 * b;
            red += 112 * r - 94 * g - 18 * b;
        }
        yuy2[2 * i + 1] = static_cast<u8>(128 + blue / 512);
        yuy2[2 * i + 3] = static_cast<u8>(128 + red / 512);
    }
    return yuy2;
}

void CountScenes(const std::string& folder) {
    using cam::bench::Scene;
    std::printf("%-11s %4s %9s %9s %9s %9s\n", "scene", "seed", "threshold", "Group 4", "JPEG", "PNG");
    for (const Scene scene :
         {Scene::Landscape, Scene::Page, Scene::Grey, Scene::Screen, Scene::Text, Scene::Halftone}) {
        for (const u32 seed : {1u, 2u}) {
            const auto frame = cam::bench::MakeScene(scene, {kWidth, kRows}, seed);
            Bench(folder, Yuy2Of(frame), false).Scene(cam::bench::NameOf(scene), seed);
        }
    }
}

// The most that is allocated at a time while a file is written. What the picture shows makes no difference.
void PrintMemory(const std::string& folder) {
    constexpr u32 kSizes[][2] = {{640, 480}, {1600, 1200}, {2592, 1944}, {2976, 1680}};
    constexpr const char* kFormats[] = {"BMP", "JPEG", "PNG", "TIFF"};
    // Rows so wide that one more block of them takes more than is aimed at.
    constexpr u32 kAimed = 192 * 1024, kFewRows = 32, kWidest = 32768;
    constexpr u32 kLargest = 0x00A00000, kName = kOut;
    const std::string files = std::filesystem::temp_directory_path().string();
    Process process(files);
    Module& module = process.Load(folder + "/kernels.dll");
    process.machine.Map(kFrame, kLargest);
    process.machine.Map(kOut, 0x1000);
    process.machine.CheckAlignment(false);
    const std::string name = "ocellus-memory-" + std::to_string(getpid());
    for (u32 i = 0; i <= name.size(); ++i)
        process.machine.Write(kName + 2 * i, static_cast<u16>(name.c_str()[i]));
    const auto peak = [&](u32 format, u32 width, u32 rows) {
        const u32 before = process.heap.Bytes();
        process.heap.StartPeak();
        if (process.Call(module, "runFile", {format, kFrame, width, rows, kName}) != 0)
            throw Failure("the file could not be written");
        return process.heap.PeakBytes() - before;
    };
    std::printf("KB at most %12s %12s %12s %12s %12s\n", "640x480", "1600x1200", "2592x1944", "2976x1680",
                "widest");
    for (u32 format = 0; format < 4; ++format) {
        std::printf("%-10s", kFormats[format]);
        for (const auto& size : kSizes) std::printf(" %12.1f", peak(format, size[0], size[1]) / 1024.0);
        u32 fits = kSizes[0][0], fails = kWidest;
        while (fails - fits > 8) {
            const u32 middle = (fits + fails) / 2 / 8 * 8;
            (peak(format, middle, kFewRows) <= kAimed ? fits : fails) = middle;
        }
        std::printf(fails == kWidest ? " %9s%u\n" : " %12s%u\n", fails == kWidest ? "above " : "", fits);
    }
    std::filesystem::remove(files + "/" + name);
}

}  // namespace

int main(int count, char** arguments) {
    const std::string option = count > 1 && arguments[1][0] == '-' ? arguments[1] : "";
    const bool wantsChart = option == "--chart";
    const int next = option.empty() ? 1 : 2;
    const std::string folder = count > next ? arguments[next] : OCELLUS_CE_BIN;
    if (!std::ifstream(folder + "/kernels.dll")) {
        std::printf(
            "%s/kernels.dll: the ce build is missing; make it with: cmake --preset ce && cmake --build "
            "--preset ce\n",
            folder.c_str());
        return 77;
    }
    try {
        if (option == "--memory") return PrintMemory(folder), 0;
        if (option == "--scenes") return CountScenes(folder), 0;
        std::vector<u8> frame;
        if (!wantsChart) frame = ReadFilm(OCELLUS_MEDIA "/film.y4m");
        std::printf("Picture: %s\n", wantsChart      ? "a chart"
                                     : frame.empty() ? "a chart (run scripts/setup.sh for a real one)"
                                                     : "a frame of build/media/film.y4m");
        if (frame.empty()) frame = MakeChart();
        Bench bench(folder, std::move(frame), option == "--time");
        bench.All();
        return bench.repeatable ? 0 : 1;
    } catch (const Failure& failure) {
        std::printf("%s\n", failure.what());
        return 1;
    }
}
