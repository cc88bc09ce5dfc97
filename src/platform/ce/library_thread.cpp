// A reference to a module is what LoadLibrary gives for its path; a module that runs from the system's memory
// is found by it as well. Not every image of the system has the function that gives a reference back and ends
// the thread in one: without it the library stays loaded until the process ends, which harms nobody.
#include <memory>
#include <new>

#include "base/unique_resource.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

HINSTANCE ownModule = nullptr;

struct Start {
    LPTHREAD_START_ROUTINE routine;
    void* parameter;
    UniqueLibrary library;  // the thread's own reference; none in a program
};

using FreeAndExit = void(WINAPI*)(HMODULE library, DWORD exitCode);

FreeAndExit FindFreeAndExit() {
    const HMODULE system = GetModuleHandleW(L"coredll.dll");
    if (!system) return nullptr;
    return reinterpret_cast<FreeAndExit>(
        reinterpret_cast<void*>(GetProcAddress(system, "FreeLibraryAndExitThread")));
}

DWORD WINAPI RunThread(void* argument) {
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    const DWORD exitCode = start->routine(start->parameter);
    const HMODULE library = start->library.release();
    start.reset();
    if (library) {
        if (const FreeAndExit freeAndExit = FindFreeAndExit()) freeAndExit(library, exitCode);
    }
    return exitCode;
}

HMODULE ReferToOwnModule() {
    wchar_t path[MAX_PATH + 1] = {};
    const DWORD length = ownModule ? GetModuleFileNameW(ownModule, path, MAX_PATH) : 0;
    return length == 0 || length >= MAX_PATH ? nullptr : LoadLibraryW(path);
}

}  // namespace

HANDLE CreateLibraryThread(LPTHREAD_START_ROUTINE routine, void* parameter, DWORD* threadId) {
    std::unique_ptr<Start> start(new (std::nothrow) Start{routine, parameter, {}});
    if (!start) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    start->library.reset(ReferToOwnModule());
    const HANDLE thread = CreateThread(nullptr, 0, RunThread, start.get(), 0, threadId);
    if (thread) {
        start.release();
    } else {
        const DWORD error = GetLastError();
        start.reset();
        SetLastError(error);
    }
    return thread;
}

void SetLibraryModule(HINSTANCE module) {
    ownModule = module;
}

}  // namespace cam::platform
