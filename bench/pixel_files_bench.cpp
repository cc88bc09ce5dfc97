// Times, on Windows, a BMP file against a bare write of the same bytes, and stamping two lines of text.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <vector>

#include "still/encoders/picture_writers.h"
#include "still/text/text_stamp.h"

using namespace cam::still;

namespace {

constexpr wchar_t kFile[] = L"picture_bench.bmp";
constexpr int kRounds = 300;

struct Size {
    LONG width, height;
};

double Milliseconds(LONGLONG ticks) {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(ticks) * 1000 / static_cast<double>(frequency.QuadPart);
}

LONGLONG Now() {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

template <typename Action>
double Timed(Action action) {
    const LONGLONG start = Now();
    action();
    return Milliseconds(Now() - start);
}

std::unique_ptr<wchar_t[]> Copy(const wchar_t* text) {
    const std::size_t count = std::wcslen(text) + 1;
    auto copy = std::make_unique<wchar_t[]>(count);
    std::copy(text, text + count, copy.get());
    return copy;
}

DWORD StrideOf(Size size) {
    return static_cast<DWORD>(cam::RowStride(static_cast<DWORD>(size.width)));
}

void BareWrite(const BYTE* bytes, DWORD count) {
    const HANDLE file =
        CreateFileW(kFile, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes, count, &written, nullptr);
    CloseHandle(file);
}

void MeasureFile(Size size) {
    StillPicture picture;
    picture.fileName = Copy(kFile);
    // In pages of its own, as a sample's buffer is.
    const DWORD fileSize = StrideOf(size) * static_cast<DWORD>(size.height) + 66;
    const auto bytes =
        static_cast<BYTE*>(VirtualAlloc(nullptr, fileSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    if (!bytes) return;
    std::fill(bytes, bytes + fileSize, BYTE{1});
    const cam::Frame frame = {{bytes, fileSize}, size.width, size.height, StrideOf(size)};
    std::vector<double> bare, bmp;
    for (int round = 0; round < kRounds; ++round) {
        const auto writeBare = [&] { bare.push_back(Timed([&] { BareWrite(bytes, fileSize); })); };
        const auto writeBmp = [&] { bmp.push_back(Timed([&] { WriteBmp(picture, frame); })); };
        // Each has to follow each: what a write leaves in the cache serves the next one.
        if (round % 2) writeBare();
        writeBmp();
        if (round % 2 == 0) writeBare();
    }
    std::sort(bare.begin(), bare.end());
    std::sort(bmp.begin(), bmp.end());
    std::printf("BMP %ld x %ld: %.3f ms, bare write %.3f ms: %.2f (medians: %.3f, %.3f: %.2f)\n", size.width,
                size.height, bmp[0], bare[0], bmp[0] / bare[0], bmp[kRounds / 2], bare[kRounds / 2],
                bmp[kRounds / 2] / bare[kRounds / 2]);
    VirtualFree(bytes, 0, MEM_RELEASE);
    DeleteFileW(kFile);
}

void MeasureStamp(Size size, LONG fontHeight, DWORD colorWord) {
    LOGFONTW wanted = {};
    wanted.lfHeight = fontHeight;
    std::wcscpy(wanted.lfFaceName, L"DejaVu Sans");
    const HFONT font = CreateFontIndirectW(&wanted);
    StillPicture picture;
    std::vector<BYTE> bytes(StrideOf(size) * static_cast<DWORD>(size.height));
    const cam::Frame frame = {bytes, size.width, size.height, StrideOf(size)};
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        picture.overlayText = Copy(L"Ward 7, bed 12, 24 chars\n2026-11-21 12:30:45 here");
        picture.textPosition = 10;
        picture.colorWord = colorWord;
        picture.textFont = font;
        times.push_back(Timed([&] { StampText(picture, frame); }));
    }
    DeleteObject(font);
    std::printf("Two lines of 24 characters, %ld pixels high, colour word 0x%08lX: first %.3f ms", fontHeight,
                colorWord, times[0]);
    std::sort(times.begin(), times.end());
    std::printf(", best %.3f ms, median %.3f ms\n", times[0], times[kRounds / 2]);
}

}  // namespace

int main() {
    for (const Size& size : {Size{640, 480}, Size{1600, 1200}, Size{2592, 1944}}) MeasureFile(size);
    for (const LONG fontHeight : {16L, 32L, 64L}) {
        MeasureStamp({1600, 1200}, fontHeight, 0x41FFFFFF);
        MeasureStamp({1600, 1200}, fontHeight, 0xF1FFFFFF);
    }
    return 0;
}
