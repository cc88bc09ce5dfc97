#include "still/encoders/deflate.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace cam::still {
namespace {

using deflate::kMaxMatch;

// A window of 32 KB, no dictionary; with the check bits of the two bytes.
constexpr std::uint32_t kZlibHeader = 0x5E78;

// Processors with registers of 64 bits can load words from anywhere.
constexpr bool kLoadsAnywhere = sizeof(std::size_t) == 8;

constexpr unsigned kHashedBytes = 4;  // and the shortest match
// Twelve bytes in a row, and twelve out of more: in writing and dots of large pixels the nearest ones are the
// same almost everywhere.
struct LongSpan {
    std::size_t second, third;  // words that are looked at beside the first
};
constexpr LongSpan kNarrowSpan = {4, 8};
constexpr LongSpan kWideSpan = {11, 22};
constexpr std::size_t kLongHashBytes = kWideSpan.third + 4;

// Up to this length a match is weighed against its bytes.
constexpr unsigned kLongestWeighed = 24;

// Up to this length a longer match is looked for at the next byte.
constexpr unsigned kLongestImproved = 64;

// Where matches are rare, fewer places are tried: after so many misses every second, then every third.
constexpr unsigned kPatience = 8;
constexpr unsigned kMaxSkipped = 4;

// Of a match from this length on, only so many places at its end are remembered by spans: the others repeat
// what is remembered further back already.
constexpr std::size_t kLongRemembered = 64;
constexpr std::size_t kRememberedAtEnd = 32;

// From this length on no longer one is looked for far away.
constexpr unsigned kLongEnough = 128;

// As many bytes at least for a match or a literal, and looking longer makes the stream clearly smaller. Slow
// processors do it only where it makes the most difference.
constexpr std::size_t kThoroughBytesPerToken = kLoadsAnywhere ? 7 : 10;

// Byte by byte: the compiler makes one load of it where words may lie anywhere.
std::uint32_t LoadFour(const std::uint8_t* at) {
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

unsigned MatchLength(const std::uint8_t* earlier, const std::uint8_t* later, unsigned known, unsigned most) {
    unsigned length = known;
    if constexpr (kLoadsAnywhere) {
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

Deflate::Deflate(const deflate::Output& output, std::size_t distance) : repeat(distance), bits(output) {
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

inline unsigned Deflate::LongHash(std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    return (first * 2654435761u ^ second * 2246822519u ^ third * 3266489917u) >> (32 - kLongHashBits);
}

// The longest of: the byte before over and over, the same four bytes where they were seen last; where it is
// worth while also what is as far back as the last match or as the row above, and the same bytes of two spans
// where they were seen the last times. Of the same length the first: distances that recur are cheap.
inline Deflate::Match Deflate::FindMatch(std::size_t at) {
    const std::uint8_t* const here = window.data() + at;
    const auto most = static_cast<unsigned>(std::min<std::size_t>(filled - at, kMaxMatch));
    const auto bytes = LoadFour(here);
    Match best{};
    const auto consider = [&](std::size_t distance) {
        if (distance - 1 >= at || best.length == most) return;
        const std::uint8_t* const there = here - distance;
        if (there[best.length] != here[best.length]) return;
        if (LoadFour(there) != bytes) return;
        const unsigned length = MatchLength(there, here, kHashedBytes, most);
        if (length > best.length) best = {length, static_cast<unsigned>(distance)};
    };
    const auto distanceTo = [&](std::uint16_t place) {
        return static_cast<std::uint16_t>(Place(at) - place);
    };

    consider(1);
    if (thorough) consider(before);
    if (thorough || repeatExpected) consider(repeat);
    std::uint16_t& last = latest[Hash(bytes)];
    consider(distanceTo(last));
    last = Place(at);
    if (thorough && most >= kLongHashBytes && best.length < kLongEnough) {
        const auto placesBy = [&](LongTable & table, const LongSpan& span) -> auto& {
            return table[LongHash(bytes, LoadFour(here + span.second), LoadFour(here + span.third))];
        };
        auto& wide = placesBy(latestWide, kWideSpan);
        auto& narrow = placesBy(latestNarrow, kNarrowSpan);
        for (const std::uint16_t place : wide) consider(distanceTo(place));
        if (best.length < kLongEnough) {
            for (const std::uint16_t place : narrow) consider(distanceTo(place));
        }
        const unsigned way = nextWay++ % kWays;
        wide[way] = narrow[way] = Place(at);
    }
    return best;
}

// As long as the next byte begins a longer match, that is taken, and this byte becomes a literal.
inline Deflate::Match Deflate::FindBetter(std::size_t& at, const Match& found) {
    Match best = found;
    while (best.length <= kLongestImproved && filled - at > kHashedBytes) {
        const Match next = FindMatch(at + 1);
        if (next.length <= best.length || !Pays(window.data() + at + 1, next)) break;
        at = AddLiterals(at, 1);
        best = next;
    }
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
    ++tokens;
    before = match.distance;
    if (match.length <= kLongestWeighed) block.AddSaved({bytes, match.length});
    if (block.isFull()) block.Write(bits, false);
    const std::size_t end = at + match.length;
    if (match.distance > 1) Remember(at + 1, end);
    return end;
}

// One byte is loaded for each place, where words cannot be loaded from anywhere.
inline void Deflate::Remember(std::size_t from, std::size_t to) {
    const std::uint8_t* const bytes = window.data();
    const auto move = [&](std::uint32_t& word, std::size_t at) {
        if constexpr (kLoadsAnywhere) {
            word = LoadFour(bytes + at);
        } else {
            word = word >> 8 | static_cast<std::uint32_t>(bytes[at + 3]) << 24;
        }
    };
    const std::size_t last = std::min(to, filled - kHashedBytes + 1);
    if (from >= last) return;
    std::uint32_t first = LoadFour(bytes + from - 1);
    for (std::size_t at = from; at < last; ++at) {
        move(first, at);
        latest[Hash(first)] = Place(at);
    }
    if (!thorough || filled < from + kLongHashBytes) return;
    const std::size_t lastLong = std::min(to, filled - kLongHashBytes + 1);
    if (to - from >= kLongRemembered && lastLong > from + kRememberedAtEnd)
        from = lastLong - kRememberedAtEnd;
    const auto lead = [&](std::size_t offset) { return LoadFour(bytes + from - 1 + offset); };
    first = lead(0);
    std::uint32_t narrow[] = {lead(kNarrowSpan.second), lead(kNarrowSpan.third)};
    std::uint32_t wide[] = {lead(kWideSpan.second), lead(kWideSpan.third)};
    for (std::size_t at = from; at < lastLong; ++at) {
        move(first, at);
        move(narrow[0], at + kNarrowSpan.second);
        move(narrow[1], at + kNarrowSpan.third);
        move(wide[0], at + kWideSpan.second);
        move(wide[1], at + kWideSpan.third);
        const unsigned way = nextWay++ % kWays;
        latestNarrow[LongHash(first, narrow[0], narrow[1])][way] = Place(at);
        latestWide[LongHash(first, wide[0], wide[1])][way] = Place(at);
    }
}

inline std::size_t Deflate::AddLiterals(std::size_t at, std::size_t count) {
    tokens += count;
    for (const std::size_t end = at + count; at < end; ++at) {
        block.AddLiteral(window[at]);
        if (block.isFull()) block.Write(bits, false);
    }
    return at;
}

void Deflate::Compress(std::size_t end) {
    std::size_t at = done;
    while (at < end) {
        Match match = filled - at < kHashedBytes ? Match{} : FindMatch(at);
        if (match.length > 0 && Pays(window.data() + at, match)) {
            misses = 0;
            if (thorough) match = FindBetter(at, match);
            at = AddMatch(at, match);
        } else {
            const std::size_t step = 1 + std::min(misses++ / kPatience, kMaxSkipped);
            at = AddLiterals(at, std::min(step, filled - at));
        }
    }
    judged += at - done;
    done = at;
    if (judged >= kSpan) ChooseEffort();
}

void Deflate::ChooseEffort() {
    thorough = judged > kThoroughBytesPerToken * tokens;
    judged = 0;
    tokens = 0;
}

void Deflate::DropOldest() {
    // By whole words, which is faster to move.
    const std::size_t count = (done - kKeptBytes) & ~std::size_t{7};
    std::memmove(window.data(), window.data() + count, filled - count);
    filled -= count;
    done -= count;
    dropped += count;
}

}  // namespace cam::still
