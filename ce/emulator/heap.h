// The program's heap, with its book-keeping outside the program's memory: every block has fences, and what is
// freed twice, written past its end, or used after it was freed is reported.
#pragma once

#include <deque>
#include <map>
#include <utility>

#include "emulator/machine.h"

namespace ce {

class Heap {
  public:
    explicit Heap(Machine& owner);
    // 8-byte aligned, filled with a pattern unless `zeroed`; 0 when there is no room.
    u32 Allocate(u32 size, bool zeroed = false);
    // For what the host hands to the program: never fails on purpose.
    u32 AllocateSurely(u32 size);
    void Free(u32 address);
    u32 Size(u32 address);
    // Fences of all blocks are whole, and nothing was written into what is free, else Failure.
    void Validate();
    size_t Blocks() const { return blocks.size(); }
    u32 Bytes() const { return bytes; }
    u32 PeakBytes() const { return peakBytes; }
    void StartPeak() { peakBytes = bytes; }
    // The blocks that are still there, by who allocated them.
    struct Share {
        std::string caller;
        u32 blocks, bytes;
    };
    std::vector<Share> Shares() const;
    // Blocks allocated later than the mark that are still there, with who allocated them.
    u32 Mark() const { return serial; }
    std::string LeakedSince(u32 mark) const;
    // From the next one on, this many allocations succeed, and then one fails; negative: all succeed.
    // Tells whether the failure of the count before has happened.
    bool FailAfter(int allocations) { return std::exchange(failAfter, allocations) == kSpent; }

  private:
    struct Block {
        u32 size, room, serial, caller;
    };
    // Freed not long ago, and not used again yet.
    struct Resting {
        u32 address;
        Block block;
        u32 freedBy;
    };
    void CheckFences(u32 address, const Block& block);
    void CheckRest(const Resting& rest);
    void SetGone(u32 address, u32 room, bool gone);

    Machine& machine;
    std::map<u32, Block> blocks;
    std::deque<Resting> resting;
    u32 restingBytes = 0;
    std::vector<u8> gone;                // for each 8 bytes, whether they belong to no block
    std::multimap<u32, u32> freeBlocks;  // room → address
    u32 next;
    u32 serial = 0;
    u32 bytes = 0, peakBytes = 0;
    static constexpr int kSpent = -2;
    int failAfter = -1;
};

}  // namespace ce
