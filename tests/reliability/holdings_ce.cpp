#include <windows.h>

#include <cstdlib>

#include "holdings.h"
#include "kit.h"

namespace reliability {

// As the emulated device's kit library tells them: a line for each kind, the number first.
Holdings CountHoldings() {
    using Tell = DWORD WINAPI(wchar_t * buffer, DWORD length);
    const auto tell = OfKit<Tell>("kitHoldingsByKind");
    std::wstring text(tell(nullptr, 0), L'\0');
    tell(text.data(), static_cast<DWORD>(text.size()));
    Holdings holdings;
    for (size_t at = 0, end; (end = text.find(L'\n', at)) != std::wstring::npos; at = end + 1) {
        const size_t blank = text.find(L' ', at);
        holdings.emplace_back(
            std::string(text.begin() + static_cast<long>(blank) + 1, text.begin() + static_cast<long>(end)),
            _wtol(text.c_str() + at));
    }
    return holdings;
}

Holdings LostBySystem(long, long) {
    return {};
}

}  // namespace reliability
