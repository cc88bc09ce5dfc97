// How long a device might take: a model of its caches, and cycles beside the instructions.
//
// The device assumed is an ARM9 at 400 MHz with memory at 100 MHz, 32 bits wide. A cycle for each
// instruction, one more for each word that it reads or writes (the pipeline waits for what was read; several
// registers go one after the other) and two for each branch taken. Data and code have a cache each. A line
// that is missing is filled from the memory, which takes 15 of its clocks; one that was written and makes
// room goes back first, 10 of them. Multiplications, the translation of addresses and the system's own work
// take no time.
#pragma once

#include <array>
#include <cstdint>

namespace ce {

// 16 KB in lines of 32 bytes, each in one of the four places of its set; the one that was filled first makes
// room. What is written stays here until then, and a line that is written in part is filled before.
class Cache {
  public:
    static constexpr std::uint32_t kLineBytes = 32, kWays = 4, kSets = 16 * 1024 / kLineBytes / kWays;

    void Touch(std::uint32_t address, bool isWrite);
    std::uint64_t fills = 0, writeBacks = 0;

  private:
    static constexpr std::uint32_t kNone = UINT32_MAX;
    struct Set {
        std::array<std::uint32_t, kWays> lines{kNone, kNone, kNone, kNone};
        std::array<bool, kWays> written{};
        std::uint32_t oldest = 0;
    };
    std::array<Set, kSets> sets;
};

// From empty caches on.
class DeviceTime {
  public:
    static constexpr std::uint64_t kHertz = 400'000'000, kFillCycles = 60, kWriteBackCycles = 40;
    static constexpr std::uint64_t kBranchCycles = 2;

    // Before a block of code is executed; all of it is.
    void Execute(std::uint32_t address, std::uint32_t bytes);
    void Access(std::uint32_t address, bool isWrite) {
        ++accesses;
        data.Touch(address, isWrite);
    }
    std::uint64_t Cycles() const {
        return instructions + accesses + kBranchCycles * branches + kFillCycles * (data.fills + code.fills) +
               kWriteBackCycles * data.writeBacks;
    }

    std::uint64_t instructions = 0, accesses = 0, branches = 0;
    Cache data, code;

  private:
    std::uint32_t next = 0;  // where the code goes on without a branch
};

}  // namespace ce
