// Bilevel TIFF files on disk: what is written, and the numbers of what fails.
#include "still/encoders/picture_writers.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "still/test_picture.h"
#include "tiff/tiff_file.h"

using namespace cam;
using namespace cam::still;

namespace {

DWORD Write(const std::wstring& name, const ConstFrame& frame) {
    StillPicture picture;
    picture.fileName = Copy(name);
    return WriteTiff(picture, frame);
}

}  // namespace

TEST_CASE("a saved picture replaces the file and holds what was assembled") {
    const TestFile file(L"a.tif");
    std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    for (size_t i = 0; i < pixels.size(); i += 38) pixels[i] = pixels[i + 1] = 0;
    for (LONG height : {480L, -480L, 100L}) {
        const ConstFrame frame = {pixels, 640, height, 1280};
        CHECK(Write(file.path(), frame) == 0);
        tiff::ByteBuffer expected(10, true);
        REQUIRE(EncodeBilevelTiff(expected, frame, nullptr, false));
        CHECK(ReadBytes(file.path()) == std::string(expected.Bytes().begin(), expected.Bytes().end()));
        // A frame whose rows overlap is read as if they did not.
        const std::string before = ReadBytes(file.path());
        CHECK(Write(file.path(), {pixels, 640, height, 640}) == 0);
        CHECK(ReadBytes(file.path()) == before);
    }
}

TEST_CASE("a file that is written in pieces holds what was assembled") {
    const TestFile file(L"pieces.tif");
    std::vector<uint8_t> pixels(1600 * 1200 * 2);
    uint32_t random = 1;
    for (size_t i = 0; i < pixels.size(); i += 2) {
        random = random * 1664525 + 1013904223;
        pixels[i] = pixels[i + 1] = random >> 31 ? 0xFF : 0;
    }
    const ConstFrame frame = {pixels, 1600, 1200, 3200};
    tiff::ByteBuffer expected(10, true);
    REQUIRE(EncodeBilevelTiff(expected, frame, nullptr, false));
    REQUIRE(expected.Length() > 400000);
    CHECK(Write(file.path(), frame) == 0);
    CHECK(ReadBytes(file.path()) == std::string(expected.Bytes().begin(), expected.Bytes().end()));
}

TEST_CASE("failures have their numbers, and leave the file that was there or none") {
    const std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    const ConstFrame frame = {pixels, 640, 480, 1280};
    const TestFile file(L"a.tif");
    REQUIRE(Write(file.path(), frame) == 0);
    const std::string before = ReadBytes(file.path());

    // Before the file is touched.
    CHECK(Write(file.path(), {pixels, 32768, 1, 65536}) == 11);
    CHECK(ReadBytes(file.path()) == before);

    // A file that cannot be created counts as a short write.
    const std::wstring folder = std::wstring(file.path()) + L".folder";
    REQUIRE(CreateDirectoryW(folder.c_str(), nullptr));
    CHECK(Write(folder, frame) == 29);
    CHECK(RemoveDirectoryW(folder.c_str()));
    CHECK(Write(L"Z:\\no such folder\\x.tif", frame) == 29);
    CHECK(Write(L"", frame) == 29);

    // Somebody else has it open.
    const HANDLE open = CreateFileW(file.path(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    REQUIRE(open != INVALID_HANDLE_VALUE);
    CHECK(Write(file.path(), frame) == 29);
    CloseHandle(open);
    CHECK(ReadBytes(file.path()) == before);
}
