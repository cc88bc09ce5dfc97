// Pictures for the tests of the still room.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "still/still_picture.h"
#include "test_files.h"

// Where the tests leave pictures for the decoders that judge them afterwards; below the current folder.
constexpr wchar_t kPictureFolder[] = L"still_pictures";

inline std::wstring InFolder(const std::wstring& name) {
    CreateDirectoryW(kPictureFolder, nullptr);
    return std::wstring(kPictureFolder) + L"\\" + name;
}

inline std::unique_ptr<wchar_t[]> Copy(const std::wstring& text) {
    auto copy = std::make_unique<wchar_t[]>(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

// A frame and what the sink would know of it. Frames are kept with a margin of known bytes on both sides.
struct TestPicture {
    static constexpr std::size_t kMargin = 4096;
    static constexpr std::uint8_t kMarginByte = 0xA5;

    TestPicture(LONG format, LONG width, LONG height, const std::wstring& fileName = {}) {
        picture.formatCode = format;
        picture.width = width;
        picture.height = height;
        picture.stride = static_cast<DWORD>((width * 2 + 3) / 4 * 4);
        picture.sampleSize = cam::RowCount(height) * picture.stride;
        if (!fileName.empty()) picture.fileName = Copy(fileName);
        memory.assign(kMargin * 2 + picture.sampleSize, kMarginByte);
        for (std::size_t i = 0; i < picture.sampleSize; ++i) frame()[i] = 0;
    }

    BYTE* frame() { return memory.data() + kMargin; }
    DWORD rows() const { return cam::RowCount(picture.height); }

    // The pixel in column x of row y, counted from the top of the picture as it is seen.
    BYTE* at(LONG x, LONG y) {
        const DWORD row = static_cast<DWORD>(picture.height > 0 ? picture.height - 1 - y : y);
        return frame() + row * picture.stride + x * 2;
    }
    WORD word(LONG x, LONG y) { return static_cast<WORD>(at(x, y)[0] | at(x, y)[1] << 8); }
    void set(LONG x, LONG y, unsigned word) {
        at(x, y)[0] = static_cast<BYTE>(word);
        at(x, y)[1] = static_cast<BYTE>(word >> 8);
    }
    void fill(unsigned word) {
        for (LONG y = 0; y < static_cast<LONG>(rows()); ++y) {
            for (LONG x = 0; x < picture.width; ++x) set(x, y, word);
        }
    }
    // Different in every corner, so that no mirrored or turned picture passes for it.
    void paint() {
        for (LONG y = 0; y < static_cast<LONG>(rows()); ++y) {
            for (LONG x = 0; x < picture.width; ++x) {
                const unsigned red = static_cast<unsigned>(x * 31 / picture.width);
                const unsigned green = static_cast<unsigned>(y * 63 / static_cast<LONG>(rows()));
                set(x, y, red << 11 | green << 5 | (x / 8 + y / 8) % 2 * 20);
            }
        }
    }
    bool marginIsIntact() const {
        for (std::size_t i = 0; i < kMargin; ++i) {
            if (memory[i] != kMarginByte || memory[memory.size() - 1 - i] != kMarginByte) return false;
        }
        return true;
    }

    cam::still::StillPicture picture;
    std::vector<std::uint8_t> memory;
};
