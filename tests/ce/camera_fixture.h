// What the tests of the library's DLL begin with: the DLL loaded on ARM code, a capture graph played by the
// host, and pictures decoded by others.
#pragma once

#include <doctest/doctest.h>

#include <errno.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "emulator/devices.h"
#include "emulator/drawing.h"
#include "emulator/kernel_objects.h"
#include "emulator/registry.h"
#include "emulator/windows.h"
#include "emulator/graph/graph.h"
#include "support.h"
#include "tables/platform_calls.h"

namespace ce {

constexpr u32 kOwner = 0x00CE0001, kEvents = 0x00CE0002;
constexpr u32 kStillCaptured = 2623;

// The loaded library with a camera's driver, and folders of its own.
struct Fixture {
    Process process{Scratch()};
    Platform platform{process};
    Module& module = process.Load(BuiltDll("ocellus.dll"));
    size_t handles = process.Handles();
    u32 mark = process.heap.Mark();

    Fixture() {
        platform.RegisterFilters(module);
        process.Attachment<Devices>("devices") = {{kCameraClass, u"CAM1:"}};
    }

    static std::string Scratch() {
        const std::string folder =
            std::string(OCELLUS_CE_SCRATCH) + "/" + program_invocation_short_name + "-files";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        return folder;
    }

    i32 Cam(const std::string& name, const std::vector<u32>& words = {}) {
        return static_cast<i32>(process.Call(module, "cam" + name, words));
    }
    i32 State() {
        const u32 place = HostMemory(process, 4);
        REQUIRE(Cam("GetState", {place}) == 0);
        return process.machine.Read<i32>(place);
    }
    void Start() {
        REQUIRE(Cam("Init", {kOwner, 0, 0}) == 0);
        REQUIRE(Cam("SetEventsWindow", {kEvents}) == 0);
        REQUIRE(Cam("StartPreview") == 0);
        REQUIRE(State() == 3);
    }
    // Takes a picture and waits for the message that it has been taken.
    i32 Snap(std::u16string_view name, u32 mode = 0) {
        const u32 text = name.empty() ? 0 : process.NewText(name);
        const size_t messages = process.Attachment<Windows>("windows").posted.size();
        const i32 result = Cam("SnapPicture", {text, mode});
        for (int i = 0;
             result == 0 && i < 100 && process.Attachment<Windows>("windows").posted.size() == messages; ++i)
            process.scheduler.Sleep(20);
        if (text) process.heap.Free(text);
        return result;
    }
    // Shuts the camera down; nothing of it may be left.
    void End() {
        REQUIRE(Cam("ShutDown") == 0);
        CheckNothingLeft();
    }
    void CheckNothingLeft() {
        process.heap.Validate();
        CHECK(ReferencedObjects(process) == "");
        CHECK(process.heap.LeakedSince(mark) == "");
        INFO(process.DescribeHandles());
        CHECK(process.Handles() == handles);
    }
    size_t FileSize(const std::string& name) const {
        return std::filesystem::file_size(process.folder + "/" + name);
    }
};

struct Picture {
    int width = 0, height = 0;
    std::vector<u8> rgb;
    const u8* At(int x, int y) const {
        return rgb.data() +
               3 * (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x));
    }
};

// By ImageMagick, to plain pixels.
inline Picture Decode(const std::string& path) {
    Picture picture;
    const std::string command = "convert '" + path + "' -depth 8 ppm:- 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    REQUIRE(pipe);
    int maximum = 0;
    if (std::fscanf(pipe, "P6 %d %d %d", &picture.width, &picture.height, &maximum) == 3) {
        std::fgetc(pipe);
        picture.rgb.resize(3 * static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height));
        CHECK(std::fread(picture.rgb.data(), 1, picture.rgb.size(), pipe) == picture.rgb.size());
    }
    pclose(pipe);
    return picture;
}

// ITU-R BT.601 in 5, 6 and 5 bits, in the integer form that the pictures are defined by.
inline u16 ExpectedWord(const ChartYuv& pixel) {
    const int c = pixel.y - 16, d = pixel.u - 128, e = pixel.v - 128;
    const auto term = [](int value, int shift, int top) {
        return std::min(std::max(value, 0) >> shift, top);
    };
    const int r = term(298 * c + 409 * e + 128, 11, 31), g = term(298 * c - 100 * d - 208 * e + 128, 10, 63),
              b = term(298 * c + 516 * d + 128, 11, 31);
    return static_cast<u16>(r << 11 | g << 5 | b);
}

// The word that the chart shows in a picture's memory row.
inline u16 ChartPixel(const VideoFormat& format, int x, int row) {
    if (format.subtype == kSubtype565) return ChartWord(x, row);
    ChartYuv pixel = ChartLuma(x, row);
    const ChartYuv pair = ChartLuma(x / 2 * 2, row);
    pixel.u = pair.u;
    pixel.v = ChartLuma(x / 2 * 2 + 1, row).v;
    return ExpectedWord(pixel);
}

struct Difference {
    int worst = 0;
    double mean = 0;
};

// How far the components of the picture are from the chart's.
inline Difference Compare(const Picture& picture, const VideoFormat& format) {
    Difference difference;
    const int rows = std::abs(format.height);
    REQUIRE(picture.width == format.width);
    REQUIRE(picture.height == rows);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < format.width; ++x) {
            const u16 word = ChartPixel(format, x, format.height > 0 ? rows - 1 - y : y);
            const int expected[] = {static_cast<int>(std::lround((word >> 11) * 255.0 / 31)),
                                    static_cast<int>(std::lround((word >> 5 & 63) * 255.0 / 63)),
                                    static_cast<int>(std::lround((word & 31) * 255.0 / 31))};
            for (int i = 0; i < 3; ++i) {
                const int apart = std::abs(picture.At(x, y)[i] - expected[i]);
                difference.worst = std::max(difference.worst, apart);
                difference.mean += apart;
            }
        }
    }
    difference.mean /= 3.0 * format.width * rows;
    return difference;
}

inline std::vector<std::string> CallsOf(Process& process, std::initializer_list<const char*> interfaces) {
    std::vector<std::string> calls;
    for (const std::string& call : Calls(process).List()) {
        for (const char* name : interfaces) {
            if (call.starts_with(name)) calls.push_back(call);
        }
    }
    return calls;
}

// The shared tables' calls, without those that are none on objects of the host.
inline std::vector<std::string> Expected(const tables::PlatformCalls& calls) {
    std::vector<std::string> expected;
    for (const auto& one : calls) {
        if (!one.OnOwnObject()) expected.push_back(one.call);
    }
    return expected;
}
inline bool InSharedTables(const std::string& call) {
    const char* watched[] = {
        "CoCreateInstance", "ICaptureGraphBuilder2::", "IGraphBuilder::",       "IMediaControl::",
        "IMediaEvent::",    "IVideoWindow::",          "IPersistPropertyBag::", "IBaseFilter::QueryInterface",
        "IAMStreamConfig::"};
    return call != "CoCreateInstance MemoryAllocator" &&
           std::any_of(std::begin(watched), std::end(watched),
                       [&](const char* name) { return call.starts_with(name); });
}
inline std::vector<std::string> PlatformCallsOf(Process& process) {
    auto calls = Calls(process).List();
    std::erase_if(calls, [](const std::string& call) { return !InSharedTables(call); });
    return calls;
}

}  // namespace ce

namespace doctest {
template <>
struct StringMaker<std::vector<std::string>> {
    static String convert(const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) text += "\n  " + line;
        return text.c_str();
    }
};
}  // namespace doctest
