// One fault for each number that it is called with, what a program may leave open, and what the system
// refuses.
#include <windows.h>

#include <objbase.h>
#include <stdlib.h>
#include <string.h>
#include <strmif.h>
#include <uuids.h>

// The faults are meant.
#pragma GCC diagnostic ignored "-Winfinite-recursion"
#pragma GCC diagnostic ignored "-Warray-bounds"
#pragma GCC diagnostic ignored "-Wuse-after-free"

// Without it the compiler leaves out what nobody looks at.
static void Keep(void* block) {
    __asm__ volatile("" : : "r"(block) : "memory");
}

extern "C" {
void lateFunction();
HANDLE CreateMsgQueue(const wchar_t* name, void* options);

__attribute__((noinline)) void StoreToNull() {
    *reinterpret_cast<volatile int*>(8) = 1;
}
__attribute__((noinline)) int LoadUnaligned(const char* bytes) {
    return *reinterpret_cast<const volatile int*>(bytes + 1);
}
__attribute__((noinline)) int Recurse(int depth) {
    volatile char room[512];
    room[0] = static_cast<char>(depth);
    return Recurse(depth + 1) + room[0];
}
__attribute__((noinline)) void RunData() {
    static const unsigned kUndefined[] = {0xE7F000F0};  // permanently undefined
    reinterpret_cast<void (*)()>(reinterpret_cast<ULONG_PTR>(kUndefined))();
}
__attribute__((noinline)) void UseFreed() {
    void* block = malloc(16);
    free(block);
    Keep(block);
    **static_cast<int**>(block) = 1;
}
__attribute__((noinline)) void WaitForever() {
    WaitForSingleObject(CreateEventW(nullptr, FALSE, FALSE, L"never"), INFINITE);
}
__attribute__((noinline)) void Spin() {
    for (volatile int i = 0;; i = i + 1) {
    }
}
__attribute__((noinline)) void Throw() {
    throw 1;
}
__attribute__((noinline)) void LeaveOpen() {
    CreateEventW(nullptr, FALSE, FALSE, L"kept");
    CreateCompatibleDC(nullptr);
    Keep(malloc(100));
    PostMessageW(nullptr, WM_USER, 1, 2);
    MessageBoxW(nullptr, L"Nobody is there", L"Sample", MB_OK);
}

__attribute__((noinline)) void StoreToConstant() {
    static const int kConstant = 1;
    Keep(const_cast<int*>(&kConstant));
    *const_cast<volatile int*>(&kConstant) = 2;
}
__attribute__((noinline)) void StoreToFreed() {
    auto* block = static_cast<volatile int*>(malloc(16));
    free(const_cast<int*>(block));
    block[1] = 1;
}
__attribute__((noinline)) void LoadPastTheEnd() {
    const auto* block = static_cast<volatile char*>(malloc(16));
    Keep(const_cast<char*>(block));
    (void)block[16];
}
__attribute__((noinline)) void CopyFromFreed() {
    static char copy[400];
    void* block = malloc(sizeof copy);
    free(block);
    memcpy(copy, block, sizeof copy);
    Keep(copy);
}
__attribute__((noinline)) void RunLaterInstruction() {
    __asm__ volatile(".word 0xE16F0F10" ::: "r0");  // clz r0, r0
}
HKEY OpenKey() {
    HKEY key = nullptr;
    DWORD disposition;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Sample", 0, nullptr, 0, KEY_READ, nullptr, &key,
                    &disposition);
    return key;
}
__attribute__((noinline)) void CloseKeyAsHandle() {
    CloseHandle(OpenKey());
}
__attribute__((noinline)) void CloseEventAsKey() {
    RegCloseKey(static_cast<HKEY>(CreateEventW(nullptr, FALSE, FALSE, nullptr)));
}
__attribute__((noinline)) void CloseSearchAsHandle() {
    CreateDirectoryW(L"\\folder", nullptr);
    WIN32_FIND_DATAW found;
    CloseHandle(FindFirstFileW(L"\\*", &found));
}
__attribute__((noinline)) void CloseQueueAsHandle() {
    DWORD options[] = {20, 0, 1, 16, TRUE};
    CloseHandle(CreateMsgQueue(nullptr, options));
}
__attribute__((noinline)) void WaitForKey() {
    WaitForSingleObject(OpenKey(), 0);
}
__attribute__((noinline)) void ReleaseCompatibleContext() {
    ReleaseDC(nullptr, CreateCompatibleDC(nullptr));
}
__attribute__((noinline)) void DeleteSelectedBitmap() {
    const HDC context = CreateCompatibleDC(nullptr);
    static const WORD kPixels[64] = {};
    const HBITMAP bitmap = CreateBitmap(8, 8, 1, 16, kPixels);
    SelectObject(context, bitmap);
    DeleteObject(bitmap);
}
__attribute__((noinline)) void WritePastASample() {
    IMemAllocator* allocator = nullptr;
    IMediaSample* sample = nullptr;
    BYTE* bytes = nullptr;
    ALLOCATOR_PROPERTIES wanted = {1, 32, 1, 0}, got;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IMemAllocator),
                     reinterpret_cast<void**>(&allocator));
    allocator->SetProperties(&wanted, &got);
    allocator->Commit();
    allocator->GetBuffer(&sample, nullptr, nullptr, 0);
    sample->GetPointer(&bytes);
    bytes[32] = 1;
    sample->Release();
}

// What the system refuses; a bit for each answer that is another one than its documentation says.
int RefusedInTime() {
    int wrong = 0, bit = 1;
    const auto expect = [&](bool held) {
        if (!held) wrong |= bit;
        bit <<= 1;
    };
    IUnknown* object = nullptr;
    expect(CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IUnknown),
                            reinterpret_cast<void**>(&object)) == CO_E_NOTINITIALIZED);
    const auto open = [](const wchar_t* name, DWORD access, DWORD share) {
        return CreateFileW(name, access, share, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    };
    const HANDLE writer = open(L"\\a.txt", GENERIC_WRITE, FILE_SHARE_READ);
    expect(open(L"\\a.txt", GENERIC_READ, FILE_SHARE_READ) == INVALID_HANDLE_VALUE &&
           GetLastError() == ERROR_SHARING_VIOLATION);
    const HANDLE reader = open(L"\\a.txt", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    expect(reader != INVALID_HANDLE_VALUE);
    DWORD done;
    expect(!WriteFile(reader, "x", 1, &done, nullptr) && GetLastError() == ERROR_ACCESS_DENIED);
    expect(!DeleteFileW(L"\\a.txt") && GetLastError() == ERROR_SHARING_VIOLATION);
    CloseHandle(reader);
    CloseHandle(writer);
    expect(DeleteFileW(L"\\a.txt"));
    // The test has put it there.
    expect((GetFileAttributesW(L"\\fixed.txt") & FILE_ATTRIBUTE_READONLY) != 0);
    expect(open(L"\\fixed.txt", GENERIC_WRITE, 0) == INVALID_HANDLE_VALUE &&
           GetLastError() == ERROR_ACCESS_DENIED);
    expect(!DeleteFileW(L"\\fixed.txt") && GetLastError() == ERROR_ACCESS_DENIED);
    // A named event ends with its last handle, and what it was set to with it.
    const HANDLE first = CreateEventW(nullptr, TRUE, TRUE, L"named");
    const HANDLE second = CreateEventW(nullptr, TRUE, FALSE, L"named");
    expect(GetLastError() == ERROR_ALREADY_EXISTS && WaitForSingleObject(second, 0) == WAIT_OBJECT_0);
    CloseHandle(first);
    CloseHandle(second);
    const HANDLE third = CreateEventW(nullptr, TRUE, FALSE, L"named");
    expect(GetLastError() == 0 && WaitForSingleObject(third, 0) == WAIT_TIMEOUT);
    CloseHandle(third);
    // A wait for messages ends with one, another wait does not.
    PostThreadMessageW(GetCurrentThreadId(), WM_USER, 0, 0);
    const HANDLE never = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    expect(WaitForSingleObject(never, 10) == WAIT_TIMEOUT);
    expect(MsgWaitForMultipleObjectsEx(1, const_cast<HANDLE*>(&never), 10, QS_ALLINPUT,
                                       MWMO_INPUTAVAILABLE) == WAIT_OBJECT_0 + 1);
    CloseHandle(never);
    return wrong;
}

int main(int count, char** arguments) {
    static char bytes[8];
    static void (*const kFaults[])() = {StoreToNull,
                                        [] { LoadUnaligned(bytes); },
                                        [] { Recurse(0); },
                                        RunData,
                                        UseFreed,
                                        WaitForever,
                                        lateFunction,
                                        Throw,
                                        Spin,
                                        LeaveOpen,
                                        StoreToConstant,
                                        StoreToFreed,
                                        LoadPastTheEnd,
                                        CopyFromFreed,
                                        RunLaterInstruction,
                                        CloseKeyAsHandle,
                                        CloseEventAsKey,
                                        CloseSearchAsHandle,
                                        WaitForKey,
                                        ReleaseCompatibleContext,
                                        DeleteSelectedBitmap,
                                        WritePastASample,
                                        CloseQueueAsHandle};
    constexpr int kCount = sizeof kFaults / sizeof *kFaults;
    const int number = count > 1 ? atoi(arguments[1]) : 0;
    if (number == 0) return RefusedInTime();
    if (number <= kCount) kFaults[number - 1]();
    return 0;
}
}
