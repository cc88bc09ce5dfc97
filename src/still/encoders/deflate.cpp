#include "still/encoders/deflate.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace cam::still {
namespace {

using deflate::kMaxMatch;

// A window of 32 KB, no dictionary; with the check bits of the two bytes.
constexpr std::uint32_t kZlibHeader = 0x5E78;

constexpr unsigned kHashedBytes = 4;  // and the shortest match

// Up to this length a match is weighed against its bytes.
constexpr unsigned kLongestWeighed = 24;

// Where matches are rare, fewer places are tried: after so many misses every second, then every third.
constexpr unsigned kPatience = 8;
constexpr unsigned kMaxSkipped = 4;

// Byte by byte: the compiler makes one load of it where words may lie anywhere.
std::uint32_t LoadFour(const std::uint8_t* at) {
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

unsigned MatchLength(const std::uint8_t* earlier, const std::uint8_t* later, unsigned known, unsigned most) {
    unsigned length = known;
    // Processors with registers of 64 bits can load them from anywhere.
    if constexpr (sizeof(std::size_t) == 8) {
        static_assert(std::endian::native == std::endian::little,
                      "the first byte that differs is the lowest");
        for (; length + 8 <= most; length += 8) {
            std::uint64_t one, other;
            std::memcpy(&one, earlier + length, 8);
            std::memcpy(&other, later + length, 8);
            if (one != other) return length + static_cast<unsigned>(std::countr_zero(one ^ other)) / 8;
        }
    }
    while (length < most && earlier[length] == later[length]) ++length;
    return length;
}

}  // namespace

Deflate::Deflate(const deflate::Output& output) : bits(output) {
    bits.Put(kZlibHeader, 16);
}

std::span<std::uint8_t> Deflate::Room() {
    if (kWindowBytes - filled < kMinRoom) DropOldest();
    return std::span(window).subspan(filled);
}

void Deflate::Add(std::size_t count) {
    filled += count;
    // Further on, a match could go on in what is still to come.
    if (filled > kMaxMatch) Compress(filled - kMaxMatch);
}

void Deflate::Finish(std::uint32_t checksum) {
    Compress(filled);
    block.Write(bits, true);
    bits.Align();
    for (int shift = 24; shift >= 0; shift -= 8) bits.Put(checksum >> shift & 0xFF, 8);
    bits.Flush();
}

inline unsigned Deflate::Hash(std::uint32_t fourBytes) {
    return fourBytes * 2654435761u >> (32 - kHashBits);
}

// The longest of: the byte before over and over, the same four bytes where they were seen last, what is
// expected.
inline Deflate::Match Deflate::FindMatch(std::size_t at) {
    const std::uint8_t* const here = window.data() + at;
    const auto most = static_cast<unsigned>(std::min<std::size_t>(filled - at, kMaxMatch));
    const auto bytes = LoadFour(here);
    std::uint16_t& place = latest[Hash(bytes)];
    const std::size_t before = place;
    place = static_cast<std::uint16_t>(at);

    Match best{};
    const auto consider = [&](std::size_t distance) {
        if (best.length == most || here[-static_cast<std::ptrdiff_t>(distance)] != *here) return;
        if (LoadFour(here - distance) != bytes) return;
        const unsigned length = MatchLength(here - distance, here, kHashedBytes, most);
        if (length > best.length) best = {length, static_cast<unsigned>(distance)};
    };
    if (at > 0) consider(1);
    if (before > 0) consider(at - before);
    if (repeat > 0 && repeat <= at) consider(repeat);
    return best;
}

inline bool Deflate::Pays(const std::uint8_t* bytes, const Match& match) const {
    if (match.length > kLongestWeighed) return true;
    const unsigned matchBits = block.MatchBits(match.length, match.distance);
    unsigned literalBits = 0;
    for (unsigned i = 0; i < match.length; ++i) literalBits += block.LiteralBits(bytes[i]);
    return literalBits > matchBits;
}

std::size_t Deflate::AddMatch(std::size_t at, const Match& match) {
    const std::uint8_t* const bytes = window.data() + at;
    block.AddMatch(match.length, match.distance);
    if (match.length <= kLongestWeighed) block.AddSaved({bytes, match.length});
    if (block.isFull()) block.Write(bits, false);
    const std::size_t end = at + match.length;
    if (match.distance > 1) {
        const std::size_t last = std::min(end, filled - kHashedBytes + 1);
        for (std::size_t i = at + 1; i < last; ++i)
            latest[Hash(LoadFour(window.data() + i))] = static_cast<std::uint16_t>(i);
    }
    return end;
}

inline std::size_t Deflate::AddLiterals(std::size_t at, std::size_t count) {
    for (const std::size_t end = at + count; at < end; ++at) {
        block.AddLiteral(window[at]);
        if (block.isFull()) block.Write(bits, false);
    }
    return at;
}

void Deflate::Compress(std::size_t end) {
    std::size_t at = done;
    while (at < end) {
        const Match match = filled - at < kHashedBytes ? Match{} : FindMatch(at);
        if (match.length > 0 && Pays(window.data() + at, match)) {
            misses = 0;
            at = AddMatch(at, match);
        } else {
            const std::size_t step = 1 + std::min(misses++ / kPatience, kMaxSkipped);
            at = AddLiterals(at, std::min(step, filled - at));
        }
    }
    done = at;
}

void Deflate::DropOldest() {
    // By whole words, which is faster to move.
    const std::size_t dropped = (done - kKeptBytes) & ~std::size_t{7};
    std::memmove(window.data(), window.data() + dropped, filled - dropped);
    filled -= dropped;
    done -= dropped;
    for (std::uint16_t& place : latest) {
        place = static_cast<std::uint16_t>(place > dropped ? place - dropped : 0);
    }
}

}  // namespace cam::still
