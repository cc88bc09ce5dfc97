#include <windows.h>
#include <objbase.h>

#include <cstdio>

#include "check.h"
#include "kit.h"
#include "library.h"
#include "platform.h"

namespace verify::platform {

namespace {

// What the emulated device's kit library has beyond the desktop's; null on a real device.
template <typename Function>
Function OfEmulator(const char* name) {
    const HMODULE kit = GetModuleHandleW(L"devicekit.dll");
    return reinterpret_cast<Function>(reinterpret_cast<void*>(kit ? GetProcAddress(kit, name) : nullptr));
}

using KitHoldings = void(WINAPI*)(int counts[4]);
using KitMessageBoxes = DWORD(WINAPI*)(wchar_t* buffer, DWORD length);

}  // namespace

unsigned Present() {
    return OfEmulator<KitMessageBoxes>("kitMessageBoxes") ? unsigned{kMessageBoxes} : 0;
}

void Print(const std::string& text) {
    fwrite(text.data(), 1, text.size(), stdout);
    fflush(stdout);
}

// A real device does not tell.
Holdings CountHoldings() {
    int counts[4] = {};
    if (const auto count = OfEmulator<KitHoldings>("kitHoldings")) count(counts);
    return {counts[0], counts[1], counts[2], counts[3]};
}

Holdings HoldingsLostToSystem(int) {
    return {};
}

std::vector<std::string> TakeMessageBoxes() {
    const auto take = OfEmulator<KitMessageBoxes>("kitMessageBoxes");
    return take ? ReadLines(take) : std::vector<std::string>();
}

// There is one registration only: what a check takes away is put back.
OwnClasses::OwnClasses() {}

OwnClasses::~OwnClasses() {
    cam.RegisterServer();
}

char Apartment() {
    return '-';
}

void FreeUnusedLibraries() {
    CoFreeUnusedLibraries();
}

void WorkOn(HWND, HWND, HWND) {}

HWND FirstChild(HWND) {
    return nullptr;
}

bool IsVisible(HWND) {
    return false;
}

COLORREF PixelOf(HWND, int, int) {
    return CLR_INVALID;
}

// The one that this program is built for: the system runs no other's programs.
std::string SystemVersion() {
    return "Windows CE " + std::to_string(_WIN32_WCE >> 8) + "." + std::to_string(_WIN32_WCE & 255);
}

}  // namespace verify::platform
