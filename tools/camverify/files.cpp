#include "files.h"

#include <windows.h>

#include "text.h"

namespace verify {

namespace {

bool keepPictures = false;

std::wstring& Folder() {
    static std::wstring folder = [] {
        wchar_t temporary[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, temporary);
        std::wstring path =
            std::wstring(temporary) + L"camverify-" + Wide(std::to_string(GetCurrentProcessId()));
        CreateDirectoryW(path.c_str(), nullptr);
        return path + L"\\";
    }();
    return folder;
}

}  // namespace

bool FileExists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string ReadFileBytes(const std::wstring& path) {
    std::string bytes;
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return bytes;
    bytes.resize(GetFileSize(file, nullptr));
    DWORD count = 0;
    if (!ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) count = 0;
    bytes.resize(count);
    CloseHandle(file);
    return bytes;
}

bool WriteFileBytes(const std::wstring& path, const std::string& bytes) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD count = 0;
    const BOOL written = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
    CloseHandle(file);
    return written && count == bytes.size();
}

std::wstring FolderOf(const std::wstring& path) {
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

const std::wstring& WorkFolder() {
    return Folder();
}

bool KeepPicturesIn(const std::wstring& folder) {
    CreateDirectoryW(folder.c_str(), nullptr);
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) return false;
    RemoveDirectoryW(Folder().c_str());
    Folder() = folder.back() == L'\\' ? folder : folder + L"\\";
    keepPictures = true;
    return true;
}

TestFile::TestFile(const std::wstring& name, Kind kind)
    : fullPath(Folder() + name), stays(kind == Kind::Picture && keepPictures) {
    DeleteFileW(path());
}

TestFile::TestFile(const std::wstring& name, const std::string& bytes) : TestFile(name) {
    WriteFileBytes(fullPath, bytes);
}

TestFile::~TestFile() {
    if (!stays) DeleteFileW(path());
}

}  // namespace verify
