#include "emulator/machine.h"

#include <sys/mman.h>

#include <cstring>

namespace ce {

namespace {

constexpr u32 kStubBytes = 0x00100000;
constexpr u32 kReturnInstruction = 0xE12FFF1E;  // bx lr
constexpr u32 kNowhere = 0xFFFFFFF0;            // where the emulation would end by itself; never reached
constexpr int kLink = 14, kStack = 13, kCounter = 15;
constexpr int kFirstKept = 4, kLastKept = 11;

const int kRegisterIds[] = {UC_ARM_REG_R0,  UC_ARM_REG_R1,  UC_ARM_REG_R2,  UC_ARM_REG_R3, UC_ARM_REG_R4,
                            UC_ARM_REG_R5,  UC_ARM_REG_R6,  UC_ARM_REG_R7,  UC_ARM_REG_R8, UC_ARM_REG_R9,
                            UC_ARM_REG_R10, UC_ARM_REG_R11, UC_ARM_REG_R12, UC_ARM_REG_SP, UC_ARM_REG_LR,
                            UC_ARM_REG_PC,  UC_ARM_REG_CPSR};

void Check(uc_err error, const char* what) {
    if (error != UC_ERR_OK) throw Failure(std::string(what) + ": " + uc_strerror(error));
}

}  // namespace

u32 Arguments::Word() {
    const int index = static_cast<int>(taken.size());
    const u32 stub = registers.r[kCounter];
    const u32 word = index < 4 ? registers.r[static_cast<size_t>(index)]
                               : machine.Read<u32>(registers.r[kStack] + 4u * static_cast<u32>(index - 4));
    if (word / 16 == kUnset / 16 || word == stub) {
        throw Failure(
            "the caller of " + machine.Describe(stub) + " passes nothing in word " + std::to_string(index) +
            " of its arguments: another signature or the other calling convention\n" + machine.Backtrace());
    }
    taken.push_back(word);
    return word;
}

u64 Arguments::Long() {
    const u64 low = Word();
    return low | static_cast<u64>(Word()) << 32;
}

Machine::Machine() {
    Check(uc_open(UC_ARCH_ARM, UC_MODE_ARM, &engine), "the emulator does not start");
    // The one that has the instructions of ARMv4T and no later ones.
    Check(uc_ctl_set_cpu_model(engine, UC_CPU_ARM_TI925T), "no such processor");
    Map(kStubBase, kStubBytes);
    for (u32 offset = 0; offset < kStubBytes; offset += 4) Write(kStubBase + offset, kReturnInstruction);
    uc_hook hook;
    // The library takes the callbacks as untyped pointers. A stub's block of code, the return, is executed
    // before the emulation stops: a hook of single instructions would prevent that, but while there is one
    // the library does not say where it stopped.
    Check(uc_hook_add(engine, &hook, UC_HOOK_BLOCK, reinterpret_cast<void*>(OnStub), this, kStubBase,
                      kStubBase + kStubBytes - 1),
          "hook");
    Check(uc_hook_add(engine, &hook, UC_HOOK_MEM_INVALID, reinterpret_cast<void*>(OnInvalid), this, 1, 0),
          "hook");
    CheckAlignment(true);
    returnStub = AddStub("(return to the caller)", nullptr);
}

Machine::~Machine() {
    uc_close(engine);
    for (const Region& region : regions) munmap(region.bytes, region.size);
}

void Machine::Map(u32 address, u32 size, bool writable) {
    void* bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (bytes == MAP_FAILED) throw Failure("no memory for the emulated program");
    regions.push_back({address, size, static_cast<u8*>(bytes)});
    Check(uc_mem_map_ptr(engine, address, size, writable ? UC_PROT_ALL : UC_PROT_READ | UC_PROT_EXEC, bytes),
          "mapping");
}

void Machine::Protect(u32 address, u32 size, u32 permissions) {
    Check(uc_mem_protect(engine, address, size, permissions), "protecting");
}

const Machine::Region* Machine::Find(u32 address, u32 size) const {
    for (const Region& region : regions) {
        if (address >= region.address &&
            static_cast<u64>(address) + size <= static_cast<u64>(region.address) + region.size) {
            return &region;
        }
    }
    return nullptr;
}

u8* Machine::Bytes(u32 address, u32 size) {
    if (size && (IsForbidden(address) || IsForbidden(address + size - 1))) {
        throw Failure("a system call was given the address " + Hex(address) +
                      ", which belongs to no block of the heap: it has been freed, or lies past an end\n" +
                      Backtrace());
    }
    return Anything(address, size);
}

u8* Machine::Anything(u32 address, u32 size) {
    const Region* region = Find(address, size);
    if (region) return region->bytes + (address - region->address);
    throw Failure("a system call was given the address " + Hex(address) + ", which is not mapped\n" +
                  Backtrace());
}

std::u16string Machine::Text(u32 address) {
    std::u16string text;
    for (; const u16 unit = Read<u16>(address); address += 2) text.push_back(static_cast<char16_t>(unit));
    return text;
}

std::string Machine::Narrow(u32 address) {
    return reinterpret_cast<const char*>(Bytes(address));
}

u32 Machine::AddStub(std::string name, Handler handler) {
    if (stubs.size() >= kStubBytes / 4) throw Failure("too many stubs");
    stubs.push_back({std::move(name), std::move(handler)});
    return kStubBase + 4 * static_cast<u32>(stubs.size() - 1);
}

Registers Machine::Load() {
    Registers registers;
    void* words[17];
    for (size_t i = 0; i < 16; ++i) words[i] = &registers.r[i];
    words[16] = &registers.status;
    uc_reg_read_batch(engine, const_cast<int*>(kRegisterIds), words, 17);
    return registers;
}

void Machine::Store(const Registers& registers) {
    Registers copy = registers;
    void* words[17];
    for (size_t i = 0; i < 16; ++i) words[i] = &copy.r[i];
    words[16] = &copy.status;
    // The status first: it selects the bank that the others go to.
    uc_reg_write(engine, UC_ARM_REG_CPSR, words[16]);
    uc_reg_write_batch(engine, const_cast<int*>(kRegisterIds), words, 16);
}

u64 Machine::Call(u32 address, const std::vector<u32>& words) {
    const Registers before = Load();
    Registers call = before;
    for (int i = kFirstKept; i <= kLastKept; ++i)
        call.r[static_cast<size_t>(i)] = 0x4B454550u + static_cast<u32>(i);
    for (u32 i = 1; i < 4; ++i) call.r[i] = kUnset + i;
    const u32 end = before.r[kStack] - kPastArguments;
    const u32 stack = end - (words.size() > 4 ? 4 * static_cast<u32>(words.size() - 4) : 0);
    for (size_t i = 0; i < words.size(); ++i) {
        if (i < 4) {
            call.r[i] = words[i];
        } else {
            Write(stack + 4 * static_cast<u32>(i - 4), words[i]);
        }
    }
    call.r[kStack] = stack;
    call.r[kLink] = returnStub;
    call.r[kCounter] = address;
    Store(call);
    calls[end] = address;
    try {
        Run();
    } catch (...) {
        calls.erase(end);
        throw;
    }
    calls.erase(end);
    const Registers after = Load();
    for (int i = kFirstKept; i <= kLastKept; ++i) {
        const auto index = static_cast<size_t>(i);
        if (after.r[index] != call.r[index]) {
            throw Failure("register r" + std::to_string(i) + " was not kept by " + Describe(address));
        }
    }
    if (after.r[kStack] != stack) throw Failure("the stack pointer was not kept by " + Describe(address));
    Store(before);
    return after.r[0] | static_cast<u64>(after.r[1]) << 32;
}

void Machine::Run() {
    for (;;) {
        if (interrupted) throw Interrupted("the program was interrupted\n" + Backtrace());
        if (instructions >= sliceEnd) {
            sliceEnd = UINT64_MAX;
            onSlice();
        }
        pendingStub = -1;
        u32 pc = 0;
        uc_reg_read(engine, UC_ARM_REG_PC, &pc);
        const uc_err error = uc_emu_start(engine, pc, kNowhere, 0, 0);
        if (!fault.empty() || error != UC_ERR_OK) {
            uc_reg_read(engine, UC_ARM_REG_PC, &pc);
            Fault(error, pc);
        }
        if (pendingStub < 0 && (interrupted || instructions >= sliceEnd)) continue;
        if (pendingStub < 0) throw Failure("the emulation stopped without a reason\n" + Backtrace());
        const u32 index = static_cast<u32>(pendingStub);
        if (kStubBase + 4 * index == returnStub) return;
        pc = kStubBase + 4 * index;
        uc_reg_write(engine, UC_ARM_REG_PC, &pc);
        const Registers registers = Load();
        Arguments arguments(*this, registers);
        const u64 result = RunStub(stubs[index], arguments);
        Registers back = Load();
        back.r[0] = static_cast<u32>(result);
        back.r[1] = static_cast<u32>(result >> 32);
        back.r[kStack] = registers.r[kStack];
        back.r[kCounter] = registers.r[kLink];
        // What a called function may change, the system's functions do change.
        for (const u32 changed : {2u, 3u, 12u}) back.r[changed] = kUnset + changed;
        Store(back);
    }
}

u64 Machine::RunStub(const Stub& stub, Arguments& arguments) {
    if (!onCall) return stub.handler(arguments);
    try {
        const u64 result = stub.handler(arguments);
        onCall(stub.name, arguments.Taken(), &result);
        return result;
    } catch (...) {
        onCall(stub.name, arguments.Taken(), nullptr);
        throw;
    }
}

void Machine::Interrupt() {
    interrupted = true;
    uc_emu_stop(engine);
}

void Machine::OnStub(uc_engine* engine, u64 address, u32, void* self) {
    static_cast<Machine*>(self)->pendingStub = static_cast<int>((address - kStubBase) / 4);
    uc_emu_stop(engine);
}

void Machine::OnBlock(uc_engine* engine, u64, u32 size, void* self) {
    auto* machine = static_cast<Machine*>(self);
    machine->instructions += size / 4;
    if (machine->instructions >= machine->sliceEnd) uc_emu_stop(engine);
}

std::string Machine::Describe(u32 address) const {
    if (address >= kStubBase && address < kStubBase + 4 * stubs.size())
        return stubs[(address - kStubBase) / 4].name;
    return places.Describe(address);
}

// Page by page: a range is given up as a whole only when it is one piece, which rights divide.
void Machine::ForgetCode() {
    constexpr u32 kPage = 0x1000;
    for (u32 page = places.CodeLow() / kPage * kPage; page < places.CodeHigh(); page += kPage) {
        if (IsMapped(page)) uc_ctl_remove_cache(engine, page, page + kPage);
    }
}

void Machine::CheckAlignment(bool on) {
    if (on == (accessHook != 0)) return;
    if (on) {
        Check(uc_hook_add(engine, &accessHook, UC_HOOK_MEM_READ | UC_HOOK_MEM_WRITE,
                          reinterpret_cast<void*>(OnAccess), this, 1, 0),
              "hook");
    } else {
        uc_hook_del(engine, accessHook);
        accessHook = 0;
        ForgetCode();
    }
}

// The hook stays: code is counted from its translation on, and what was translated without it cannot be had
// again reliably.
void Machine::StartCounting() {
    if (sliceEnd != UINT64_MAX) sliceEnd -= instructions;
    instructions = 0;
    if (time) *time = DeviceTime();
    if (blockHook != 0) return;
    Check(uc_hook_add(engine, &blockHook, UC_HOOK_BLOCK, reinterpret_cast<void*>(OnBlock), this, 1, 0),
          "hook");
    ForgetCode();
}

u64 Machine::StopCounting() {
    return instructions;
}

void Machine::EstimateTime() {
    time = std::make_unique<DeviceTime>();
    uc_hook hook;
    Check(uc_hook_add(engine, &hook, UC_HOOK_BLOCK, reinterpret_cast<void*>(OnTimedBlock), this, 1, 0),
          "hook");
    Check(uc_hook_add(engine, &hook, UC_HOOK_MEM_READ | UC_HOOK_MEM_WRITE,
                      reinterpret_cast<void*>(OnTimedAccess), this, 1, 0),
          "hook");
}

void Machine::OnTimedBlock(uc_engine*, u64 address, u32 size, void* self) {
    static_cast<Machine*>(self)->time->Execute(static_cast<u32>(address), size);
}

void Machine::OnTimedAccess(uc_engine*, uc_mem_type type, u64 address, int, i64, void* self) {
    static_cast<Machine*>(self)->time->Access(static_cast<u32>(address), type == UC_MEM_WRITE);
}

}  // namespace ce
