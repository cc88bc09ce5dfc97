// Entry point of a DLL: static constructors and destructors around DllMain.
#include <windows.h>

#include <stdlib.h>

#include "runtime.h"

extern "C" {

using Routine = void (*)();
extern const Routine ce_constructors_begin[];
extern const Routine ce_constructors_end[];
extern const Routine ce_destructors_begin[];
extern const Routine ce_destructors_end[];

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

// Destructors of local statics; the library has a handful. Beyond the table they are not run, which only a leak check could see.
static constexpr int kAtExitSlots = 32;
static Routine atExitRoutines[kAtExitSlots];
static int atExitCount;

int atexit(Routine routine) {
    if (atExitCount == kAtExitSlots) return 1;
    atExitRoutines[atExitCount++] = routine;
    return 0;
}

static void RunConstructors() {
    for (const Routine* routine = ce_constructors_end; routine != ce_constructors_begin;) (*--routine)();
}

static void RunDestructors() {
    while (atExitCount > 0) atExitRoutines[--atExitCount]();
    for (const Routine* routine = ce_destructors_begin; routine != ce_destructors_end; ++routine)
        (*routine)();
}

BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    BOOL result = TRUE;
    if (reason == DLL_PROCESS_ATTACH) {
        ce::AllocateThreadState();
        RunConstructors();
    }
    result = DllMain(instance, reason, reserved);
    if (reason == DLL_THREAD_DETACH) ce::FreeThreadState();
    // A failed attach is not followed by a detach.
    if (reason == DLL_PROCESS_DETACH || (reason == DLL_PROCESS_ATTACH && !result)) {
        RunDestructors();
        ce::FreeThreadState();
        ce::ReleaseThreadState();
    }
    return result;
}
}
