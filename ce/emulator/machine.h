// The processor and its memory: an ARM in an emulator, with the faults of a device added.
#pragma once

#include <unicorn/unicorn.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "emulator/failure.h"

namespace ce {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using i32 = std::int32_t;
using u64 = std::uint64_t;
using i64 = std::int64_t;

struct Registers {
    std::array<u32, 16> r{};  // r13 stack, r14 link, r15 program counter
    u32 status = 0;
};

// What a called function may change, it does change to these values, by the register's number; nobody passes one of them on purpose.
constexpr u32 kUnset = 0xDEAD0000;

// Reads a call's arguments in their order: each takes whole words, 64-bit ones two of them without alignment, the first four words
// in registers. Failure when a word is one that the caller cannot have meant: then it passes its arguments elsewhere.
class Arguments {
  public:
    Arguments(class Machine& machine, const Registers& registers)
        : machine_(machine), registers_(registers) {}
    u32 Word();
    u64 Long();

  private:
    Machine& machine_;
    const Registers& registers_;
    int next_ = 0;
};

// What a stub does when the program calls it: takes the arguments, returns r0 and r1.
using Handler = std::function<u64(Arguments&)>;

class Machine {
  public:
    Machine();
    ~Machine();
    Machine(const Machine&) = delete;

    // ---- Memory ------------------------------------------------------------------------------------------------
    // Whole pages, zeroed.
    void Map(u32 address, u32 size, bool writable = true);
    void Protect(u32 address, u32 size, u32 permissions);
    // `size` bytes of the program's memory; Failure when they are not all mapped. Valid as long as the machine.
    u8* Bytes(u32 address, u32 size = 1);
    template <typename T>
    T Read(u32 address) {
        T value;
        __builtin_memcpy(&value, Bytes(address, sizeof(T)), sizeof(T));
        return value;
    }
    template <typename T>
    void Write(u32 address, T value) {
        __builtin_memcpy(Bytes(address, sizeof(T)), &value, sizeof(T));
    }
    std::u16string Text(u32 address);
    std::string Narrow(u32 address);

    // ---- Code --------------------------------------------------------------------------------------------------
    // The address of a new stub: calling it runs `handler`.
    u32 AddStub(std::string name, Handler handler);
    // Calls a function and returns r0 and r1. Checks that it keeps the registers it has to keep, and while alignment is checked also that it reads no
    // argument behind the last one. May be nested: from inside a handler.
    u64 Call(u32 address, const std::vector<u32>& words);

    Registers Load();
    void Store(const Registers& registers);

    // ---- Observation -------------------------------------------------------------------------------------------
    void AddSymbols(const std::string& path, u32 base);
    std::string Describe(u32 address) const;
    std::string Backtrace();
    // Watches every access for its alignment; about ten times slower. On from the start.
    void CheckAlignment(bool on);
    // Counts the instructions executed from now on. One count at a time.
    void StartCounting();
    u64 StopCounting();
    // The stack that addresses below it belong to, for the texts of faults.
    void SetStackLimits(u32 low, u32 high) { stackLow_ = low, stackHigh_ = high; }

  private:
    struct Region {
        u32 address, size;
        u8* bytes;
    };
    struct Symbol {
        u32 size;
        bool function;
        std::string name;
    };
    struct Stub {
        std::string name;
        Handler handler;
    };

    void Run();
    [[noreturn]] void Fault(uc_err error, u32 pc);
    static void OnStub(uc_engine*, u64 address, u32 size, void* self);
    static void OnBlock(uc_engine*, u64 address, u32 size, void* self);
    static void OnAccess(uc_engine*, uc_mem_type, u64 address, int size, i64 value, void* self);
    static bool OnInvalid(uc_engine*, uc_mem_type, u64 address, int size, i64 value, void* self);

    uc_engine* engine_ = nullptr;
    uc_hook accessHook_ = 0;
    uc_hook blockHook_ = 0;
    std::vector<Region> regions_;
    std::vector<Stub> stubs_;
    std::map<u32, Symbol> symbols_;
    int pendingStub_ = -1;
    u64 instructions_ = 0;
    std::string fault_;
    u32 faultAddress_ = 0;
    u32 stackLow_ = 0, stackHigh_ = 0;
    u32 returnStub_ = 0;
    std::map<u32, u32>
        calls_;  // of the calls under way: the end of the arguments on the stack, and the function
    u32 codeLow_ = 0xFFFFFFFF, codeHigh_ = 0;
};

}  // namespace ce
