#include "emulator/heap.h"

#include <algorithm>
#include <cstring>

namespace ce {

namespace {

constexpr u32 kStart = 0x3A000000;  // not where the upper half of a common floating-point number points
constexpr u32 kBytes = 0x04000000;
constexpr u32 kFence = 8;
constexpr u32 kMaxRestingBytes = 0x00100000;
constexpr u8 kFenceByte = 0xFD, kFreshByte = 0xCD, kFreedByte = 0xDD;

}  // namespace

Heap::Heap(Machine& owner) : machine(owner), gone(kBytes / 8, 1), next(kStart + kFence) {
    machine.Map(kStart, kBytes);
    machine.Forbid(kStart, kBytes, gone.data());
}

void Heap::SetGone(u32 address, u32 room, bool isGone) {
    std::memset(gone.data() + (address - kStart) / 8, isGone ? 1 : 0, room / 8);
}

u32 Heap::Allocate(u32 size, bool zeroed) {
    if (failAfter == 0) {
        failAfter = kSpent;
        return 0;
    }
    if (failAfter > 0) --failAfter;
    if (size > kBytes) return 0;
    const u32 room = (size + 7) / 8 * 8;
    u32 address = 0;
    if (const auto found = freeBlocks.find(room); found != freeBlocks.end()) {
        address = found->second;
        freeBlocks.erase(found);
    } else {
        if (next + room + kFence > kStart + kBytes) return 0;
        address = next;
        next += room + kFence;
    }
    std::memset(machine.Anything(address - kFence, kFence), kFenceByte, kFence);
    std::memset(machine.Anything(address, room), zeroed ? 0 : kFreshByte, room);
    // What the program may not touch begins right after the last byte.
    std::memset(machine.Anything(address + size, room - size + kFence), kFenceByte, room - size + kFence);
    SetGone(address, room, false);
    bytes += size;
    peakBytes = std::max(peakBytes, bytes);
    blocks[address] = {size, room, ++serial, machine.Load().r[14]};
    return address;
}

u32 Heap::AllocateSurely(u32 size) {
    const int count = std::exchange(failAfter, -1);
    const u32 address = Allocate(size, true);
    failAfter = count;
    if (!address) throw Failure("the emulated heap is full");
    return address;
}

void Heap::CheckFences(u32 address, const Block& block) {
    const u8* before = machine.Anything(address - kFence, kFence);
    const u8* after = machine.Anything(address + block.size, block.room - block.size + kFence);
    bool whole = true;
    for (u32 i = 0; i < kFence; ++i) whole = whole && before[i] == kFenceByte;
    for (u32 i = 0; i < block.room - block.size + kFence; ++i) whole = whole && after[i] == kFenceByte;
    if (!whole) {
        throw Failure("the block of " + std::to_string(block.size) + " bytes allocated by " +
                      machine.Describe(block.caller) + " was written beyond its ends\n" +
                      machine.Backtrace());
    }
}

void Heap::CheckRest(const Resting& rest) {
    const u8* first = machine.Anything(rest.address, rest.block.room);
    if (std::all_of(first, first + rest.block.room, [](u8 byte) { return byte == kFreedByte; })) return;
    throw Failure("the block of " + std::to_string(rest.block.size) + " bytes allocated by " +
                  machine.Describe(rest.block.caller) + " and freed by " + machine.Describe(rest.freedBy) +
                  " was written after that\n" + machine.Backtrace());
}

void Heap::Free(u32 address) {
    if (address == 0) return;
    const auto found = blocks.find(address);
    if (found == blocks.end()) throw Failure("freed what is no block of the heap\n" + machine.Backtrace());
    CheckFences(address, found->second);
    std::memset(machine.Anything(address, found->second.room), kFreedByte, found->second.room);
    SetGone(address, found->second.room, true);
    bytes -= found->second.size;
    restingBytes += found->second.room;
    resting.push_back({address, found->second, machine.Load().r[14]});
    blocks.erase(found);
    while (restingBytes > kMaxRestingBytes) {
        const Resting rest = resting.front();
        resting.pop_front();
        CheckRest(rest);
        restingBytes -= rest.block.room;
        freeBlocks.emplace(rest.block.room, rest.address);
    }
}

u32 Heap::Size(u32 address) {
    const auto found = blocks.find(address);
    if (found == blocks.end())
        throw Failure("asked for the size of what is no block of the heap\n" + machine.Backtrace());
    return found->second.size;
}

void Heap::Validate() {
    for (const auto& [address, block] : blocks) CheckFences(address, block);
    for (const Resting& rest : resting) CheckRest(rest);
}

std::vector<Heap::Share> Heap::Shares() const {
    std::map<u32, Share> byCaller;
    for (const auto& [address, block] : blocks) {
        Share& share =
            byCaller.try_emplace(block.caller, Share{machine.Describe(block.caller), 0, 0}).first->second;
        ++share.blocks;
        share.bytes += block.size;
    }
    std::vector<Share> shares;
    for (auto& [caller, share] : byCaller) shares.push_back(std::move(share));
    return shares;
}

std::string Heap::LeakedSince(u32 mark) const {
    std::string text;
    for (const auto& [address, block] : blocks) {
        if (block.serial > mark) {
            text += "  " + std::to_string(block.size) + " bytes allocated by " +
                    machine.Describe(block.caller) + "\n";
        }
    }
    return text;
}

}  // namespace ce
