#include <windows.h>
#include <objbase.h>

#include <cstdio>

#include "check.h"
#include "files.h"
#include "platform.h"
#include "process_counts.h"

namespace verify::platform {

unsigned Present() {
    return kDesktop | kMessageBoxes;
}

void Print(const std::string& text) {
    fwrite(text.data(), 1, text.size(), stdout);
    fflush(stdout);
}

static BOOL CALLBACK CountOwn(HWND window, LPARAM count) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    *reinterpret_cast<int*>(count) += process == GetCurrentProcessId();
    return TRUE;
}

Holdings CountHoldings() {
    Holdings holdings = {counts::Handles(), counts::Threads(), counts::GdiObjects(), 0};
    // A list that the system makes at once: other programs' windows come and go meanwhile.
    EnumWindows(CountOwn, reinterpret_cast<LPARAM>(&holdings.windows));
    return holdings;
}

Holdings HoldingsLostToSystem(int graphs) {
    return {graphs * counts::HandlesLostPerGraph() + counts::kHandlesKept, 0, counts::kGdiObjectsKept, 0};
}

std::vector<std::string> TakeMessageBoxes() {
    static const TestFile log(L"boxes");
    SetEnvironmentVariableW(L"OCELLUS_MESSAGE_BOX_LOG", log.path());
    SetEnvironmentVariableW(L"OCELLUS_HEADLESS", L"1");
    const std::string text = log.Bytes();
    DeleteFileW(log.path());
    std::vector<std::string> boxes;
    for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        boxes.push_back(text.substr(at, end - at));
    }
    return boxes;
}

namespace {
constexpr wchar_t kOwnClasses[] = L"Software\\OcellusVerification";
}

OwnClasses::OwnClasses() {
    RegDeleteTreeW(HKEY_CURRENT_USER, kOwnClasses);
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, kOwnClasses, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, key);
    RegCloseKey(key);
}

OwnClasses::~OwnClasses() {
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kOwnClasses);
}

char Apartment() {
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    if (FAILED(CoGetApartmentType(&type, &qualifier)) || qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA)
        return '-';
    return type == APTTYPE_MTA ? 'M' : 'S';
}

// Noted as unused first, then freed.
void FreeUnusedLibraries() {
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);
}

void WorkOn(HWND top, HWND owner, HWND video) {
    wchar_t text[50];
    GetWindowTextW(video, text, 50);
    SendMessageW(video, WM_GETTEXT, 50, reinterpret_cast<LPARAM>(text));
    SetFocus(top);
    SetFocus(owner);
    SetFocus(video);
    UpdateWindow(top);
    RedrawWindow(top, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    SetWindowPos(top, nullptr, 10, 10, 500, 400, SWP_NOZORDER);
    ShowWindow(top, SW_HIDE);
    ShowWindow(top, SW_SHOW);
}

HWND FirstChild(HWND window) {
    return GetWindow(window, GW_CHILD);
}

bool IsVisible(HWND window) {
    return IsWindowVisible(window) != 0;
}

COLORREF PixelOf(HWND window, int x, int y) {
    const HDC context = GetDC(window);
    const COLORREF color = GetPixel(context, x, y);
    ReleaseDC(window, context);
    return color;
}

std::string SystemVersion() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);
    return std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
           std::to_string(version.dwBuildNumber);
}

}  // namespace verify::platform
