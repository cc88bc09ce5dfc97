// Entry point of a program: static constructors, the program's main function, and the end of the process.
#include <windows.h>

#include "runtime.h"

namespace ce {
ProgramStart programStart;
}

extern "C" {

// Of the main functions a program has one. Where it is not wWinMain, the one here hands on to the next:
// wmain, main, WinMain, each in a file of its own, so that the linker takes those up to the program's.
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int show);

[[noreturn]] void exit(int code) {
    ce::RunDestructors();
    ce::FreeThreadState();
    ce::ReleaseThreadState();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    for (;;) Sleep(INFINITE);
}

void ExitProcess(UINT code) {
    TerminateProcess(GetCurrentProcess(), code);
    for (;;) Sleep(INFINITE);
}

void WinMainCRTStartup(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int show) {
    ce::programStart = {instance, previous, commandLine, show};
    ce::AllocateThreadState();
    ce::RunConstructors();
    exit(wWinMain(instance, previous, commandLine, show));
}
}
