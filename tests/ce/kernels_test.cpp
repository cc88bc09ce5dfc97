// The kernels as ARM code: each gives what the plain one gives, and what the same sources give on this
// machine; nothing is touched beside the pixels, and nothing is read or written unaligned.
#include "support.h"

#include <doctest/doctest.h>

#include <cstring>
#include <random>

#include "emulator/process.h"
#include "still/encoders/byte_sink.h"
#include "still/encoders/jpeg_encoder.h"
#include "still/pixels/pixel_kernels.h"
#include "tiff/adaptive_threshold.h"
#include "tiff/byte_buffer.h"
#include "tiff/encode_g4.h"

using namespace ce;

namespace {

constexpr u32 kPlain = 0, kWord = 1, kChosen = 2;  // kernel sets
constexpr u32 kYuy2ToRgb565 = 0, kGatherLuma = 1, kRgb565ToGrey = 2, kExpandGrey = 3, kRgb565ToRgb888 = 4;
// Memory of the test's own, with nothing mapped before and after it.
constexpr u32 kIn = 0x60000000, kOut = 0x62000000, kBytes = 0x00100000;

struct Fixture {
    Process process;
    Module& module = process.Load(BuiltDll("kernels.dll"));
    std::mt19937 random{20240229};

    Fixture() {
        process.machine.Map(kIn, kBytes);
        process.machine.Map(kOut, kBytes);
    }

    u32 Run(const std::string& name, const std::vector<u32>& words) {
        return process.Call(module, name, words);
    }
    std::vector<u8> Noise(u32 size) {
        std::vector<u8> bytes(size);
        for (u8& byte : bytes) byte = static_cast<u8>(random() >> 7);
        return bytes;
    }
    // The bytes where they end at the last one that is mapped.
    u32 PutLast(u32 area, const std::vector<u8>& bytes) {
        const u32 address = area + kBytes - static_cast<u32>(bytes.size());
        Put(address, bytes);
        return address;
    }
    void Put(u32 address, const std::vector<u8>& bytes) {
        std::memcpy(process.machine.Bytes(address, static_cast<u32>(bytes.size())), bytes.data(),
                    bytes.size());
    }
    std::vector<u8> Get(u32 address, u32 size) {
        const u8* bytes = process.machine.Bytes(address, size);
        return {bytes, bytes + size};
    }
};

struct Row {
    u32 kernel, inBytes, outBytes;  // for each pixel
    const char* name;
};
constexpr Row kRows[] = {{kGatherLuma, 2, 1, "luma"},
                         {kRgb565ToGrey, 2, 1, "grey"},
                         {kExpandGrey, 1, 2, "expand"},
                         {kRgb565ToRgb888, 2, 3, "rgb"}};

}  // namespace

TEST_CASE_FIXTURE(Fixture, "rows of pixels: plain, words and this machine agree") {
    for (const u32 width : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 15u, 16u, 31u, 33u, 64u, 161u}) {
        for (u32 shift = 0; shift < 4; ++shift) {
            CAPTURE(width);
            CAPTURE(shift);
            for (const Row& row : kRows) {
                CAPTURE(std::string(row.name));
                const auto input = Noise(row.inBytes * width);
                std::vector<u8> native(row.outBytes * width);
                const auto& here = cam::still::kPlainPixelKernels;
                (row.kernel == kGatherLuma     ? here.gatherLumaRow
                 : row.kernel == kRgb565ToGrey ? here.rgb565RowToGrey
                 : row.kernel == kExpandGrey   ? here.expandGreyRow
                                               : here.rgb565RowToRgb888)(native.data(), input.data(), width);
                for (const u32 set : {kPlain, kWord, kChosen}) {
                    // The pixels end where the memory ends, or begin `shift` bytes past a word.
                    const u32 from = shift ? kIn + shift : PutLast(kIn, input);
                    if (shift) Put(from, input);
                    const u32 to = shift ? kOut + shift : kOut + kBytes - row.outBytes * width;
                    Run("runPixels", {set, row.kernel, to, from, width});
                    REQUIRE(Get(to, row.outBytes * width) == native);
                    REQUIRE(Get(from, row.inBytes * width) == input);
                }
            }
            auto yuy2 = Noise((width + 1) / 2 * 4);
            auto native = yuy2;
            cam::still::kPlainPixelKernels.yuy2RowToRgb565(native.data(), width);
            for (const u32 set : {kPlain, kWord, kChosen}) {
                const u32 at = PutLast(kIn, yuy2) - shift;
                Put(at, yuy2);
                Run("runPixels", {set, kYuy2ToRgb565, at, 0, width});
                REQUIRE(Get(at, static_cast<u32>(yuy2.size())) == native);
            }
        }
    }
}

TEST_CASE_FIXTURE(Fixture, "threshold: plain, words and this machine agree to the pixel") {
    struct Shape {
        u32 width, rows;
    };
    for (const Shape shape :
         {Shape{8, 8}, {17, 9}, {64, 48}, {160, 120}, {33, 100}, {68, 72}, {96, 88}, {112, 104}}) {
        for (const u32 percent : {3u, 10u, 20u}) {
            CAPTURE(shape.width);
            CAPTURE(percent);
            auto plane = Noise(shape.width * shape.rows);
            // Flat parts are where the comparison is close.
            std::fill(plane.begin(), plane.begin() + static_cast<long>(plane.size() / 2), u8{100});
            auto native = plane;
            REQUIRE(cam::tiff::AdaptiveThreshold(native, shape.width, static_cast<i32>(shape.rows),
                                                 static_cast<float>(percent) / 100.0f));
            for (const u32 set : {kPlain, kWord, kChosen}) {
                const u32 at = PutLast(kIn, plane);
                REQUIRE(Run("runThreshold", {set, at, shape.width, shape.rows, static_cast<u32>(plane.size()),
                                             percent}) == 1);
                REQUIRE(Get(at, static_cast<u32>(plane.size())) == native);
            }
        }
    }
}

#ifdef CAM_HAVE_JPEG
TEST_CASE_FIXTURE(Fixture, "JPEG: this machine writes the same bytes") {
    struct Collected final : cam::still::ByteSink {
        bool Write(std::span<const u8> some) override {
            bytes.insert(bytes.end(), some.begin(), some.end());
            return true;
        }
        bool Restart() override { return bytes.clear(), true; }
        std::vector<u8> bytes;
    };
    for (const u32 width : {64u, 49u, 2u}) {
        const u32 rows = width == 64 ? 48 : 33, stride = (2 * width + 3) & ~3u;
        // Every colour's neighbours, then noise: small coefficients, then the largest.
        auto frame = Noise(stride * rows);
        for (u32 i = 0; i < frame.size() / 2; ++i) frame[i] = static_cast<u8>(i % 2 ? i / stride * 8 : i / 2);
        const u32 at = PutLast(kIn, frame);
        for (const u32 quality : {5u, 50u, 90u, 100u}) {
            CAPTURE(width);
            CAPTURE(quality);
            Collected here;
            REQUIRE(cam::still::EncodeJpeg({frame, static_cast<i32>(width), static_cast<i32>(rows), stride},
                                           static_cast<int>(quality),
                                           here) == cam::still::EncodeStatus::Done);
            const u32 size = Run("runJpeg", {at, width, rows, stride, quality, kOut, kBytes});
            REQUIRE(size == here.bytes.size());
            REQUIRE(Get(kOut, size) == here.bytes);
        }
    }
}
#endif

TEST_CASE_FIXTURE(Fixture, "Group 4: plain, words and this machine write the same bytes") {
    for (const u32 width : {8u, 24u, 64u, 168u, 640u}) {
        for (int kind = 0; kind < 4; ++kind) {
            const u32 rows = 24, size = width / 8 * rows;
            auto raster = Noise(size);
            if (kind == 0) std::fill(raster.begin(), raster.end(), u8{0});
            if (kind == 1) std::fill(raster.begin(), raster.end(), u8{0xFF});
            if (kind == 2) {
                for (u32 i = 0; i < size; ++i) raster[i] = i / (width / 8) / 4 % 2 ? 0x0F : 0x3C;
            }
            CAPTURE(width);
            CAPTURE(kind);
            cam::tiff::ByteBuffer buffer(64, true);
            REQUIRE(cam::tiff::EncodeG4(raster, width, rows, buffer));
            const u32 length = buffer.Length();
            const std::vector<u8> native(buffer.Data(), buffer.Data() + length);
            for (const u32 set : {kPlain, kWord, kChosen}) {
                const u32 at = PutLast(kIn, raster);
                REQUIRE(Run("runGroup4", {set, at, width, rows, kOut, kBytes}) == length);
                REQUIRE(Get(kOut, length) == native);
            }
        }
    }
    process.heap.Validate();
    CHECK(process.heap.Blocks() == 0);
}
