// Entry point of a DLL: static constructors and destructors around DllMain.
#include <windows.h>

#include "runtime.h"

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);
[[noreturn]] void abort();

BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    BOOL result = TRUE;
    if (reason == DLL_PROCESS_ATTACH) {
        ce::AllocateThreadState();
        ce::RunConstructors();
    }
    result = DllMain(instance, reason, reserved);
    if (reason == DLL_THREAD_DETACH) ce::FreeThreadState();
    // A failed attach is not followed by a detach.
    if (reason == DLL_PROCESS_DETACH || (reason == DLL_PROCESS_ATTACH && !result)) {
        ce::RunDestructors();
        ce::FreeThreadState();
        ce::ReleaseThreadState();
    }
    return result;
}

// A library that leaves the program ends the process, which the callers of the picture libraries prevent with
// error handlers of their own.
[[noreturn]] void exit(int) {
    abort();
}
}
