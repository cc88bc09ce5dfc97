// Looks at another program's window for a test: one command a line on standard input, one answer on standard
// output, ended by an empty line. What a person does is done with mouse and keyboard from outside; this only
// tells where things are and what they say.
//
//     list       every window of the viewer: handle, parent, class, id, visible, enabled, left, top, width,
//     height, state, text dpi N      tells the viewer that its screen has N dots an inch counts     handles,
//     GDI objects, user objects, kilobytes of memory, processor milliseconds
#include <windows.h>

#include <commctrl.h>
#include <psapi.h>

#include <cstdio>
#include <cstring>
#include <string>

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

unsigned long long Milliseconds(const FILETIME& time) {
    return (static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime) / 10'000;
}

void PrintCounts(HWND window) {
    DWORD id = 0, handles = 0;
    GetWindowThreadProcessId(window, &id);
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    PROCESS_MEMORY_COUNTERS memory = {};
    FILETIME created, ended, kernel = {}, user = {};
    GetProcessHandleCount(process, &handles);
    GetProcessMemoryInfo(process, &memory, sizeof memory);
    GetProcessTimes(process, &created, &ended, &kernel, &user);
    printf("%lu\t%lu\t%lu\t%llu\t%llu\n", handles, GetGuiResources(process, GR_GDIOBJECTS),
           GetGuiResources(process, GR_USEROBJECTS),
           static_cast<unsigned long long>(memory.PagefileUsage / 1024),
           Milliseconds(kernel) + Milliseconds(user));
    CloseHandle(process);
}

}  // namespace

int main() {
    char line[100];
    while (fgets(line, sizeof line, stdin)) {
        const HWND window = FindWindowW(L"camview", nullptr);
        int dpi = 0;
        if (window && strncmp(line, "list", 4) == 0) {
            Print(window, 0);
            EnumChildWindows(window, Print, 0);
        } else if (window && sscanf(line, "dpi %d", &dpi) == 1) {
            constexpr UINT kDpiChanged = 0x02E0;
            SendMessageW(window, kDpiChanged, static_cast<WPARAM>(MAKELONG(dpi, dpi)), 0);
        } else if (window && strncmp(line, "counts", 6) == 0) {
            PrintCounts(window);
        }
        printf("\n");
        fflush(stdout);
    }
    return 0;
}
