// Code for the emulator to run: one exported function for each thing that the library relies on, and one for
// each fault that must be reported.
#include <windows.h>

#include <setjmp.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "adder.h"

// The faults are meant.
#pragma GCC diagnostic ignored "-Winfinite-recursion"
#pragma GCC diagnostic ignored "-Warray-bounds"

extern "C" {
int WINAPI provideSquare(int value);
const wchar_t* WINAPI provideName();
void lateFunction();
}

namespace {

// Statics of one file are constructed in the order of their definition; `sum` needs the two before it.
int Seed(int value) {
    return value * 3;
}
const int first = Seed(7);
const std::vector<int> numbers{first, first + 1, first + 2};
const int sum = numbers[0] + numbers[1] + numbers[2];

struct Problem {
    int code;
};

struct Guard {
    explicit Guard(int& counter) : count(counter) { ++count; }
    ~Guard() { --count; }
    int& count;
};

int alive = 0;

__attribute__((noinline)) void Throw(int depth, int code) {
    const Guard guard(alive);
    if (depth == 0) throw Problem{code};
    Throw(depth - 1, code);
    __asm__ volatile("" ::: "memory");
}

struct Work {
    HANDLE go;
    HANDLE done;
    LONG* total;
    int value;
    int caught;
};

DWORD WINAPI Worker(void* argument) {
    auto& work = *static_cast<Work*>(argument);
    WaitForSingleObject(work.go, INFINITE);
    try {
        Sleep(10 * static_cast<DWORD>(work.value));
        Throw(3, work.value);
    } catch (const Problem& problem) {
        Sleep(5);  // other threads throw while this one is handling
        work.caught = problem.code;
    }
    InterlockedExchangeAdd(work.total, work.value);
    SetEvent(work.done);
    return static_cast<DWORD>(work.value);
}

constexpr size_t kTooMuch = 0x70000000;

// Without it the compiler leaves out an allocation that nobody looks at.
void Keep(void* block) {
    __asm__ volatile("" : : "r"(block) : "memory");
}

__attribute__((noinline)) int Recurse(int depth) {
    volatile char room[512];
    room[0] = static_cast<char>(depth);
    return Recurse(depth + 1) + room[0];
}

}  // namespace

extern "C" {

int WINAPI StaticSum() {
    return sum;
}

int WINAPI CatchInHere(int code) {
    try {
        try {
            Throw(5, code);
        } catch (int) {
            return -1;
        } catch (const Problem& problem) {
            if (problem.code != code || alive != 0) return -2;
            throw;
        }
    } catch (...) {
        return alive == 0 ? code : -3;
    }
    return -4;
}

int WINAPI CatchOutOfMemory() {
    try {
        const std::unique_ptr<char[]> block(new char[kTooMuch]);
        Keep(block.get());
        return -1;
    } catch (const std::bad_alloc&) {
        const std::unique_ptr<char[]> block(new (std::nothrow) char[kTooMuch]);
        Keep(block.get());
        return block ? -2 : 1;
    }
}

int WINAPI RunWorkers(int count) {
    std::vector<Work> works(static_cast<size_t>(count));
    std::vector<HANDLE> threads;
    LONG total = 0;
    const HANDLE go = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    for (int i = 0; i < count; ++i) {
        works[static_cast<size_t>(i)] = {go, CreateEventW(nullptr, FALSE, FALSE, nullptr), &total, i + 1, 0};
        threads.push_back(CreateThread(nullptr, 0, Worker, &works[static_cast<size_t>(i)], 0, nullptr));
    }
    SetEvent(go);
    int failures = 0;
    for (int i = count - 1; i >= 0; --i) {
        Work& work = works[static_cast<size_t>(i)];
        const HANDLE both[] = {work.done, threads[static_cast<size_t>(i)]};
        if (WaitForMultipleObjects(2, both, FALSE, 5000) != WAIT_OBJECT_0) ++failures;
        if (WaitForSingleObject(threads[static_cast<size_t>(i)], INFINITE) != WAIT_OBJECT_0) ++failures;
        DWORD code = 0;
        GetExitCodeThread(threads[static_cast<size_t>(i)], &code);
        if (code != static_cast<DWORD>(work.value) || work.caught != work.value) ++failures;
        CloseHandle(threads[static_cast<size_t>(i)]);
        CloseHandle(work.done);
    }
    CloseHandle(go);
    return failures ? -failures : static_cast<int>(total);
}

int WINAPI CallProvider(int value) {
    return provideSquare(value) + static_cast<int>(wcslen(provideName()));
}

int WINAPI Divide(int high, int low) {
    const LONGLONG wide = static_cast<LONGLONG>(high) * 1000000007LL;
    return static_cast<int>(wide / low % 1000003) + high / low;
}

// The text must be formed by the system, the size of wchar_t and the sign of char be the target's.
int WINAPI Narrow(const wchar_t* text) {
    std::wstring copy(text);
    copy += L"-x";
    char narrow[16];
    WideCharToMultiByte(CP_ACP, 0, copy.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
    const char negative = static_cast<char>(0xFF);
    return static_cast<int>(strlen(narrow)) + (negative < 0 ? 100 : 0);
}

int WINAPI LoadUnaligned(const char* bytes) {
    return *reinterpret_cast<const volatile int*>(bytes + 1);
}

int WINAPI Overflow() {
    return Recurse(0);
}

void WINAPI Deadlock() {
    const HANDLE never = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    WaitForSingleObject(never, INFINITE);
}

void Clobber();
__asm__(
    ".section .text.Clobber,\"ax\",%progbits\n .global Clobber\n .type Clobber, %function\n"
    "Clobber: mov r4, #0\n mov r11, #0\n bx lr\n .size Clobber, . - Clobber\n .text");

void WINAPI CallUnbound() {
    lateFunction();
}

int WINAPI UnwindThroughJump(int value) {
    static jmp_buf buffer;
    volatile int passes = 0;
    const int code = setjmp(buffer);
    passes = passes + 1;
    if (code == 0) longjmp(buffer, value);
    return code + passes;
}

void WINAPI StoreThroughNull() {
    *reinterpret_cast<volatile int*>(4) = 1;
}

DWORD WINAPI ThreadIds() {
    return GetCurrentThreadId() ^ GetCurrentProcessId();
}

BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}
}
