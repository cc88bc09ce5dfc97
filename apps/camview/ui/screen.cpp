#include "ui/screen.h"

#include "system_function.h"

namespace camview {

namespace {

int forcedDpi = 0;

int SystemDpi() {
    const HDC screen = GetDC(nullptr);
    const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return dpi;
}

}  // namespace

void ForceDpi(int dpi) {
    forcedDpi = dpi;
}

int DpiOf(HWND window) {
    if (forcedDpi) return forcedDpi;
    using GetDpi = UINT(WINAPI*)(HWND);
    static const GetDpi getDpi = SystemFunction<GetDpi>(L"user32.dll", "GetDpiForWindow");
    const UINT dpi = getDpi ? getDpi(window) : 0;
    return dpi ? static_cast<int>(dpi) : SystemDpi();
}

cam::UniqueFont MakeFont(int dpi) {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    LOGFONTW font = metrics.lfMessageFont;
    font.lfHeight = MulDiv(font.lfHeight, dpi, SystemDpi());
    // Nine points, as the system's programs have it; some systems say eight.
    const LONG nine = -MulDiv(12, dpi, kBaseDpi);
    if (font.lfHeight < 0 && font.lfHeight > nine) font.lfHeight = nine;
    return cam::UniqueFont(CreateFontIndirectW(&font));
}

int LineHeight(HFONT font) {
    const HDC screen = GetDC(nullptr);
    const HGDIOBJ before = SelectObject(screen, font);
    TEXTMETRICW metrics = {};
    GetTextMetricsW(screen, &metrics);
    SelectObject(screen, before);
    ReleaseDC(nullptr, screen);
    return metrics.tmHeight;
}

void FollowDarkMode(HWND window) {
    DWORD light = 1;
    DWORD bytes = sizeof light;
    RegGetValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
                 L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &light, &bytes);
    using SetAttribute = HRESULT(WINAPI*)(HWND, DWORD, const void*, DWORD);
    const SetAttribute set = SystemFunction<SetAttribute>(L"dwmapi.dll", "DwmSetWindowAttribute");
    constexpr DWORD kUseDarkTitle = 20;
    const BOOL dark = light == 0;
    if (set) set(window, kUseDarkTitle, &dark, sizeof dark);
}

namespace {
BOOL CALLBACK SetFontOf(HWND window, LPARAM font) {
    SendMessageW(window, WM_SETFONT, static_cast<WPARAM>(font), FALSE);
    return TRUE;
}
}  // namespace

void SetFontOfChildren(HWND window, HFONT font) {
    EnumChildWindows(window, SetFontOf, reinterpret_cast<LPARAM>(font));
}

}  // namespace camview
