// Block functions as part of the measured code. The system's stand-ins cost no instruction at all, which
// would flatter whoever copies most; these move a word at a time where both sides allow it, as a simple C
// library does.
#include <stddef.h>
#include <stdint.h>

namespace {

constexpr uintptr_t kWordMask = 3;

bool BothAligned(const void* one, const void* other) {
    return ((reinterpret_cast<uintptr_t>(one) | reinterpret_cast<uintptr_t>(other)) & kWordMask) == 0;
}

}  // namespace

extern "C" {

void* memcpy(void* to, const void* from, size_t count) {
    auto* target = static_cast<uint8_t*>(to);
    auto* source = static_cast<const uint8_t*>(from);
    if (BothAligned(to, from)) {
        for (; count >= 4; count -= 4, target += 4, source += 4) {
            *reinterpret_cast<uint32_t*>(target) = *reinterpret_cast<const uint32_t*>(source);
        }
    }
    while (count-- > 0) *target++ = *source++;
    return to;
}

void* memmove(void* to, const void* from, size_t count) {
    auto* target = static_cast<uint8_t*>(to);
    auto* source = static_cast<const uint8_t*>(from);
    if (target <= source || target >= source + count) return memcpy(to, from, count);
    while (count-- > 0) target[count] = source[count];
    return to;
}

void* memset(void* to, int value, size_t count) {
    auto* target = static_cast<uint8_t*>(to);
    const uint32_t word = static_cast<uint8_t>(value) * 0x01010101u;
    if (BothAligned(to, to)) {
        for (; count >= 4; count -= 4, target += 4) *reinterpret_cast<uint32_t*>(target) = word;
    }
    while (count-- > 0) *target++ = static_cast<uint8_t>(value);
    return to;
}
}
