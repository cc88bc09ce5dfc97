// One fault for each number that it is called with, and what a program may leave open.
#include <windows.h>

#include <stdlib.h>

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

int main(int count, char** arguments) {
    static char bytes[8];
    switch (count > 1 ? atoi(arguments[1]) : 0) {
        case 1:
            StoreToNull();
            break;
        case 2:
            return LoadUnaligned(bytes);
        case 3:
            return Recurse(0);
        case 4:
            RunData();
            break;
        case 5:
            UseFreed();
            break;
        case 6:
            WaitForever();
            break;
        case 7:
            lateFunction();
            break;
        case 8:
            Throw();
            break;
        case 9:
            Spin();
            break;
        case 10:
            LeaveOpen();
            break;
        default:
            break;
    }
    return 0;
}
}
