#include <windows.h>

#include <psapi.h>

#include <map>

#include "camverify/process_counts.h"
#include "holdings.h"

namespace reliability {

namespace {

std::map<std::string, long> HandlesByType() {
    std::map<std::string, long> types = {
        {"Event", 0}, {"Thread", 0}, {"Mutant", 0}, {"Semaphore", 0}, {"File", 0}};
    counts::ForEachHandle([&](std::wstring_view type) { ++types[std::string(type.begin(), type.end())]; });
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
    holdings.emplace_back("heap bytes", counts::HeapBytes());
    // Another name for the private bytes, which some systems leave at 0 under their own.
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    holdings.emplace_back("private bytes", static_cast<long>(memory.PagefileUsage));
    return holdings;
}

namespace {

struct Left {
    long events, heapBytes;
};

// By one such piece of work.
Left LeftBy(void (*work)()) {
    constexpr int kRounds = 8;
    work();  // whatever is made once
    const long events = HandlesByType().at("Event"), bytes = counts::HeapBytes();
    for (int round = 0; round < kRounds; ++round) work();
    return {(HandlesByType().at("Event") - events) / kRounds, (counts::HeapBytes() - bytes) / kRounds};
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

// Of every filter graph, and on some systems of every library that is loaded: a session loads the imager
// library once. A graph that looks for a filter between two pins loses the monikers of those that it tried.
Holdings LostBySystem(long sessions, long graphs) {
    constexpr long kMonikerBytes = 400;
    const Left ofGraph = LeftBy(MakeGraph), ofLibrary = LeftBy(LoadImagerLibrary);
    return {{"handles of Event", graphs * ofGraph.events + sessions * ofLibrary.events},
            {"GDI objects", counts::kGdiObjectsKept},
            {"heap bytes", graphs * ofGraph.heapBytes + sessions * (ofLibrary.heapBytes + kMonikerBytes)}};
}

}  // namespace reliability
