#include "tiff/save_tiff.h"

#include "base/hresult.h"
#include "base/frame.h"
#include "base/unique_resource.h"
#include "tiff/byte_buffer.h"
#include "tiff/tiff_file.h"

namespace cam::tiff {
namespace {

constexpr DWORD kOutOfMemory = static_cast<DWORD>(E_OUTOFMEMORY);
constexpr DWORD kEncodingFailed = ERROR_BAD_FORMAT;  // 11
constexpr DWORD kShortWrite = ERROR_WRITE_FAULT;     // 29

DWORD WriteWholeFile(const wchar_t* fileName, const ByteBuffer& contents) {
    // Only a null handle counts as a file that could not be created. INVALID_HANDLE_VALUE goes on to the
    // write, which moves nothing, and is closed like a handle: callers know this failure as the short write's
    // 29.
    UniqueHandle file(
        CreateFileW(fileName, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return FileErrorFromLastError();
    DWORD written = 0;
    WriteFile(file.get(), contents.Data(), contents.Length(), &written, nullptr);
    const DWORD result = written == contents.Length() ? 0 : kShortWrite;
    file.reset();
    if (result != 0) DeleteFileW(fileName);
    return result;
}

}  // namespace

DWORD SaveTiff(const wchar_t* fileName, const uint8_t* pixels, LONG width, LONG height) {
    ByteBuffer file((static_cast<DWORD>(width) * RowCount(height) + 7) / 8, true);
    if (!file.Data()) return kOutOfMemory;
    if (!EncodeBilevelTiff(file, pixels, width, height, nullptr, false)) return kEncodingFailed;
    return WriteWholeFile(fileName, file);
}

}  // namespace cam::tiff
