#include "platform/desktop/environment.h"

#include <windows.h>

namespace cam::platform {

std::wstring Environment(const wchar_t* name) {
    std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
    if (!value.empty())
        value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

}  // namespace cam::platform
