// Files, whole.
#pragma once

#include <string>

namespace verify {

bool FileExists(const std::wstring& path);
std::string ReadFileBytes(const std::wstring& path);  // empty when there is none
bool WriteFileBytes(const std::wstring& path, const std::string& bytes);

// "C:\folder\" of "C:\folder\file".
std::wstring FolderOf(const std::wstring& path);

// The folder for files of this run: the system's temporary one, or the one for pictures that stay.
const std::wstring& WorkFolder();
bool KeepPicturesIn(const std::wstring& folder);

enum class Kind { Temporary, Picture };

// A file in that folder that is gone when this ends; but for a picture when pictures are kept.
class TestFile {
  public:
    explicit TestFile(const std::wstring& name, Kind kind = Kind::Temporary);
    TestFile(const std::wstring& name, const std::string& bytes);
    ~TestFile();
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    const wchar_t* path() const { return fullPath.c_str(); }
    std::string Bytes() const { return ReadFileBytes(fullPath); }

  private:
    std::wstring fullPath;
    bool stays;
};

}  // namespace verify
