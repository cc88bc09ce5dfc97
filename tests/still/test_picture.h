// Pictures for the tests of the still pipeline.
#pragma once

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "base/frame.h"
#include "still/image_writer.h"
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

// A frame, what the sink would know of it and what an application has set. Frames are kept with a margin of
// known bytes on both sides.
struct TestPicture {
    static constexpr std::size_t kMargin = 4096;
    static constexpr std::uint8_t kMarginByte = 0xA5;

    TestPicture(cam::still::PixelFormat format, LONG width, LONG height, const std::wstring& fileName = {})
        : pixels(format) {
        const std::size_t stride = cam::RowStride(width);
        const std::size_t size = cam::RowCount(height) * stride;
        if (!fileName.empty()) picture.fileName = Copy(fileName);
        memory.assign(kMargin * 2 + size, kMarginByte);
        std::fill_n(memory.begin() + kMargin, size, BYTE{0});
        frame = {{memory.data() + kMargin, size}, width, height, static_cast<DWORD>(stride)};
    }

    cam::still::ImageWriter writer() { return {picture, frame, pixels}; }
    DWORD prepareAndStore() {
        cam::still::ImageWriter made = writer();
        made.Prepare();
        return made.Store();
    }
    DWORD rows() const { return frame.rows(); }

    // The pixel in column x of row y, counted from the top of the picture as it is seen.
    BYTE* at(LONG x, LONG y) const { return frame.Row(static_cast<DWORD>(y)).data() + x * 2; }
    WORD word(LONG x, LONG y) { return static_cast<WORD>(at(x, y)[0] | at(x, y)[1] << 8); }
    void set(LONG x, LONG y, unsigned word) {
        at(x, y)[0] = static_cast<BYTE>(word);
        at(x, y)[1] = static_cast<BYTE>(word >> 8);
    }
    void fill(unsigned word) {
        for (LONG y = 0; y < static_cast<LONG>(rows()); ++y) {
            for (LONG x = 0; x < frame.width; ++x) set(x, y, word);
        }
    }
    // Different in every corner, so that no mirrored or turned picture passes for it.
    void paint() {
        for (LONG y = 0; y < static_cast<LONG>(rows()); ++y) {
            for (LONG x = 0; x < frame.width; ++x) {
                const unsigned red = static_cast<unsigned>(x * 31 / frame.width);
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
    cam::still::PixelFormat pixels;
    cam::Frame frame;  // within `memory`
    std::vector<std::uint8_t> memory;
};
