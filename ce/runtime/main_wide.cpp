// wWinMain of a program that begins with wmain: the command line, cut into arguments.
#include <windows.h>

#include "runtime.h"

namespace {

wchar_t text[ce::kMaxCommandLine];  // the arguments lie in it, one after the other
wchar_t path[MAX_PATH];
wchar_t* arguments[ce::kMaxArguments + 1];

bool IsBlank(wchar_t character) {
    return character == L' ' || character == L'\t';
}

// Arguments are parted by blanks; quotes hold one together and are taken away.
int Cut(const wchar_t* line) {
    int count = 1;
    wchar_t* out = text;
    wchar_t* const end = text + ce::kMaxCommandLine - 1;
    while (count < ce::kMaxArguments) {
        while (IsBlank(*line)) ++line;
        if (*line == 0) break;
        arguments[count++] = out;
        bool quoted = false;
        for (; *line && (quoted || !IsBlank(*line)); ++line) {
            if (*line == L'"') {
                quoted = !quoted;
            } else if (out < end) {
                *out++ = *line;
            }
        }
        if (out < end) *out++ = 0;
    }
    return count;
}

}  // namespace

extern "C" {

int wmain(int count, wchar_t** arguments);

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR commandLine, int) {
    GetModuleFileNameW(instance, path, MAX_PATH);
    arguments[0] = path;
    const int count = Cut(commandLine);
    return wmain(count, arguments);
}
}
