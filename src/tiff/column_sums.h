// The sums of the samples in each column of a window: half-words (the window is at most 255 high), and those
// of four columns in the order 0, 2, 1, 3: a word of samples becomes two words of half-words with a mask and
// a shift.
#pragma once

#include <stdint.h>

namespace cam::tiff {

using AliasedWord __attribute__((may_alias)) = uint32_t;

inline uint32_t LoadWord(const uint8_t* at) {
    return *reinterpret_cast<const AliasedWord*>(at);
}
inline void StoreWord(uint8_t* at, uint32_t word) {
    *reinterpret_cast<AliasedWord*>(at) = word;
}

inline constexpr uint32_t kGroup = 4;
inline constexpr uint32_t kEvenBytes = 0x00FF00FF;
constexpr uint32_t PlaceOf(uint32_t column) {
    return (column & ~3u) | (column & 1) << 1 | (column >> 1 & 1);
}

inline uint32_t SumOfFirst(const uint16_t* columns, uint32_t count) {
    uint32_t sum = 0;
    const uint16_t* const end = columns + count / kGroup * kGroup;
    for (; columns != end; columns += kGroup)
        sum += uint32_t{columns[0]} + columns[1] + columns[2] + columns[3];
    for (uint32_t i = 0; i < count % kGroup; ++i) sum += columns[PlaceOf(i)];
    return sum;
}

#ifdef __arm__
// Of eight columns at a time. Compilers load and store these words one by one, which takes half as many
// instructions again.
inline void MoveEightsDown(AliasedWord* sums, const uint8_t* added, const uint8_t* removed,
                           const uint8_t* end) {
    asm volatile(
        "0:   ldmia %[sums], {r4, r5, r6, r7}\n"
        "     ldmia %[added]!, {r8, r9}\n"
        "     and   r10, r8, %[even]\n"
        "     add   r4, r4, r10\n"
        "     and   r10, %[even], r8, lsr #8\n"
        "     add   r5, r5, r10\n"
        "     and   r10, r9, %[even]\n"
        "     add   r6, r6, r10\n"
        "     and   r10, %[even], r9, lsr #8\n"
        "     add   r7, r7, r10\n"
        "     ldmia %[removed]!, {r8, r9}\n"
        "     and   r10, r8, %[even]\n"
        "     sub   r4, r4, r10\n"
        "     and   r10, %[even], r8, lsr #8\n"
        "     sub   r5, r5, r10\n"
        "     and   r10, r9, %[even]\n"
        "     sub   r6, r6, r10\n"
        "     and   r10, %[even], r9, lsr #8\n"
        "     sub   r7, r7, r10\n"
        "     stmia %[sums]!, {r4, r5, r6, r7}\n"
        "     cmp   %[added], %[end]\n"
        "     bne   0b\n"
        : [sums] "+&r"(sums), [added] "+&r"(added), [removed] "+&r"(removed)
        : [end] "r"(end), [even] "r"(kEvenBytes)
        : "r4", "r5", "r6", "r7", "r8", "r9", "r10", "cc", "memory");
}
#endif

// A row of samples enters the window and another leaves it, a word at a time. Each half-word ends within its
// 16 bits, so what it borrows or carries on the way is given back.
inline void MoveWordsDown(uint16_t* columns, const uint8_t* added, const uint8_t* removed, uint32_t width) {
    auto* sums = reinterpret_cast<AliasedWord*>(columns);
    const uint8_t* const end = added + width;
#ifdef __arm__
    if (width % (2 * kGroup) == 0) return MoveEightsDown(sums, added, removed, end);
#endif
#pragma GCC unroll 2
    for (; added != end; added += kGroup, removed += kGroup, sums += 2) {
        const uint32_t more = LoadWord(added), less = LoadWord(removed);
        sums[0] = sums[0] + (more & kEvenBytes) - (less & kEvenBytes);
        sums[1] = sums[1] + (more >> 8 & kEvenBytes) - (less >> 8 & kEvenBytes);
    }
}

}  // namespace cam::tiff
