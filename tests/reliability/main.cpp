// Sessions with the cameras under bad conditions. Prints what was not as it may be; ends with 1 if anything
// was.
//
//     reliability FOLDER once         one session
//     reliability FOLDER twice        one in which anything may fail, and one that must be faultless
//     reliability FOLDER seed N       the same; meanwhile another thread asks for the state, the device
//                                     resumes or is lost, at moments that N decides. Every third N:
//                                     undisturbed
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <atomic>

#include "kit.h"
#include "session.h"

namespace {

using namespace reliability;

int failures;

void Tell(const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) Print(problem);
    failures += static_cast<int>(problems.size());
}

void Begin(const std::wstring& scenario = {}) {
    const std::wstring error = Play(scenario);
    if (!error.empty())
        Tell({"the device kit refuses the scenario: " + std::string(error.begin(), error.end())});
}

void PlayFaultless(const std::string& folder) {
    Begin();
    Tell(PlaySession({folder, "b", false, OfKit<decltype(kitResume)>("kitResume")}));
}

// ---- A second thread --------------------------------------------------------------------------

std::atomic<bool> isOpen, isInside, isOver;
unsigned seed;

unsigned Random(unsigned limit) {
    seed = seed * 1664525 + 1013904223;
    return (seed >> 8) % limit;
}

// The state may be asked for while preview starts and stops and pictures are taken. Nothing may be asked for
// when the camera or the library comes or goes, and while properties and resolutions are read.
void OpenFor(const char* call) {
    if (!call) return;
    const bool mayOverlap = strstr(call, "Preview") || strstr(call, "Snap") || strstr(call, "GetState");
    isOpen = mayOverlap && !strstr(call, "Register") && strcmp(call, "camGetSnapshot") != 0;
    if (!isOpen) PumpUntil([] { return !isInside; }, INFINITE);
}

DWORD WINAPI Disturb(void*) {
    constexpr unsigned kLongestPauseMs = 60, kLossIsOneIn = 60;
    while (!isOver) {
        Sleep(Random(kLongestPauseMs));
        if (Random(kLossIsOneIn) == 0) OfKit<decltype(kitLoseDevice)>("kitLoseDevice")();
        if (Random(3) == 0) OfKit<decltype(kitResume)>("kitResume")();
        isInside = true;
        if (isOpen) {
            int state = 0;
            const HMODULE library = GetModuleHandleW(L"ocellus.dll");
            reinterpret_cast<decltype(camGetState)*>(
                reinterpret_cast<void*>(GetProcAddress(library, "camGetState")))(&state);
        }
        isInside = false;
    }
    return 0;
}

void PlaySeed(const std::string& folder, unsigned number) {
    Begin();
    if (number % 3 == 0) {
        Tell(PlaySession({folder, "a"}));
    } else {
        seed = number;
        const HANDLE thread = CreateThread(nullptr, 0, Disturb, nullptr, 0, nullptr);
        Tell(PlaySession({folder, "a", true, nullptr, OpenFor}));
        isOver = true;
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
    PlayFaultless(folder);
}

int Run(int count, char** arguments) {
    const std::string folder = count > 1 ? arguments[1] : "", mode = count > 2 ? arguments[2] : "";
    WriteFileOf(folder + "settings.ini", "[Camera]\nZoom=2\nBrightness=10\nResolution=1\n");
    WriteFileOf(folder + "profiles.exm",
                "<?xml version=\"1.0\"?>\r\n<ConfigDoc><Section name='Profiles'><Section name='A'/>"
                "<Section name='B'/></Section></ConfigDoc>");
    if (mode == "once") {
        PlayFaultless(folder);
    } else if (mode == "twice") {
        Begin();
        Tell(PlaySession({folder, "a", true, OfKit<decltype(kitResume)>("kitResume")}));
        PlayFaultless(folder);
    } else if (mode == "seed" && count > 3) {
        PlaySeed(folder, static_cast<unsigned>(atoi(arguments[3])));
    } else {
        Print("reliability FOLDER once | twice | seed N");
        return 2;
    }
    Print(std::to_string(SessionTotals().calls) + " calls, " + std::to_string(SessionTotals().pictures) +
          " pictures, " + std::to_string(failures) + " problems");
    return failures ? 1 : 0;
}

}  // namespace

int main(int count, char** arguments) {
    return Run(count, arguments);
}
