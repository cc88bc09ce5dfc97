#include "still/encoders/picture_file.h"

#include "base/hresult.h"
#include "base/insist.h"

namespace cam::still {

PictureFile::PictureFile(const wchar_t* fileName)
    : name(fileName),
      handle(
          CreateFileW(fileName, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {}

PictureFile::~PictureFile() {
    if (handle) CloseHandle(handle);
}

bool PictureFile::Write(std::span<const std::uint8_t> bytes) {
    DWORD written = 0;
    WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return written == bytes.size();
}

bool PictureFile::Restart() {
    return SetFilePointer(handle, 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER && SetEndOfFile(handle);
}

bool PictureFile::WriteAt(DWORD offset, std::span<const std::uint8_t> bytes) {
    return SetFilePointer(handle, static_cast<LONG>(offset), nullptr, FILE_BEGIN) !=
               INVALID_SET_FILE_POINTER &&
           Write(bytes);
}

DWORD PictureFile::Finish(EncodeStatus status) {
    if (handle) {
        const DWORD error = GetLastError();
        if (status != EncodeStatus::Done) Restart();  // half a picture stays in no case
        CloseHandle(handle);
        handle = nullptr;
        SetLastError(error);
        // Whoever looks at every new file may hold it open for a moment.
        if (status != EncodeStatus::Done) Insist([this] { return DeleteFileW(name) != FALSE; });
    }
    switch (status) {
        case EncodeStatus::Done:
            return 0;
        case EncodeStatus::OutOfMemory:
            return static_cast<DWORD>(E_OUTOFMEMORY);
        case EncodeStatus::Failed:
            break;
    }
    return FileErrorFromLastError();
}

}  // namespace cam::still
