#include "emulator/device_time.h"

namespace ce {

void Cache::Touch(std::uint32_t address, bool isWrite) {
    const std::uint32_t line = address / kLineBytes;
    Set& set = sets[line % kSets];
    for (std::uint32_t way = 0; way < kWays; ++way) {
        if (set.lines[way] != line) continue;
        set.written[way] |= isWrite;
        return;
    }
    const std::uint32_t way = set.oldest;
    set.oldest = (way + 1) % kWays;
    ++fills;
    writeBacks += set.written[way];
    set.lines[way] = line;
    set.written[way] = isWrite;
}

void DeviceTime::Execute(std::uint32_t address, std::uint32_t bytes) {
    constexpr std::uint32_t kInstructionBytes = 4;
    instructions += bytes / kInstructionBytes;
    branches += address != next;
    next = address + bytes;
    for (std::uint32_t line = address / Cache::kLineBytes; line <= (next - 1) / Cache::kLineBytes; ++line)
        code.Touch(line * Cache::kLineBytes, false);
}

}  // namespace ce
