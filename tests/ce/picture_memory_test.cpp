// Pictures of five million pixels on the device: the memory that each format takes beside the frame, and
// large TIFF files, which are written in pieces.
#include "support.h"

#include <doctest/doctest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "base/frame.h"
#include "emulator/devices.h"
#include "emulator/process.h"
#include "tiff/tiff_file.h"

using namespace ce;

namespace {

constexpr u32 kFrame = 0x60000000, kFrameBytes = 0x00A00000, kName = 0x62000000;
constexpr u32 kMostBytes = 192 * 1024;
constexpr u32 kShortWrite = 29;

struct Fixture {
    Process process{Scratch()};
    Module& module = process.Load(BuiltDll("kernels.dll"));

    Fixture() {
        process.machine.Map(kFrame, kFrameBytes);
        process.machine.Map(kName, 0x1000);
        process.machine.CheckAlignment(false);
    }
    static std::string Scratch() {
        const std::string folder = std::string(OCELLUS_CE_SCRATCH) + "/picture-memory-files";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        return folder;
    }
    std::string PathOf(const std::string& name) const { return process.folder + "/" + name; }

    // Words of black and white, one of so many black.
    void FillWithDots(u32 count, u32 oneOf) {
        std::mt19937 random(oneOf);
        std::vector<u16> words(count);
        for (u16& word : words) word = random() % oneOf ? 0xFFFF : 0;
        std::memcpy(process.machine.Bytes(kFrame, 2 * count), words.data(), 2 * size_t{count});
    }

    // Result and peak of the heap.
    u32 Write(u32 format, const std::string& name, u32 width, u32 rows, u32* peak = nullptr) {
        for (u32 i = 0; i <= name.size(); ++i)
            process.machine.Write(kName + 2 * i, static_cast<u16>(name.c_str()[i]));
        const u32 before = process.heap.Bytes();
        process.heap.StartPeak();
        const u32 result = process.Call(module, "runFile", {format, kFrame, width, rows, kName});
        if (peak) *peak = process.heap.PeakBytes() - before;
        CHECK(process.heap.Bytes() == before);
        return result;
    }
    std::vector<u8> ReadBack(const std::string& name) const {
        std::ifstream file(PathOf(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

}  // namespace

TEST_CASE_FIXTURE(Fixture, "no format takes more than 192 KB beside the frame") {
    constexpr struct { u32 width, rows; } kShapes[] = {{2592, 1944}, {2976, 1680}};
    constexpr u32 kFewRows = 64;  // of a picture whose rows all take the same
    constexpr const char* kNames[] = {"a.bmp", "a.jpg", "a.png", "a.tif"};
    FillWithDots(kFrameBytes / 2, 4);
    for (const auto& shape : kShapes) {
        for (u32 format = 0; format < 4; ++format) {
            CAPTURE(shape.width);
            CAPTURE(std::string(kNames[format]));
            u32 peak = 0;
            const u32 rows = format == 3 ? shape.rows : kFewRows;
            REQUIRE(Write(format, kNames[format], shape.width, rows, &peak) == 0);
            CHECK(peak <= kMostBytes);
        }
    }
}

TEST_CASE_FIXTURE(Fixture, "a TIFF file written in pieces is the same, and is gone when the disk fills up") {
    constexpr u32 kWidth = 1600, kRows = 1200, kBytes = kWidth * kRows * 2;
    FillWithDots(kBytes / 2, 2);
    cam::tiff::ByteBuffer whole(16, true);
    const cam::ConstFrame frame = {
        {process.machine.Bytes(kFrame, kBytes), kBytes}, kWidth, kRows, kWidth * 2};
    REQUIRE(EncodeBilevelTiff(whole, frame, nullptr, false));
    REQUIRE(whole.Length() > 400000);
    REQUIRE(Write(3, "a.tif", kWidth, kRows) == 0);
    CHECK(ReadBack("a.tif") == std::vector<u8>(whole.Bytes().begin(), whole.Bytes().end()));

    const u32 size = whole.Length();
    for (const u64 room : {u64{0}, u64{100}, u64{200000}, u64{size - 1}, u64{size}, u64{size + 3}}) {
        CAPTURE(room);
        process.Attachment<FileRoom>("file room").bytes = room;
        CHECK(Write(3, "a.tif", kWidth, kRows) == kShortWrite);
        CHECK(!std::filesystem::exists(PathOf("a.tif")));
    }
    process.Attachment<FileRoom>("file room").bytes = size + 4;
    CHECK(Write(3, "a.tif", kWidth, kRows) == 0);
}
