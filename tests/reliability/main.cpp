// Sessions with the cameras under bad conditions; see kUsage. Prints what was not as it may be; ends with 1
// if anything was.
#include <windows.h>
#include <objbase.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "holdings.h"
#include "holdings_table.h"
#include "kit.h"
#include "session.h"

namespace {

using namespace reliability;

constexpr char kUsage[] =
    "reliability FOLDER once            one session\n"
    "reliability FOLDER twice           one in which anything may fail, and one that must be faultless\n"
    "reliability FOLDER seed N          the same; meanwhile another thread asks for the state, the device\n"
    "                                   resumes or is lost, when N says so. Every third N: undisturbed\n"
    "reliability FOLDER chaos N COUNT   the same for COUNT numbers from N, with the device kit's chaos\n"
    "reliability FOLDER sweep EVERY FROM    each call on camera and graph fails at its first, second and "
    "last\n"
    "                                   occurrence; of all these every EVERYth, beginning with that one\n"
    "reliability FOLDER cycles COUNT    what the process holds, at 200 times, in holdings.csv there; "
    "fails\n"
    "                                   when anything grows\n"
    "reliability FOLDER webcams COUNT   the same with the device kit's webcam, which OCELLUS_CAMERA names";

int failures;

void Tell(const std::vector<std::string>& problems) {
    for (const std::string& problem : problems) Print(problem);
    failures += static_cast<int>(problems.size());
}

std::string Narrow(const std::wstring& ascii) {
    std::string text;
    for (const wchar_t unit : ascii) text += static_cast<char>(unit);
    return text;
}

void Begin(const std::string& members = {}) {
    const std::wstring error = Play({members.begin(), members.end()});
    if (!error.empty()) Tell({"the device kit refuses the scenario: " + Narrow(error)});
}

Plan Resuming(const std::string& folder, const char* name, bool isHindered) {
    Plan plan{folder, name, isHindered};
    plan.resume = OfKit<decltype(kitResume)>("kitResume");
    return plan;
}

void PlayFaultless(const std::string& folder) {
    Begin();
    Tell(PlaySession(Resuming(folder, "b", false)));
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

void PlaySeed(const std::string& folder, int number, const std::string& scenario = {}) {
    Begin(scenario);
    Plan plan{folder, "a", number % 3 != 0};
    plan.hasOwner = number % 2 == 0;
    if (!plan.isHindered) {
        Tell(PlaySession(plan));
    } else {
        seed = static_cast<unsigned>(number);
        isOver = false;
        plan.onStep = OpenFor;
        const HANDLE thread = CreateThread(nullptr, 0, Disturb, nullptr, 0, nullptr);
        Tell(PlaySession(plan));
        isOver = true;
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
    PlayFaultless(folder);
}

void PlayChaos(const std::string& folder, int number, int count) {
    for (; count > 0; --count, ++number) {
        const std::string text = std::to_string(number);
        Print("# seed " + text);
        PlaySeed(folder, number, ", \"watchGraph\": true, \"chaos\": {\"seed\": " + text + "}");
    }
}

// ---- Calls that fail --------------------------------------------------------------------------

// How often each came in, by name; what is created is part of it.
Holdings CountCalls() {
    const auto log = OfKit<decltype(kitCallLog)>("kitCallLog");
    std::wstring text(log(nullptr, 0), L'\0');
    log(text.data(), static_cast<DWORD>(text.size()));
    Holdings calls;
    for (size_t at = 0, end; (end = text.find(L'\n', at)) != std::wstring::npos; at = end + 1) {
        const std::string call = Narrow(text.substr(at, end - at));
        const bool isCreation = call.starts_with("CoCreateInstance");
        const std::string name = isCreation ? call : call.substr(0, call.find(' '));
        auto known = std::find_if(calls.begin(), calls.end(), [&](auto& one) { return one.first == name; });
        if (known == calls.end()) known = calls.insert(known, {name, 0});
        ++known->second;
    }
    return calls;
}

void PlayFault(const std::string& folder, const std::string& call, long occurrence) {
    const std::string rule = "{\"at\": " + std::to_string(occurrence) + ", \"result\": \"0x8004FEED\"}";
    Print("# " + call + " " + rule);
    Begin(", \"watchGraph\": true, \"calls\": {\"" + call + "\": " + rule + "}");
    Tell(PlaySession(Resuming(folder, "a", true)));
    if (const LONG left = OfKit<decltype(kitLiveObjects)>("kitLiveObjects")())
        Tell({std::to_string(left) + " objects of the kit's are left"});
    PlayFaultless(folder);
}

void Sweep(const std::string& folder, int every, int from) {
    Begin(", \"watchGraph\": true");
    Tell(PlaySession(Resuming(folder, "b", false)));
    int possible = 0, runs = 0;
    const Holdings calls = CountCalls();
    for (const auto& [call, count] : calls) {
        // A driver's pin that does not let go holds a filter of the library whose code is unloaded. One that
        // tells no types is joined by a filter of the platform's, which may wait for a buffer with its own
        // lock held: then no call on the graph returns.
        if (call == "IPin::Disconnect" || call == "IPin::EnumMediaTypes") continue;
        std::vector<long> occurrences = {1, 2, count};
        occurrences.resize(static_cast<size_t>(std::min(count, 3L)));
        for (const long occurrence : occurrences) {
            if (possible++ < from || (possible - 1 - from) % every != 0) continue;
            PlayFault(folder, call, occurrence);
            ++runs;
        }
    }
    Print("sweep: " + std::to_string(calls.size()) + " calls, " + std::to_string(runs) +
          " runs of two sessions");
}

// ---- Months --------------------------------------------------------------------------

long Of(const Holdings& holdings, const std::string& kind) {
    for (const auto& [name, count] : holdings) {
        if (name == kind) return count;
    }
    return 0;
}

constexpr wchar_t kWebcamOpened[] = L"IPersistPropertyBag::Load Webcam";

// What the system makes once and keeps comes in the first cycles; what each session loses, or each one with a
// lost device, grows between the middle and the end.
void JudgeGrowth(const Holdings& middle, const Holdings& end, int cycles, long graphs) {
    // The system takes memory for the process in large pieces, and gives it back when it likes.
    constexpr long kKept = 4, kKeptHeapBytes = 32 * 1024, kKeptPrivateBytes = 8 * 1024 * 1024;
    const Holdings lost = LostBySystem(cycles - 1 - cycles / 2, graphs);
    for (const auto& [kind, count] : end) {
        const long before = Of(middle, kind) + Of(lost, kind);
        const long kept = kind == "heap bytes"      ? kKeptHeapBytes
                          : kind == "private bytes" ? kKeptPrivateBytes
                                                    : kKept;
        if (count - before > kept) {
            Tell({kind + " grows: " + std::to_string(before) + " after half of " + std::to_string(cycles) +
                  " cycles, " + std::to_string(count) + " at the end"});
        }
    }
}

// Every second loss of a webcam comes without a word of it.
void Soak(const std::string& folder, int cycles, bool isWebcam) {
    // Counting takes as long as the process holds many handles, and the system loses some in each session.
    constexpr int kLossEvery = 5, kCounts = 200;
    const int countEvery = std::max(1, cycles / kCounts);
    HoldingsTable table(cycles / countEvery + 3);
    Holdings middle, end;
    long graphs = 0;  // since the middle
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const bool isLost = cycle % kLossEvery == kLossEvery - 1;
        std::string scenario = isLost ? ", \"loseDeviceAfterFrames\": 8" : "";
        if (isWebcam) {
            scenario +=
                ", \"webcamFormats\": [{\"encoding\": \"YUY2\", \"width\": 160, \"height\": 120}, "
                "{\"encoding\": \"MJPG\", \"width\": 176, \"height\": 144}]";
            if (cycle % (2 * kLossEvery) == kLossEvery - 1)
                scenario += ", \"webcamHabits\": {\"losesSilently\": true}";
        }
        Begin(scenario);
        Plan plan = Resuming(folder, "b", isLost);
        plan.hasOwner = cycle % 2 == 0;
        Tell(PlaySession(plan));
        // A webcam is in a graph of its own each time that it is opened.
        ++graphs;
        const long opened = OfKit<decltype(kitCallCount)>("kitCallCount")(kWebcamOpened);
        if (isWebcam != (opened > 0)) Tell({"a webcam was opened " + std::to_string(opened) + " times"});
        graphs += opened;
        const bool isMiddle = cycle == cycles / 2, isLast = cycle == cycles - 1;
        if (cycle % countEvery != 0 && !isMiddle && !isLast) continue;
        end = CountHoldings();
        if (isMiddle) {
            middle = end;
            graphs = 0;
        }
        table.Add(cycle, end);
        WriteFileOf(folder + "holdings.csv", table.Text());
    }
    JudgeGrowth(middle, end, cycles, graphs);
}

bool Run(const std::string& folder, const std::string& mode, int number, int count) {
    if (mode == "once") {
        PlayFaultless(folder);
    } else if (mode == "twice") {
        Begin();
        Tell(PlaySession(Resuming(folder, "a", true)));
        PlayFaultless(folder);
    } else if (mode == "seed" && number > 0) {
        PlaySeed(folder, number);
    } else if (mode == "chaos" && number > 0 && count > 0) {
        PlayChaos(folder, number, count);
    } else if (mode == "sweep" && number > 0) {
        Sweep(folder, number, count);
    } else if ((mode == "cycles" || mode == "webcams") && number > 0) {
        Soak(folder, number, mode == "webcams");
    } else {
        return false;
    }
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    const auto number = [&](int index) { return count > index ? atoi(arguments[index]) : 0; };
    const std::string folder = count > 1 ? arguments[1] : "", mode = count > 2 ? arguments[2] : "";
    WriteFileOf(folder + "settings.ini", "[Camera]\nZoom=2\nBrightness=10\nResolution=1\n");
    WriteFileOf(folder + "profiles.exm",
                "<?xml version=\"1.0\"?>\r\n<ConfigDoc><Section name='Profiles'><Section name='A'/>"
                "<Section name='B'/></Section></ConfigDoc>");
    const bool isSoak = mode == "cycles" || mode == "webcams";
    // Elsewhere whoever runs the program looks to its time.
    if (mode == "chaos" || mode == "sweep" || isSoak) WatchForHangs();
    // The graph can be watched from such a thread only.
    if (mode == "chaos") CoInitializeEx(nullptr, 0);
    // Many sessions with one library: loading it that often is the loader's test.
    if (mode == "sweep" || isSoak) LoadLibraryW(L"ocellus.dll");
    if (!Run(folder, mode, number(3), number(4))) {
        Print(kUsage);
        return 2;
    }
    Print(std::to_string(SessionTotals().calls) + " calls, " + std::to_string(SessionTotals().pictures) +
          " pictures, " + std::to_string(failures) + " problems");
    return failures ? 1 : 0;
}
