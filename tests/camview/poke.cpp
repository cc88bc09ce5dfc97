// Looks at another program's window for a test: one command a line on standard input, one answer on standard
// output, ended by an empty line. What a person does is done with mouse and keyboard from outside; this only
// tells where things are and what they say.
//
//     list       every window of the viewer and its dialogs: handle, parent, class, id, visible, enabled,
//                left, top, width, height, state, text
//     names      every control as screen readers have it from the system: handle, class, id, name
//     focus      the handle of the control that takes the keys
//     dpi N      tells the viewer that its screen has N dots an inch
//     counts     handles, GDI objects, windows, kilobytes of memory
#include <windows.h>

#include <commctrl.h>
#include <oleacc.h>
#include <psapi.h>
#include <winternl.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string Utf8(const wchar_t* text) {
    char bytes[4000] = "";
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes, sizeof bytes - 1, nullptr, nullptr);
    std::string line;
    for (const char* at = bytes; *at; ++at) {
        if (*at == '\n')
            line += "\\n";
        else if (*at != '\r')
            line += *at == '\t' ? ' ' : *at;
    }
    return line;
}

// Whether a box is checked, where a slider stands, how many rows a list has, which entry is chosen.
long StateOf(HWND window, const std::string& className) {
    const auto ask = [window](UINT message) {
        DWORD_PTR answer = 0;
        SendMessageTimeoutW(window, message, 0, 0, SMTO_ABORTIFHUNG, 2000, &answer);
        return static_cast<long>(answer);
    };
    if (className == "Button") return ask(BM_GETCHECK);
    if (className == "msctls_trackbar32") return ask(TBM_GETPOS);
    if (className == "SysListView32") return ask(LVM_GETITEMCOUNT);
    if (className == "ComboBox") return ask(CB_GETCURSEL);
    if (className == "SysTabControl32") return ask(TCM_GETCURSEL);
    return 0;
}

BOOL CALLBACK Print(HWND window, LPARAM) {
    wchar_t name[64] = L"", text[2000] = L"";
    GetClassNameW(window, name, 64);
    DWORD_PTR length = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, 2000, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 2000,
                        &length);
    RECT place;
    GetWindowRect(window, &place);
    const std::string className = Utf8(name);
    printf("%p\t%p\t%s\t%d\t%d\t%d\t%ld\t%ld\t%ld\t%ld\t%ld\t%s\n", static_cast<void*>(window),
           static_cast<void*>(GetParent(window)), className.c_str(), GetDlgCtrlID(window),
           IsWindowVisible(window) != 0, IsWindowEnabled(window) != 0, place.left, place.top,
           place.right - place.left, place.bottom - place.top, StateOf(window, className),
           Utf8(text).c_str());
    return TRUE;
}

// A window of the viewer's process, and what stands in it: the viewer's own and its dialogs.
BOOL CALLBACK PrintAll(HWND top, LPARAM viewer) {
    DWORD process = 0, viewersProcess = 0;
    GetWindowThreadProcessId(top, &process);
    GetWindowThreadProcessId(reinterpret_cast<HWND>(viewer), &viewersProcess);
    if (process != viewersProcess || !IsWindowVisible(top)) return TRUE;
    Print(top, 0);
    EnumChildWindows(top, Print, 0);
    return TRUE;
}

// The text before a list names it. Wine's part of the system knows that of fields only.
std::string LabelBefore(HWND window) {
    const HWND label = GetWindow(window, GW_HWNDPREV);
    wchar_t kind[64] = L"", text[400] = L"";
    GetClassNameW(label, kind, 64);
    SendMessageTimeoutW(label, WM_GETTEXT, 400, reinterpret_cast<LPARAM>(text), SMTO_ABORTIFHUNG, 2000,
                        nullptr);
    return lstrcmpiW(kind, L"Static") == 0 ? Utf8(text) : "";
}

BOOL CALLBACK PrintName(HWND window, LPARAM) {
    wchar_t kind[64] = L"";
    GetClassNameW(window, kind, 64);
    IAccessible* object = nullptr;
    BSTR name = nullptr;
    VARIANT self = {};
    self.vt = VT_I4;
    self.lVal = CHILDID_SELF;
    AccessibleObjectFromWindow(window, static_cast<DWORD>(OBJID_CLIENT), __uuidof(IAccessible),
                               reinterpret_cast<void**>(&object));
    if (object) {
        object->get_accName(self, &name);
        object->Release();
    }
    const bool isList = lstrcmpiW(kind, L"ComboBox") == 0;
    printf("%p\t%s\t%d\t%s\n", static_cast<void*>(window), Utf8(kind).c_str(), GetDlgCtrlID(window),
           isList ? LabelBefore(window).c_str() : Utf8(name ? name : L"").c_str());
    SysFreeString(name);
    return TRUE;
}

// By trying them all: the system gives out the lowest number that is free, so a long gap is the end.
int Handles(HANDLE process) {
    constexpr int kEndGap = 0x800;
    int count = 0;
    int gap = 0;
    for (ULONG_PTR value = 4; gap < kEndGap; value += 4) {
        HANDLE copy = nullptr;
        const bool isOne = DuplicateHandle(process, reinterpret_cast<HANDLE>(value), GetCurrentProcess(),
                                           &copy, 0, FALSE, DUPLICATE_SAME_ACCESS);
        if (isOne) CloseHandle(copy);
        gap = isOne ? 0 : gap + 1;
        count += isOne;
    }
    return count;
}

// From the table of GDI handles that every process has mapped, where the system does not count them.
int GdiObjects(HANDLE process) {
    if (const DWORD counted = GetGuiResources(process, GR_GDIOBJECTS)) return static_cast<int>(counted);
    struct Entry {
        ULONG64 object;
        ULONG owner;
        USHORT unique;
        BYTE type;
        BYTE flags;
        ULONG64 user;
    };
    constexpr ULONG_PTR kTableInBlock = 0xF8;
    constexpr size_t kEntries = 0x4000;
    PROCESS_BASIC_INFORMATION basic = {};
    NtQueryInformationProcess(process, ProcessBasicInformation, &basic, sizeof basic, nullptr);
    const auto block = reinterpret_cast<ULONG_PTR>(basic.PebBaseAddress);
    void* table = nullptr;
    SIZE_T read = 0;
    std::vector<Entry> entries(kEntries);
    if (!ReadProcessMemory(process, reinterpret_cast<void*>(block + kTableInBlock), &table, sizeof table,
                           &read) ||
        !ReadProcessMemory(process, table, entries.data(), kEntries * sizeof(Entry), &read))
        return -1;
    int count = 0;
    for (const Entry& entry : entries) count += entry.type != 0;
    return count;
}

void PrintFocus(HWND window) {
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    printf("%p\n", static_cast<void*>(info.hwndFocus));
}

void PrintCounts(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    const HANDLE process =
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ | PROCESS_DUP_HANDLE, FALSE, id);
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(process, &memory, sizeof memory);
    int windows = 0;
    EnumChildWindows(
        window,
        [](HWND, LPARAM number) -> BOOL {
            ++*reinterpret_cast<int*>(number);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&windows));
    printf("%d\t%d\t%d\t%llu\n", Handles(process), GdiObjects(process), windows,
           static_cast<unsigned long long>(memory.PagefileUsage / 1024));
    CloseHandle(process);
}

}  // namespace

int main() {
    char line[100];
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    while (fgets(line, sizeof line, stdin)) {
        const HWND window = FindWindowW(L"camview", nullptr);
        int dpi = 0;
        if (window && strncmp(line, "list", 4) == 0) {
            EnumWindows(PrintAll, reinterpret_cast<LPARAM>(window));
        } else if (window && strncmp(line, "names", 5) == 0) {
            EnumChildWindows(window, PrintName, 0);
        } else if (window && sscanf(line, "dpi %d", &dpi) == 1) {
            constexpr UINT kDpiChanged = 0x02E0;
            SendMessageW(window, kDpiChanged, static_cast<WPARAM>(MAKELONG(dpi, dpi)), 0);
        } else if (window && strncmp(line, "focus", 5) == 0) {
            PrintFocus(window);
        } else if (window && strncmp(line, "counts", 6) == 0) {
            PrintCounts(window);
        }
        printf("\n");
        fflush(stdout);
    }
    return 0;
}
