#include "tiff/save_tiff.h"

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "test_files.h"
#include "tiff/byte_buffer.h"
#include "tiff/tiff_file.h"

using namespace cam::tiff;

TEST_CASE("a saved picture replaces the file and holds what was assembled") {
    const TestFile file(L"a.tif");
    std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    for (size_t i = 0; i < pixels.size(); i += 38) pixels[i] = pixels[i + 1] = 0;
    for (LONG height : {480L, -480L, 100L}) {
        CHECK(SaveTiff(file.path(), pixels.data(), 640, height) == 0);
        ByteBuffer expected(10, true);
        REQUIRE(EncodeBilevelTiff(expected, pixels.data(), 640, height, nullptr, false));
        CHECK(ReadBytes(file.path()) == std::string(expected.Data(), expected.Data() + expected.Length()));
    }
}

TEST_CASE("failures have their numbers, and leave the file that was there or none") {
    const std::vector<uint8_t> pixels(640 * 480 * 2, 0xFF);
    const TestFile file(L"a.tif");
    REQUIRE(SaveTiff(file.path(), pixels.data(), 640, 480) == 0);
    const std::string before = ReadBytes(file.path());

    // Before the file is touched.
    CHECK(SaveTiff(file.path(), pixels.data(), 32768, 1) == 11);
    CHECK(ReadBytes(file.path()) == before);

    // A file that cannot be created counts as a short write.
    const std::wstring folder = std::wstring(file.path()) + L".folder";
    REQUIRE(CreateDirectoryW(folder.c_str(), nullptr));
    CHECK(SaveTiff(folder.c_str(), pixels.data(), 640, 480) == 29);
    CHECK(RemoveDirectoryW(folder.c_str()));
    CHECK(SaveTiff(L"Z:\\no such folder\\x.tif", pixels.data(), 640, 480) == 29);
    CHECK(SaveTiff(L"", pixels.data(), 640, 480) == 29);

    // Somebody else has it open.
    const HANDLE open = CreateFileW(file.path(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    REQUIRE(open != INVALID_HANDLE_VALUE);
    CHECK(SaveTiff(file.path(), pixels.data(), 640, 480) == 29);
    CloseHandle(open);
    CHECK(ReadBytes(file.path()) == before);
}
