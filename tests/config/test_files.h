// Files for the configuration tests: written to the system's temporary folder, and gone when the test ends.
#pragma once

#include <windows.h>
#include <doctest/doctest.h>

#include <cstdio>
#include <string>
#include <vector>

// `text` must be ASCII.
inline std::wstring Widen(const std::string& text) {
    return {text.begin(), text.end()};
}

// For messages.
inline std::string Narrow(const std::wstring& text) {
    std::string bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                          nullptr, nullptr),
                      '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                        static_cast<int>(bytes.size()), nullptr, nullptr);
    return bytes;
}

inline std::string ToUtf16(const std::string& ascii, bool withMark) {
    std::string bytes = withMark ? "\xFF\xFE" : "";
    for (const char c : ascii) bytes += {c, '\0'};
    return bytes;
}

inline std::string ReadBytes(const std::wstring& path) {
    std::string bytes;
    FILE* const file = _wfopen(path.c_str(), L"rb");
    REQUIRE(file);
    char block[4096];
    for (size_t count; (count = fread(block, 1, sizeof block, file)) > 0;) bytes.append(block, count);
    fclose(file);
    return bytes;
}

class TestFile {
  public:
    // `name` with its extension, in a folder of this process.
    explicit TestFile(const std::wstring& name) {
        wchar_t folder[MAX_PATH];
        GetTempPathW(MAX_PATH, folder);
        const std::wstring own =
            std::wstring(folder) + L"ocellus-config-" + std::to_wstring(GetCurrentProcessId());
        CreateDirectoryW(own.c_str(), nullptr);
        path_ = own + L"\\" + name;
        Remove();
    }
    TestFile(const std::wstring& name, const std::string& bytes) : TestFile(name) { Write(bytes); }
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;
    ~TestFile() { Remove(); }

    const wchar_t* path() const { return path_.c_str(); }
    std::wstring WithoutExtension() const { return path_.substr(0, path_.rfind(L'.')); }

    void Write(const std::string& bytes) const {
        FILE* const file = _wfopen(path(), L"wb");
        REQUIRE(file);
        REQUIRE(fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
        REQUIRE(fclose(file) == 0);
    }

    void Remove() const {
        SetFileAttributesW(path(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(path());
    }

    // The last-write time, in units of 100 ns.
    void SetTime(ULONGLONG time) const {
        const HANDLE file = CreateFileW(path(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        REQUIRE(file != INVALID_HANDLE_VALUE);
        const FILETIME written = {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
        REQUIRE(SetFileTime(file, nullptr, nullptr, &written));
        CloseHandle(file);
    }

  private:
    std::wstring path_;
};

// The example number `index` of a language ("ini", "xml") in the documentation, so that what users copy is what is tested.
inline std::string DocumentedExample(const std::string& language, int index) {
    const std::string text = ReadBytes(Widen(OCELLUS_CONFIGURATION_DOC));
    const std::string fence = "```" + language + "\n";
    size_t start = 0;
    for (int i = 0; i <= index; ++i) {
        start = text.find(fence, start);
        REQUIRE(start != std::string::npos);
        start += fence.size();
    }
    return text.substr(start, text.find("```", start) - start);
}
