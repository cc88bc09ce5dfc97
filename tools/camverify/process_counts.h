// What this process holds at the moment, for checks that nothing is lost. The functions that should know do
// not count on every system: GetProcessHandleCount and GetGuiResources may answer 0.
#pragma once

#include <windows.h>

#include <dshow.h>
#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace counts {

// Names and types of kernel objects; empty when the system does not say.
class ObjectText {
  public:
    enum Kind : int { kName = 1, kType = 2 };

    ObjectText(HANDLE handle, Kind kind) {
        ULONG length = 0;
        const auto information = static_cast<OBJECT_INFORMATION_CLASS>(kind);
        if (NtQueryObject(handle, information, answer_, sizeof answer_, &length) != 0) return;
        const auto* text = reinterpret_cast<const UNICODE_STRING*>(answer_);
        text_ = {text->Buffer, text->Length / sizeof(wchar_t)};
    }
    ObjectText(const ObjectText&) = delete;
    ObjectText& operator=(const ObjectText&) = delete;

    std::wstring_view get() const { return text_; }

  private:
    alignas(UNICODE_STRING) char answer_[2048];
    std::wstring_view text_;
};

// Calls visit(type) for every handle of this process, "Key" for example. Of open registry keys only those
// count that the library opens: the host's own filter mapper leaves some dozens of its own behind for every
// capture graph. By trying all numbers: the system gives out the lowest that is free, so a long gap is the
// end. Its list of all handles of all processes would be one request, but Wine 8's server, and with it every
// program there, ends when it is asked for that list while a process begins that has no handle yet.
template <typename Visit>
void ForEachHandle(Visit visit) {
    constexpr int kEndGap = 0x800;
    int gap = 0;
    for (ULONG_PTR value = 4; gap < kEndGap; value += 4) {
        const auto handle = reinterpret_cast<HANDLE>(value);
        DWORD flags = 0;
        if (!GetHandleInformation(handle, &flags)) {
            ++gap;
            continue;
        }
        gap = 0;
        const ObjectText type(handle, ObjectText::kType);
        if (type.get() == L"Key") {
            const ObjectText name(handle, ObjectText::kName);
            if (name.get().find(L"\\Machine\\Drivers") == std::wstring_view::npos &&
                name.get().find(L"\\ImageSink") == std::wstring_view::npos)
                continue;
        }
        visit(type.get());
    }
}

inline int Handles() {
    int count = 0;
    ForEachHandle([&](std::wstring_view) { ++count; });
    return count;
}

inline int Threads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL found = Thread32First(snapshot, &entry); found; found = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

// Where the system does not count them, from the table of GDI handles that every process has mapped.
inline int GdiObjects() {
    if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS))
        return static_cast<int>(counted);
    struct Entry {
        ULONG64 object;
        ULONG owner;
        USHORT unique;
        BYTE type;
        BYTE flags;
        ULONG64 user;
    };
    constexpr std::size_t kTableInBlock = sizeof(void*) == 8 ? 0xF8 : 0x94;
    constexpr int kEntries = 0x4000;
    PROCESS_BASIC_INFORMATION process = {};
    NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof process,
                              nullptr);
    const auto* block = reinterpret_cast<const BYTE*>(process.PebBaseAddress);
    const auto* table = *reinterpret_cast<const Entry* const*>(block + kTableInBlock);
    int count = 0;
    for (int index = 0; index < kEntries; ++index) count += table[index].type != 0 ? 1 : 0;
    return count;
}

// In blocks of all heaps.
inline long HeapBytes() {
    HANDLE heaps[64] = {};
    const DWORD count = std::min<DWORD>(GetProcessHeaps(ARRAYSIZE(heaps), heaps), ARRAYSIZE(heaps));
    SIZE_T bytes = 0;
    for (DWORD index = 0; index < count; ++index) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[index]);
        while (HeapWalk(heaps[index], &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData;
        }
        HeapUnlock(heaps[index]);
    }
    return static_cast<long>(bytes);
}

// The system keeps as many device contexts as were ever used at once, each with a region and a bitmap. The
// streaming thread, the worker and the owner each have one at times, and when all three first do so together
// is chance.
constexpr int kGdiObjectsKept = 3 * 3;

// What the system makes once and keeps: a lock of its own that two threads want at the same moment for the
// first time gets a handle, and when that is is chance. What a cycle loses is lost in each of them, which is
// more.
constexpr int kHandlesKept = 2;

// What the system itself loses for every filter graph (the host: one handle).
inline int HandlesLostPerGraph() {
    constexpr int kGraphs = 8;
    int before = 0;
    for (int graph = 0; graph <= kGraphs; ++graph) {
        if (graph == 1) before = Handles();  // whatever is made once has been made
        IUnknown* made = nullptr;
        CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                         reinterpret_cast<void**>(&made));
        if (made) made->Release();
    }
    return (Handles() - before) / kGraphs;
}

}  // namespace counts
