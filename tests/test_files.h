// Files that tests read and write.
#pragma once

#include <windows.h>
#include <doctest/doctest.h>

#include <cstdio>
#include <string>

inline bool FileExists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Empty when there is no such file.
inline std::string ReadBytes(const std::wstring& path) {
    std::string bytes;
    if (FILE* const file = _wfopen(path.c_str(), L"rb")) {
        char block[4096];
        for (size_t count; (count = fread(block, 1, sizeof block, file)) > 0;) bytes.append(block, count);
        fclose(file);
    }
    return bytes;
}

inline void WriteBytes(const std::wstring& path, const std::string& bytes) {
    FILE* const file = _wfopen(path.c_str(), L"wb");
    REQUIRE(file);
    REQUIRE(fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
    REQUIRE(fclose(file) == 0);
}

// A folder of this process in the system's temporary one.
class TestFolder {
  public:
    static const std::wstring& Path() {
        static const TestFolder folder;
        return folder.path_;
    }
    ~TestFolder() { RemoveDirectoryW(path_.c_str()); }

  private:
    TestFolder() {
        wchar_t temporary[MAX_PATH];
        GetTempPathW(MAX_PATH, temporary);
        path_ = temporary + (L"ocellus-test-" + std::to_wstring(GetCurrentProcessId()));
        CreateDirectoryW(path_.c_str(), nullptr);
    }

    std::wstring path_;
};

// A file in that folder that is gone when the test ends.
class TestFile {
  public:
    explicit TestFile(const std::wstring& name) : path_(TestFolder::Path() + L"\\" + name) { Remove(); }
    TestFile(const std::wstring& name, const std::string& bytes) : TestFile(name) { Write(bytes); }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;
    ~TestFile() { Remove(); }

    const wchar_t* path() const { return path_.c_str(); }
    void Write(const std::string& bytes) const { WriteBytes(path_, bytes); }
    void Remove() const {
        SetFileAttributesW(path(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(path());
    }

  private:
    std::wstring path_;
};
