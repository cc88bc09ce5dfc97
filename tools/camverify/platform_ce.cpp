#include <windows.h>
#include <objbase.h>

#include <cstdio>

#include "check.h"
#include "library.h"
#include "platform.h"

namespace verify::platform {

const unsigned kPresent = 0;

void Print(const std::string& text) {
    fwrite(text.data(), 1, text.size(), stdout);
    fflush(stdout);
}

// The system does not tell; in the emulator ce-run does, at the end.
Holdings CountHoldings() {
    return {};
}

Holdings HoldingsLostToSystem(int) {
    return {};
}

std::vector<std::string> TakeMessageBoxes() {
    return {};
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
