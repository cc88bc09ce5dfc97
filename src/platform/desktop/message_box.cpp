#include <new>
#include <string>

#include "base/unique_resource.h"
#include "platform/desktop/environment.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

// Without memory that may be missing: a box must not appear where nobody can press its button.
bool IsHeadless() {
    wchar_t value[3];
    return GetEnvironmentVariableW(L"OCELLUS_HEADLESS", value, 3) == 1 && value[0] == L'1';
}

std::string Utf8(const std::wstring& text) {
    const int length = static_cast<int>(text.size());
    std::string bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr),
                      '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), static_cast<int>(bytes.size()),
                        nullptr, nullptr);
    return bytes;
}

void AppendLine(const std::wstring& path, const std::wstring& line) {
    const UniqueFileHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return;
    const std::string bytes = Utf8(line);
    DWORD written = 0;
    WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

}  // namespace

int ShowMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, UINT icon) {
    if (!IsHeadless()) return MessageBoxW(owner, text, caption, MB_OK | icon);
    try {
        const std::wstring log = Environment(L"OCELLUS_MESSAGE_BOX_LOG");
        if (!log.empty()) AppendLine(log, std::wstring(caption) + L"\t" + text + L"\n");
    } catch (const std::bad_alloc&) {
        // Answered all the same; a record is missing.
    }
    return IDOK;
}

}  // namespace cam::platform
