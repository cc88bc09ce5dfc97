#include "base/thread_role.h"

#ifdef OCELLUS_CHECK_THREADS

#include <windows.h>

#include <cstdio>

namespace cam {
namespace {

// Empty for a thread that has declared nothing.
class Slot {
  public:
    ~Slot() { TlsFree(index); }

    const ThreadRole& Get() const {
        const DWORD error = GetLastError();  // which reading a slot clears
        const void* const role = TlsGetValue(index);
        SetLastError(error);
        return role ? *static_cast<const ThreadRole*>(role) : kCallerThread;
    }
    void Set(const ThreadRole& role) { TlsSetValue(index, const_cast<ThreadRole*>(&role)); }

  private:
    const DWORD index = TlsAlloc();
};

Slot slot;

[[noreturn]] void Fail(const char* rule, const ThreadRole& role, const char* function, const char* file,
                       int line) {
    std::fprintf(stderr, "%s:%d: %s runs on a %s thread; it is %s %s threads\n", file, line, function,
                 slot.Get().Name(), rule, role.Name());
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), kWrongThreadExitCode);
    for (;;) Sleep(INFINITE);
}

}  // namespace

ThreadRoleScope::ThreadRoleScope(const ThreadRole& role) : before(slot.Get()) {
    slot.Set(role);
}

ThreadRoleScope::~ThreadRoleScope() {
    slot.Set(before);
}

void CheckThread(const ThreadRole& role, const char* function, const char* file, int line) {
    if (&slot.Get() != &role) Fail("for", role, function, file, line);
}

void CheckThreadIsNot(const ThreadRole& role, const char* function, const char* file, int line) {
    if (&slot.Get() == &role) Fail("not for", role, function, file, line);
}

}  // namespace cam

#endif
