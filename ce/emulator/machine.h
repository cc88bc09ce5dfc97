// The processor and its memory: an ARM in an emulator, with the faults of a device added.
#pragma once

#include <unicorn/unicorn.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "emulator/device_time.h"
#include "emulator/failure.h"
#include "emulator/places.h"

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

// What a called function may change, it does change to these values, by the register's number; nobody passes
// one of them on purpose.
constexpr u32 kUnset = 0xDEAD0000;
constexpr u32 kStubBase = 0xE0000000;
constexpr u32 kPastArguments = 16;  // bytes of stack that belong to nobody, after the arguments of a call

// Reads a call's arguments in their order: each takes whole words, 64-bit ones two of them without alignment,
// the first four words in registers. Failure when a word is one that the caller cannot have meant: then it
// passes its arguments elsewhere.
class Arguments {
  public:
    Arguments(class Machine& of, const Registers& atCall) : machine(of), registers(atCall) {}
    u32 Word();
    u64 Long();
    const std::vector<u32>& Taken() const { return taken; }

  private:
    Machine& machine;
    const Registers& registers;
    std::vector<u32> taken;
};

// What a stub does when the program calls it: takes the arguments, returns r0 and r1.
using Handler = std::function<u64(Arguments&)>;

class Machine {
  public:
    Machine();
    ~Machine();
    Machine(const Machine&) = delete;

    // ---- Memory
    // ------------------------------------------------------------------------------------------------ Whole
    // pages, zeroed.
    void Map(u32 address, u32 size, bool writable = true);
    void Protect(u32 address, u32 size, u32 permissions);
    // `size` bytes of the program's memory; Failure when they are not all mapped. Valid as long as the
    // machine.
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
    // As Bytes, and also what is forbidden.
    u8* Anything(u32 address, u32 size = 1);
    // Nobody may touch those 8 bytes whose byte in `granules` is not 0. For one range, as long as the
    // machine.
    void Forbid(u32 address, u32 size, const u8* granules) {
        forbiddenStart = address, forbiddenSize = size, forbidden = granules;
    }
    bool IsForbidden(u32 address) const {
        return address - forbiddenStart < forbiddenSize && forbidden[(address - forbiddenStart) / 8];
    }
    bool IsMapped(u32 address, u32 size = 1) const { return Find(address, size) != nullptr; }
    std::u16string Text(u32 address);
    std::string Narrow(u32 address);

    // ---- Code
    // -------------------------------------------------------------------------------------------------- The
    // address of a new stub: calling it runs `handler`.
    u32 AddStub(std::string name, Handler handler);
    // Calls a function and returns r0 and r1. Checks that it keeps the registers it has to keep, and while
    // alignment is checked also that it reads no argument past the last one. May be nested: from inside a
    // handler.
    u64 Call(u32 address, const std::vector<u32>& words);

    Registers Load();
    void Store(const Registers& registers);

    // ---- Observation
    // -------------------------------------------------------------------------------------------
    Places places;
    std::string Describe(u32 address) const;
    std::string Backtrace();
    // Told of each call of a stub when it has returned: the words that it took, and its result; none when it
    // did not return.
    std::function<void(const std::string& stub, const std::vector<u32>& words, const u64* result)> onCall;
    // From any thread: ends what runs as soon as possible, with Interrupted thrown by the calls under way.
    void Interrupt();
    // Watches every access for its alignment; about ten times slower. On from the start.
    void CheckAlignment(bool on);
    // Counts the instructions executed from now on. One count at a time. Start once before the first module
    // is loaded: code that ran before is not sure to be counted.
    void StartCounting();
    u64 StopCounting();
    // Estimates a device's time as well, from each StartCounting on. Before the first module is loaded; much
    // slower.
    void EstimateTime();
    const DeviceTime* Time() const { return time.get(); }
    // After so many instructions, counted while counting is on, `onSlice` is told between two blocks of code.
    void SliceAfter(u64 count) { sliceEnd = instructions + count; }
    std::function<void()> onSlice;
    // The stack that addresses below it belong to, for the texts of faults.
    void SetStackLimits(u32 low, u32 high) { stackLow = low, stackHigh = high; }

  private:
    struct Region {
        u32 address, size;
        u8* bytes;
    };
    struct Stub {
        std::string name;
        Handler handler;
    };

    const Region* Find(u32 address, u32 size) const;
    void Run();
    void ForgetCode();
    u64 RunStub(const Stub& stub, Arguments& arguments);
    std::string DescribeRegisters();
    [[noreturn]] void Fault(uc_err error, u32 pc);
    static void OnStub(uc_engine*, u64 address, u32 size, void* self);
    static void OnBlock(uc_engine*, u64 address, u32 size, void* self);
    static void OnAccess(uc_engine*, uc_mem_type, u64 address, int size, i64 value, void* self);
    static void OnTimedBlock(uc_engine*, u64 address, u32 size, void* self);
    static void OnTimedAccess(uc_engine*, uc_mem_type type, u64 address, int size, i64 value, void* self);
    static bool OnInvalid(uc_engine*, uc_mem_type, u64 address, int size, i64 value, void* self);

    uc_engine* engine = nullptr;
    uc_hook accessHook = 0;
    uc_hook blockHook = 0;
    std::vector<Region> regions;
    u32 forbiddenStart = 0, forbiddenSize = 0;
    const u8* forbidden = nullptr;
    std::deque<Stub> stubs;  // one that runs may add others
    int pendingStub = -1;
    u64 instructions = 0;
    std::unique_ptr<DeviceTime> time;
    u64 sliceEnd = UINT64_MAX;
    std::string fault;
    u32 faultAddress = 0;
    std::atomic<bool> interrupted = false;
    u32 stackLow = 0, stackHigh = 0;
    u32 returnStub = 0;
    // Of the calls under way: the end of the arguments on the stack, and the function.
    std::map<u32, u32> calls;
};

}  // namespace ce
