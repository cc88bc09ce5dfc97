// Functions that Windows CE gives as inline functions of its headers, where the desktop exports them.
#include <windows.h>

extern "C" {

BOOL EventModify(HANDLE event, DWORD function);
DWORD TlsCall(DWORD function, DWORD index);

static constexpr DWORD kEventPulse = 1;
static constexpr DWORD kEventReset = 2;
static constexpr DWORD kEventSet = 3;

BOOL SetEvent(HANDLE event) {
    return EventModify(event, kEventSet);
}
BOOL ResetEvent(HANDLE event) {
    return EventModify(event, kEventReset);
}
BOOL PulseEvent(HANDLE event) {
    return EventModify(event, kEventPulse);
}

// The kernel shows each thread its own handles in a page at a fixed address; the thread's and the process's
// ids are these handles.
static volatile const DWORD* const kUserKernelData = reinterpret_cast<volatile const DWORD*>(0xFFFFC800);
static constexpr int kCurrentThread = 2;
static constexpr int kCurrentProcess = 3;

DWORD GetCurrentThreadId() {
    return kUserKernelData[kCurrentThread];
}
DWORD GetCurrentProcessId() {
    return kUserKernelData[kCurrentProcess];
}

// Pseudo handles: a fixed base, and the index of the entry above less one.
static constexpr ULONG_PTR kSystemHandleBase = 64;
HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(kSystemHandleBase + 1);
}
HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(kSystemHandleBase + 2);
}

DWORD TlsAlloc() {
    return TlsCall(0, 0);
}
BOOL TlsFree(DWORD index) {
    return static_cast<BOOL>(TlsCall(1, index));
}

FARPROC GetProcAddressA(HMODULE module, LPCSTR name);
FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    return GetProcAddressA(module, name);
}

int lstrlenW(LPCWSTR text) {
    int length = 0;
    while (text && text[length]) ++length;
    return length;
}
}
