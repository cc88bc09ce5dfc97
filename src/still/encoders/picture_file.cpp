#include "still/encoders/picture_file.h"

#include "base/hresult.h"

namespace cam::still {

PictureFile::PictureFile(const wchar_t* name)
    : name_(name),
      handle_(CreateFileW(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {}

PictureFile::~PictureFile() {
    if (handle_) CloseHandle(handle_);
}

bool PictureFile::Write(const void* bytes, std::size_t count) {
    DWORD written = 0;
    return WriteFile(handle_, bytes, static_cast<DWORD>(count), &written, nullptr) && written == count;
}

bool PictureFile::Restart() {
    return SetFilePointer(handle_, 0, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
           SetEndOfFile(handle_);
}

DWORD PictureFile::Finish(EncodeStatus status) {
    if (handle_) {
        CloseHandle(handle_);
        handle_ = nullptr;
        if (status != EncodeStatus::Done) DeleteFileW(name_);
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
