#include <memory>
#include <new>

#include "base/unique_resource.h"
#include "platform/platform.h"

namespace cam::platform {
namespace {

struct Start {
    LPTHREAD_START_ROUTINE routine;
    void* parameter;
    UniqueLibrary library;  // the thread's own reference
};

// Gives the reference back in the system's code, to which nobody returns.
DWORD WINAPI RunThread(void* argument) {
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    const DWORD exitCode = start->routine(start->parameter);
    const HMODULE library = start->library.release();
    start.reset();
    FreeLibraryAndExitThread(library, exitCode);
}

}  // namespace

HANDLE CreateLibraryThread(LPTHREAD_START_ROUTINE routine, void* parameter, DWORD* threadId) {
    std::unique_ptr<Start> start(new (std::nothrow) Start{routine, parameter, {}});
    if (!start) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<const wchar_t*>(&RunThread), start->library.put())) {
        return nullptr;
    }
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

void SetLibraryModule(HINSTANCE) {}

}  // namespace cam::platform
