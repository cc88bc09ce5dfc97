// The library's own entry point.
#include <windows.h>
#include <objbase.h>

#include "com/server.h"

namespace {
// The thread for which COM was initialised, 0 when it was not: a thread that lives in a single-threaded
// apartment keeps it.
DWORD comThread = 0;

void EnterCom() {
    if (SUCCEEDED(CoInitializeEx(nullptr, 0))) comThread = GetCurrentThreadId();
}

// COM counts per thread: leaving on another one would take away what is not ours. When the process ends, all
// other threads are gone already, perhaps with COM's locks in their hands, and the system cleans up.
void LeaveCom(bool processEnds) {
    if (!processEnds && comThread == GetCurrentThreadId()) CoUninitialize();
    comThread = 0;
}
}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) EnterCom();
    if (reason == DLL_PROCESS_DETACH) LeaveCom(reserved != nullptr);
    cam::com::ServeModule(module, reason);
    return TRUE;
}
