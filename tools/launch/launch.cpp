// Starts a program, waits for it and writes its full exit code ("0x%08X") to the file named by
// OCELLUS_LAUNCH_REPORT: a shell under Wine sees the low byte only, and not whether the program could be
// loaded at all. While the program runs the file says "started", before that nothing. Used by
// scripts/host.sh.
#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace {

// What follows this program's own name on the command line, quoting untouched.
wchar_t* SkipOwnName(wchar_t* line) {
    const wchar_t stop = *line == L'"' ? L'"' : L' ';
    for (line += stop == L'"' ? 1 : 0; *line && *line != stop;) ++line;
    if (*line) ++line;
    while (*line == L' ') ++line;
    return line;
}

bool Report(const wchar_t* path, const char* format, DWORD code = 0) {
    FILE* file = _wfopen(path, L"w");
    if (!file) return false;
    fprintf(file, format, code);
    return fclose(file) == 0;
}

}  // namespace

int main() {
    wchar_t report[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(L"OCELLUS_LAUNCH_REPORT", report, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) return 2;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, SkipOwnName(GetCommandLineW()), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &process) ||
        !Report(report, "started\n")) {
        return 2;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    return Report(report, "0x%08lX\n", code) ? 0 : 2;
}
