// What a console program may use: arguments, streams, files, the registry, static objects, exceptions,
// threads; and an exit code.
#include <windows.h>

#include <stdio.h>

#include <string>
#include <vector>

namespace {

struct Announced {
    Announced() { printf("constructed\n"); }
    ~Announced() { printf("destroyed\n"); }
};
Announced announced;

int failures;

void Check(bool holds, const char* what) {
    if (holds) return;
    printf("failed: %s\n", what);
    ++failures;
}

void CheckFiles() {
    FILE* written = _wfopen(L"\\Notes.txt", L"wb");
    const char* format = "%s %d %5.2f|%-4d|%I64d\n";  // out of sight of the compiler, which does not know I64
    fprintf(written, format, "text", -3, 2.5, 7, 1LL << 40);
    fclose(written);
    FILE* read = _wfopen(L"\\NOTES.TXT", L"rb");  // letters do not matter
    char line[64] = {};
    Check(read && fgets(line, sizeof line, read), "reading back");
    if (read) fclose(read);
    Check(std::string(line) == "text -3  2.50|7   |1099511627776\n", "formats");
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(L"\\*.txt", &found);
    Check(search != INVALID_HANDLE_VALUE && std::wstring(found.cFileName) == L"Notes.txt", "finding files");
    FindClose(search);
    Check(DeleteFileW(L"\\notes.txt"), "deleting");
}

void CheckRegistry() {
    HKEY key;
    DWORD value = 0, size = sizeof value, type = 0;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"software\\Sample", 0, KEY_READ, &key) != 0) return;
    RegQueryValueExW(key, L"count", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    ++value;
    RegSetValueExW(key, L"Count", 0, REG_DWORD, reinterpret_cast<BYTE*>(&value), sizeof value);
    RegCloseKey(key);
    wprintf(L"count is now %u\n", static_cast<unsigned>(value));
}

DWORD WINAPI ThrowOnThread(void* caught) {
    try {
        throw std::string("thrown");
    } catch (const std::string& text) {
        *static_cast<size_t*>(caught) = text.size();
    }
    return 5;
}

void CheckThreads() {
    size_t caught = 0;
    const HANDLE thread = CreateThread(nullptr, 0, ThrowOnThread, &caught, 0, nullptr);
    Check(WaitForSingleObject(thread, 1000) == WAIT_OBJECT_0, "waiting for the thread");
    DWORD code = 0;
    GetExitCodeThread(thread, &code);
    CloseHandle(thread);
    Check(code == 5 && caught == 6, "exception on a thread");
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    for (int i = 0; i < count; ++i) wprintf(L"argument %d: %ls\n", i, arguments[i]);
    OutputDebugStringW(L"to the debugger: \x00E4\x20AC\r\n");
    fputs("to the error stream\n", stderr);
    CheckFiles();
    CheckRegistry();
    CheckThreads();
    return failures ? 100 : 40 + count;
}
