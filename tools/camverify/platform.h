// What differs between the desktop and a device.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace verify::platform {

unsigned Present();  // Needs, once the kit has been looked for

// To standard output, which a device may not have.
void Print(const std::string& text);

// What this process holds. All 0 where the system does not tell.
struct Holdings {
    int handles, threads, gdiObjects, windows;
};
Holdings CountHoldings();
Holdings HoldingsLostToSystem(
    int graphs);  // by that many filter graphs, and what it keeps once it has been used

// The message boxes since the last call, each "caption<TAB>text"; none where they are shown.
std::vector<std::string> TakeMessageBoxes();

// While it lives this process has a class registration of its own; a device has one only, which is put back.
class OwnClasses {
  public:
    OwnClasses();
    ~OwnClasses();
    OwnClasses(const OwnClasses&) = delete;
    OwnClasses& operator=(const OwnClasses&) = delete;
};

// What a thread's COM apartment is: 'M' multithreaded, 'S' single-threaded, '-' none.
char Apartment();

// Has COM let go of libraries that nothing uses any more, now.
void FreeUnusedLibraries();

// Asks of the windows above the video window, and of itself, what an application may ask.
void WorkOn(HWND top, HWND owner, HWND video);
HWND FirstChild(HWND window);
bool IsVisible(HWND window);
// CLR_INVALID where it cannot be read.
COLORREF PixelOf(HWND window, int x, int y);

std::string SystemVersion();

}  // namespace verify::platform
