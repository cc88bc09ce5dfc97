#include "tiff/save_tiff.h"

#include "tiff/byte_buffer.h"
#include "tiff/tiff_file.h"

namespace cam::tiff {
namespace {

constexpr DWORD kOutOfMemory = 0x8007000E;     // E_OUTOFMEMORY
constexpr DWORD kEncodingFailed = 11;          // ERROR_BAD_FORMAT
constexpr DWORD kShortWrite = 29;              // ERROR_WRITE_FAULT
constexpr DWORD kLastErrorBase = 0x80000000u;  // plus the last error

DWORD WriteWholeFile(const wchar_t* fileName, const ByteBuffer& contents) {
    // Only a null handle counts as a file that could not be created. INVALID_HANDLE_VALUE goes on to the write, which moves nothing, and
    // is closed like a handle: callers know this failure as the short write's 29.
    const HANDLE file =
        CreateFileW(fileName, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (!file) return kLastErrorBase + GetLastError();
    DWORD written = 0;
    WriteFile(file, contents.Data(), contents.Length(), &written, nullptr);
    const DWORD result = written == contents.Length() ? 0 : kShortWrite;
    CloseHandle(file);
    if (result != 0) DeleteFileW(fileName);
    return result;
}

}  // namespace

DWORD SaveTiff(const wchar_t* fileName, const uint8_t* pixels, LONG width, LONG height) {
    const DWORD rows = height < 0 ? 0u - static_cast<DWORD>(height) : static_cast<DWORD>(height);
    ByteBuffer file((static_cast<DWORD>(width) * rows + 7) / 8, true);
    if (!file.Data()) return kOutOfMemory;
    if (!EncodeBilevelTiff(file, pixels, width, height, nullptr, false)) return kEncodingFailed;
    return WriteWholeFile(fileName, file);
}

}  // namespace cam::tiff
