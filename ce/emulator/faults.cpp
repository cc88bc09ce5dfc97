// What a fault of the program is reported with: the access, the place, the registers, the calls under way.
#include "emulator/machine.h"

namespace ce {

namespace {

constexpr size_t kStack = 13, kLink = 14, kCounter = 15;
constexpr u32 kSmall = 0x10000;  // no memory of a process begins below it

// By the values with which the emulator fills what nobody may read.
std::string LikelyOf(u32 address) {
    const auto near = [address](u32 pattern) { return address - pattern + kSmall < 2 * kSmall; };
    if (address < kSmall) return "a null pointer";
    if (near(0xCDCDCDCD)) return "a pointer from memory that was never written";
    if (near(0xDDDDDDDD)) return "a pointer from memory that has been freed";
    if (near(0xFDFDFDFD)) return "a pointer from past the end of a block of the heap";
    if (near(kUnset)) return "a pointer from a register that a called function does not keep";
    return "";
}

}  // namespace

std::string Machine::DescribeRegisters() {
    const Registers registers = Load();
    std::string text;
    for (size_t i = 0; i < 16; ++i) {
        const char* special[] = {"sp", "lr", "pc"};
        std::string name = i < 13 ? "r" + std::to_string(i) : special[i - 13];
        name.insert(0, 3 - name.size(), ' ');
        text += (i % 4 == 0 ? "    " : "  ") + name + " " + Hex(registers.r[i]) + (i % 4 == 3 ? "\n" : "");
    }
    return text;
}

void Machine::Fault(uc_err error, u32 pc) {
    std::string text = fault;
    fault.clear();
    const bool ofCode = text.empty();
    if (ofCode)
        text =
            (error == UC_ERR_EXCEPTION || error == UC_ERR_INSN_INVALID ? std::string("undefined instruction")
                                                                       : std::string(uc_strerror(error))) +
            " at " + Describe(pc);
    const u32 stack = Load().r[kStack];
    const bool below = (faultAddress < stackLow && faultAddress + 0x10000 >= stackLow) || stack < stackLow;
    std::string likely;
    if (stackLow && below) {
        text = "stack overflow: " + text;
        likely = "endless recursion, or large local variables: a stack has " +
                 std::to_string((stackHigh - stackLow) / 1024) + " KB";
    } else if (ofCode) {
        likely = "data run as code, or an instruction that ARMv4T lacks";
    } else if (likely = LikelyOf(faultAddress); likely.empty() && text.starts_with("unaligned")) {
        likely = "a cast pointer: the processor traps what does not stand on a multiple of its size";
    }
    faultAddress = 0;
    if (!likely.empty()) text += "\n    likely " + likely;
    throw Failure(text + "\n" + DescribeRegisters() + Backtrace());
}

// There are no frame pointers: words on the stack that follow a call instruction are taken for return
// addresses.
std::string Machine::Backtrace() {
    const Registers registers = Load();
    std::string text =
        "    in " + Describe(registers.r[kCounter]) + "\n    from " + Describe(registers.r[kLink]) + "\n";
    int shown = 0;
    for (u32 at = registers.r[kStack]; at < stackHigh && at >= stackLow && shown < 12; at += 4) {
        const u32 word = Read<u32>(at);
        if (word % 4 || !places.IsCode(word - 4) || !IsMapped(word - 4, 4)) continue;
        const u32 before = Read<u32>(word - 4);
        if ((before & 0x0F000000) != 0x0B000000 && (before & 0x0FFFFFF0) != 0x012FFF10 &&
            before != 0xE1A0E00F)
            continue;
        text += "    from " + Describe(word) + "\n";
        ++shown;
    }
    return text;
}

void Machine::OnAccess(uc_engine* engine, uc_mem_type type, u64 address, int size, i64, void* self) {
    auto* machine = static_cast<Machine*>(self);
    const bool aligned = (address & static_cast<u64>(size - 1)) == 0;
    auto call = machine->calls.upper_bound(static_cast<u32>(address));
    const bool past = call != machine->calls.begin() && address < (--call)->first + kPastArguments;
    const bool gone = machine->IsForbidden(static_cast<u32>(address));
    if ((aligned && !past && !gone) || !machine->fault.empty()) return;
    u32 pc = 0;
    uc_reg_read(engine, UC_ARM_REG_PC, &pc);
    machine->fault = std::string(aligned ? "" : "unaligned ") + (type == UC_MEM_WRITE ? "store" : "load") +
                     " of " + std::to_string(size) + " bytes at " + Hex(static_cast<u32>(address)) + " in " +
                     machine->Describe(pc);
    if (past) {
        machine->fault += ", past the arguments of " + machine->Describe(call->second) +
                          ": another signature or the other calling convention";
    }
    if (gone) machine->fault += ", memory that has been freed or lies past the end of a block of the heap";
    machine->faultAddress = static_cast<u32>(address);
    uc_emu_stop(engine);
}

bool Machine::OnInvalid(uc_engine* engine, uc_mem_type type, u64 address, int size, i64, void* self) {
    auto* machine = static_cast<Machine*>(self);
    if (!machine->fault.empty()) return false;
    u32 pc = 0;
    uc_reg_read(engine, UC_ARM_REG_PC, &pc);
    const char* what = type == UC_MEM_FETCH_UNMAPPED || type == UC_MEM_FETCH_PROT   ? "execution"
                       : type == UC_MEM_WRITE_UNMAPPED || type == UC_MEM_WRITE_PROT ? "store"
                                                                                    : "load";
    machine->fault = std::string("invalid ") + what + " of " + std::to_string(size) + " bytes at " +
                     Hex(static_cast<u32>(address)) +
                     (type == UC_MEM_WRITE_PROT ? ", which may only be read," : "") + " in " +
                     machine->Describe(pc);
    machine->faultAddress = static_cast<u32>(address);
    return false;
}

}  // namespace ce
