// One block of a deflate stream: bytes and matches are collected, then written with codes made for them.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

#include "still/encoders/deflate_bits.h"
#include "still/encoders/deflate_code.h"

namespace cam::still::deflate {

constexpr unsigned kMinMatch = 3;
constexpr unsigned kMaxMatch = 258;

// How a length or a distance is written (RFC 1951, section 3.2.5): a symbol, and bits that say how far past
// the symbol's first value.
struct Bucket {
    unsigned symbol, extraBits, extra;
};
// `PerDouble` symbols for each doubling of the value, from 0 on.
template <unsigned PerDouble>
constexpr Bucket BucketOf(unsigned value) {
    constexpr unsigned kShift = std::bit_width(PerDouble) - 1u;
    if (value < 2 * PerDouble) return {value, 0, 0};
    const unsigned extraBits = static_cast<unsigned>(std::bit_width(value)) - 1 - kShift;
    return {extraBits * PerDouble + (value >> extraBits), extraBits, value & ((1u << extraBits) - 1)};
}
constexpr unsigned ExtraBits(unsigned symbol, unsigned perDouble) {
    return symbol < 2 * perDouble ? 0 : symbol / perDouble - 1;
}

// Of a length less kMinMatch.
inline constexpr auto kLengthSymbols = [] {
    std::array<std::uint8_t, kMaxMatch - kMinMatch + 1> symbols{};
    for (unsigned i = 0; i < symbols.size(); ++i)
        symbols[i] = static_cast<std::uint8_t>(BucketOf<4>(i).symbol);
    symbols.back() = 28;
    return symbols;
}();
// Of a distance less 1: below 256, and from there on by the bits above the lowest 7, which agree in all else.
inline constexpr auto kDistanceSymbols = [] {
    std::array<std::uint8_t, 2 * 256> symbols{};
    for (unsigned i = 0; i < 256; ++i) {
        symbols[i] = static_cast<std::uint8_t>(BucketOf<2>(i).symbol);
        symbols[256 + i] = static_cast<std::uint8_t>(BucketOf<2>(i << 7).symbol);
    }
    return symbols;
}();
inline Bucket LengthBucket(unsigned length) {
    const unsigned value = length - kMinMatch;
    const unsigned symbol = kLengthSymbols[value];
    const unsigned extraBits = length == kMaxMatch ? 0 : ExtraBits(symbol, 4);
    return {symbol, extraBits, value & ((1u << extraBits) - 1)};
}
inline Bucket DistanceBucket(unsigned distance) {
    const unsigned value = distance - 1;
    const unsigned symbol = kDistanceSymbols[value < 256 ? value : 256 + (value >> 7)];
    const unsigned extraBits = ExtraBits(symbol, 2);
    return {symbol, extraBits, value & ((1u << extraBits) - 1)};
}

class Block {
  public:
    bool isFull() const { return tokenCount == kMaxTokens; }

    // Only while the block is not full.
    void AddLiteral(std::uint8_t byte) {
        tokens[tokenCount++] = byte;
        ++literalCounts[byte];
    }
    // kMinMatch to kMaxMatch bytes, 1 to 32768 back.
    void AddMatch(unsigned length, unsigned distance) {
        tokens[tokenCount++] = length << kLengthShift | (distance - 1);
        ++literalCounts[kFirstLength + LengthBucket(length).symbol];
        ++distanceCounts[DistanceBucket(distance).symbol];
    }

    // These bytes would have been literals, had there not been a match.
    void AddSaved(std::span<const std::uint8_t> bytes) {
        for (const std::uint8_t byte : bytes) ++savedCounts[byte];
    }

    // What they take in the codes of the block before, in bits: an estimate for this one.
    unsigned LiteralBits(std::uint8_t byte) const { return literalBits[byte]; }
    unsigned MatchBits(unsigned length, unsigned distance) const {
        const Bucket lengths = LengthBucket(length);
        const Bucket distances = DistanceBucket(distance);
        return literalBits[kFirstLength + lengths.symbol] + lengths.extraBits +
               distanceBits[distances.symbol] + distances.extraBits;
    }

    // Writes what was added and begins the next block.
    void Write(BitWriter& bits, bool isLast);

  private:
    static constexpr std::size_t kMaxTokens = 8192;
    static constexpr unsigned kLengthShift = 16;
    static constexpr std::size_t kEnd = 256;
    static constexpr std::size_t kFirstLength = 257;
    static constexpr std::size_t kLiterals = 286;  // bytes, the end of the block and lengths
    static constexpr std::size_t kDistances = 30;

    void WriteCodes(BitWriter& bits) const;
    void WriteTokens(BitWriter& bits) const;
    void Estimate();

    std::size_t tokenCount = 0;
    std::array<std::uint32_t, kMaxTokens> tokens;  // a byte, or a length above a distance less 1
    std::array<std::uint32_t, kLiterals> literalCounts{};
    std::array<std::uint32_t, kDistances> distanceCounts{};
    std::array<std::uint32_t, 256> savedCounts{};  // bytes that stand in short matches
    std::array<Code, kLiterals> literalCodes;
    std::array<Code, kDistances> distanceCodes;
    std::array<std::uint8_t, kLiterals> literalBits = FirstEstimate<kLiterals>(3);
    std::array<std::uint8_t, kDistances> distanceBits = FirstEstimate<kDistances>(5);

    template <std::size_t Count>
    static constexpr std::array<std::uint8_t, Count> FirstEstimate(std::uint8_t bits) {
        std::array<std::uint8_t, Count> all{};
        all.fill(bits);
        return all;
    }
};

}  // namespace cam::still::deflate
