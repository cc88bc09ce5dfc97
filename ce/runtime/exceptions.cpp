// The ends of the C++ exception machinery that depend on the system. The unwinder and the type matching come
// with the compiler; its own versions of what stands here assume one thread, a pool of static memory and a C
// library with files.
#include <windows.h>

#include <exception>
#include <new>

#include <stdlib.h>

#include "runtime.h"

namespace {

constexpr DWORD kNoSlot = 0xFFFFFFFF;
constexpr DWORD kTlsAllocate = 0;
constexpr DWORD kTlsFree = 1;
DWORD slot = kNoSlot;

// The layout that the compiler's library expects: caught exceptions, count of uncaught ones, and the one
// being propagated.
struct Globals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
    void* propagatingExceptions;
};
Globals lastResort;  // shared by threads that find no memory; they are about to end anyway

// Room for the library's header in front of a thrown object. Larger than needed; a multiple of 8, so that
// both stay aligned.
constexpr size_t kHeaderRoom = 192;

[[noreturn]] void EndProcess() {
    OutputDebugStringW(L"ocellus: unhandled exception\r\n");
    RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    TerminateProcess(GetCurrentProcess(), 3);
    for (;;) Sleep(INFINITE);
}

}  // namespace

extern "C" DWORD TlsCall(DWORD function, DWORD index);

namespace ce {

void AllocateThreadState() {
    slot = TlsCall(kTlsAllocate, 0);
}

void FreeThreadState() {
    if (slot == kNoSlot) return;
    free(TlsGetValue(slot));
    TlsSetValue(slot, nullptr);
}

void ReleaseThreadState() {
    if (slot != kNoSlot) TlsCall(kTlsFree, slot);
    slot = kNoSlot;
}

}  // namespace ce

namespace __cxxabiv1 {

// Called when nobody catches: without the compiler's version, which prints through C streams.
extern std::terminate_handler __terminate_handler;
std::terminate_handler __terminate_handler = EndProcess;

extern "C" Globals* __cxa_get_globals() noexcept {
    if (slot == kNoSlot) return &lastResort;
    // TlsGetValue clears the thread's last error, which code between a throw and its report still needs.
    const DWORD error = GetLastError();
    auto* globals = static_cast<Globals*>(TlsGetValue(slot));
    if (!globals) {
        globals = static_cast<Globals*>(calloc(1, sizeof(Globals)));
        if (globals) TlsSetValue(slot, globals);
    }
    SetLastError(error);
    return globals ? globals : &lastResort;
}

extern "C" Globals* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

// An out-of-memory exception is thrown exactly when there is no memory: one at a time has a place of its own.
alignas(8) static unsigned char emergency[kHeaderRoom + 64];
static LONG emergencyTaken;

extern "C" void* __cxa_allocate_exception(size_t size) noexcept {
    auto* block = static_cast<unsigned char*>(calloc(1, kHeaderRoom + size));
    if (!block && kHeaderRoom + size <= sizeof emergency && InterlockedExchange(&emergencyTaken, 1) == 0) {
        block = emergency;
        for (unsigned char& byte : emergency) byte = 0;
    }
    if (!block) EndProcess();
    return block + kHeaderRoom;
}

extern "C" void __cxa_free_exception(void* object) noexcept {
    auto* block = static_cast<unsigned char*>(object) - kHeaderRoom;
    if (block == emergency) {
        InterlockedExchange(&emergencyTaken, 0);
    } else {
        free(block);
    }
}

extern "C" void __cxa_pure_virtual() {
    EndProcess();
}
extern "C" void __cxa_deleted_virtual() {
    EndProcess();
}

}  // namespace __cxxabiv1

// ---- Tables of the unwinder -------------------------------------------------------------------------------

extern "C" {

extern const unsigned char __exidx_start[];
extern const unsigned char __exidx_end[];

// The unwinder asks for the table that covers an address: there is one, this image's.
const void* __gnu_Unwind_Find_exidx(const void*, int* count) {
    *count = static_cast<int>((__exidx_end - __exidx_start) / 8);
    return __exidx_start;
}

[[noreturn]] void abort() {
    EndProcess();
}
}

// ---- What the standard library's templates call when they must refuse -------------------------------------

namespace std {

// A length that no memory could hold is an allocation that fails; the others are errors of the program.
void __throw_bad_alloc() {
    throw bad_alloc();
}
void __throw_bad_array_new_length() {
    throw bad_alloc();
}
void __throw_length_error(const char*) {
    throw bad_alloc();
}
void __throw_out_of_range(const char*) {
    EndProcess();
}
void __throw_out_of_range_fmt(const char*, ...) {
    EndProcess();
}
void __throw_logic_error(const char*) {
    EndProcess();
}
void __throw_invalid_argument(const char*) {
    EndProcess();
}
void __throw_bad_function_call() {
    EndProcess();
}

}  // namespace std
