// The model of a device's caches, against patterns whose misses can be counted by hand.
#include <doctest/doctest.h>

#include "emulator/machine.h"

using namespace ce;

TEST_CASE("a cache fills each line once, keeps four lines of a set, and writes back what was written") {
    constexpr u32 kSetDistance = Cache::kLineBytes * Cache::kSets;
    constexpr u32 kCacheBytes = kSetDistance * Cache::kWays;
    static_assert(kCacheBytes == 16 * 1024);
    struct Pattern {
        const char* name;
        u32 count, distance, rounds;
        bool writes;
        u64 fills, writeBacks;
    };
    constexpr Pattern kPatterns[] = {
        {"a stream of words", 2048, 4, 1, false, 2048 / 8, 0},
        {"as much as fits, again", kCacheBytes / 4, 4, 3, false, 512, 0},
        {"a line more than fits, again", kCacheBytes / 32 + 1, 32, 2, false, 513 + 5, 0},
        {"four lines of one set", 4, kSetDistance, 10, false, 4, 0},
        {"five lines of one set", 5, kSetDistance, 10, false, 50, 0},
        {"written and kept", 4, kSetDistance, 10, true, 4, 0},
        {"written and driven out", 5, kSetDistance, 10, true, 50, 46},
    };
    for (const Pattern& pattern : kPatterns) {
        CAPTURE(pattern.name);
        Cache cache;
        for (u32 round = 0; round < pattern.rounds; ++round) {
            for (u32 i = 0; i < pattern.count; ++i)
                cache.Touch(0x60000000 + i * pattern.distance, pattern.writes);
        }
        CHECK(cache.fills == pattern.fills);
        CHECK(cache.writeBacks == pattern.writeBacks);
    }
}

TEST_CASE("a loop's instructions, accesses, branches and lines are what its code says") {
    constexpr u32 kCode = 0x10000000, kData = 0x20000000, kWords = 1000;
    constexpr u32 kLoop[] = {
        0xE4902004,  // loop: ldr r2, [r0], #4
        0xE4812004,  //       str r2, [r1], #4
        0xE2533001,  //       subs r3, r3, #1
        0x1AFFFFFB,  //       bne loop
        0xE1A00003,  //       mov r0, r3
        0xE12FFF1E,  //       bx lr
    };
    Machine machine;
    machine.EstimateTime();
    machine.Map(kCode, 0x1000);
    machine.Map(kData, 0x4000);
    machine.Map(0x30000000, 0x1000);
    Registers registers = machine.Load();
    registers.r[13] = 0x30001000;
    machine.Store(registers);
    for (u32 i = 0; i < std::size(kLoop); ++i) machine.Write(kCode + 4 * i, kLoop[i]);
    for (const bool isRepeated : {false, true}) {
        CAPTURE(isRepeated);
        machine.StartCounting();
        CHECK(machine.Call(kCode, {kData, kData + 0x2000, 0, kWords}) % (u64{1} << 32) == 0);
        const u64 instructions = machine.StopCounting();
        const DeviceTime& time = *machine.Time();
        CHECK(time.instructions == 4 * kWords + 2);
        CHECK(time.instructions == instructions);
        CHECK(time.accesses == 2 * kWords);
        CHECK(time.branches == 1 + (kWords - 1));
        CHECK(time.data.fills == 2 * kWords / 8);
        CHECK(time.data.writeBacks == 0);
        CHECK(time.code.fills == 1);
        CHECK(time.Cycles() == instructions + 2 * kWords + 2 * time.branches + 60 * (250 + 1));
    }
}
