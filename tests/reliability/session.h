// A session with the cameras as an application has it, from loading the library to unloading it, and what may
// come of it when the system, the driver or the order of threads is against it.
#pragma once

#include <windows.h>

#include <ocellus/cam.h>

#include <string>
#include <vector>

namespace reliability {

struct Plan {
    std::string folder;       // of the pictures and the settings, with its last separator
    std::string name = "a";   // of the session, in the names of its pictures
    bool isHindered = false;  // failures are to be expected; what they may answer is judged all the same
    bool hasOwner = true;     // of the video
    BOOL(WINAPI* resume)() = nullptr;  // lets the device resume; null: it does not
    // Told before each call of the library, and after it without a name; may be null.
    void (*onStep)(const char* call) = nullptr;
};

// Everything that was not as it may be, in words; empty: nothing. Leaves nothing open.
std::vector<std::string> PlaySession(const Plan& plan);

// How many calls and pictures there were in all sessions.
struct Totals {
    int calls = 0, pictures = 0;
};
Totals SessionTotals();

// Waits until it holds, with messages let in; whether it does.
bool PumpUntil(bool (*condition)(), DWORD timeoutMs);

// A call that does not return within 30 s ends the process from now on, with its name.
void WatchForHangs();

void Print(const std::string& line);
void WriteFileOf(const std::string& path, const std::string& text);

}  // namespace reliability
