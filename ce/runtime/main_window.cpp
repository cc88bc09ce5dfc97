// main of a program that begins with WinMain. The desktop's headers, with which it is compiled, give it the
// command line in the system's code page.
#include <windows.h>

#include "runtime.h"

extern "C" int main() {
    static char line[2 * ce::kMaxCommandLine];
    const ce::ProgramStart& start = ce::programStart;
    WideCharToMultiByte(CP_ACP, 0, start.commandLine, -1, line, sizeof line, nullptr, nullptr);
    return WinMain(static_cast<HINSTANCE>(start.instance), static_cast<HINSTANCE>(start.previous), line,
                   start.show);
}
