#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <map>

#include "camverify/process_counts.h"
#include "holdings.h"

namespace reliability {

namespace {

// The interface's registry keys are the system's own business.
std::map<std::string, long> HandlesByType() {
    constexpr int kEndGap = 0x800;
    std::map<std::string, long> types = {
        {"Event", 0}, {"Thread", 0}, {"Mutant", 0}, {"Semaphore", 0}, {"File", 0}};
    int gap = 0;
    for (ULONG_PTR value = 4; gap < kEndGap; value += 4) {
        const auto handle = reinterpret_cast<HANDLE>(value);
        DWORD flags = 0;
        gap = GetHandleInformation(handle, &flags) ? 0 : gap + 1;
        if (gap || counts::IsForeignKey(handle)) continue;
        const counts::ObjectText type(handle, counts::ObjectText::kType);
        ++types[std::string(type.get().begin(), type.get().end())];
    }
    return types;
}

long Windows() {
    long count = 0;
    for (const HWND parent : {static_cast<HWND>(nullptr), HWND_MESSAGE}) {
        for (HWND window = nullptr; (window = FindWindowExW(parent, window, nullptr, nullptr));) {
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            count += process == GetCurrentProcessId();
        }
    }
    return count;
}

}  // namespace

Holdings CountHoldings() {
    Holdings holdings;
    for (const auto& [type, count] : HandlesByType()) holdings.emplace_back("handles of " + type, count);
    holdings.emplace_back("threads", counts::Threads());
    holdings.emplace_back("GDI objects", counts::GdiObjects());
    holdings.emplace_back("USER objects", Windows());
    // Another name for the private bytes, which some systems leave at 0 under their own.
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    holdings.emplace_back("private bytes", static_cast<long>(memory.PagefileUsage));
    return holdings;
}

namespace {

// Events that are left of one such piece of work.
long EventsLeft(void (*work)()) {
    constexpr int kRounds = 8;
    work();  // whatever is made once
    const long before = HandlesByType().at("Event");
    for (int round = 0; round < kRounds; ++round) work();
    return (HandlesByType().at("Event") - before) / kRounds;
}

void MakeGraph() {
    IUnknown* graph = nullptr;
    CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                     reinterpret_cast<void**>(&graph));
    if (graph) graph->Release();
}

void LoadImagerLibrary() {
    if (const HMODULE library = LoadLibraryW(L"Imvoxa.dll")) FreeLibrary(library);
}

}  // namespace

// An event of every filter graph, and on some systems one of every library that is loaded: a session loads
// the imager library once.
Holdings LostBySystem(long sessions, long graphs) {
    return {{"handles of Event", graphs * EventsLeft(MakeGraph) + sessions * EventsLeft(LoadImagerLibrary)}};
}

}  // namespace reliability
