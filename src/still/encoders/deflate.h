// Compresses to a zlib stream (RFC 1950, RFC 1951) in one pass, with memory of a fixed size. Made for the
// rows of pictures: where matches are short or rare few candidates are tried, and one is taken only when it
// is shorter than its bytes would be; where nearly everything repeats, more of them. The same calls give the
// same stream on every processor of the same width.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "still/encoders/deflate_bits.h"
#include "still/encoders/deflate_block.h"

namespace cam::still {

// About 106 KB: to be made on the heap. Has nothing to be destroyed, so that the output may leave by a long
// jump.
class Deflate {
  public:
    static constexpr std::size_t kMinRoom = 4096;

    // Bytes that repeat are likely to be those `distance` before; 0: not known. A distance of more than half
    // the window is of no use and does no harm.
    Deflate(const deflate::Output& output, std::size_t distance);

    // Where the next bytes are to be put: kMinRoom or more. Valid until the next call.
    std::span<std::uint8_t> Room();

    // The first `count` bytes of the room belong to the input now.
    void Add(std::size_t count);

    // Whether from now on much is likely to repeat like that; it is looked for then even where little else
    // is. So at the start.
    void ExpectRepeat(bool expected) { repeatExpected = expected; }

    // Ends the stream with the Adler-32 of the input. The object is used up.
    void Finish(std::uint32_t checksum);

  private:
    struct Match {
        unsigned length, distance;
    };

    static constexpr std::size_t kWindowBytes = 32768;
    static constexpr std::size_t kKeptBytes = 16384;  // at least, of what was compressed already
    static constexpr unsigned kHashBits = 12;
    static constexpr unsigned kLongHashBits = 10;
    static constexpr unsigned kWays = 4;
    static constexpr std::size_t kSpan = 4096;
    using LongTable = std::array<std::array<std::uint16_t, kWays>, 1 << kLongHashBits>;

    static unsigned Hash(std::uint32_t fourBytes);
    static unsigned LongHash(std::uint32_t first, std::uint32_t second, std::uint32_t third);
    std::uint16_t Place(std::size_t at) const { return static_cast<std::uint16_t>(dropped + at); }
    void Compress(std::size_t end);
    void ChooseEffort();
    Match FindMatch(std::size_t at);
    Match FindBetter(std::size_t& at, const Match& found);
    bool Pays(const std::uint8_t* bytes, const Match& match) const;
    std::size_t AddMatch(std::size_t at, const Match& match);
    void Remember(std::size_t from, std::size_t to);
    std::size_t AddLiterals(std::size_t at, std::size_t count);
    void DropOldest();

    const std::size_t repeat;
    bool repeatExpected = true;
    std::size_t before = 0;   // the last match's distance
    std::size_t dropped = 0;  // bytes of the input, before those in the window
    std::size_t filled = 0;   // bytes of the window
    std::size_t done = 0;     // of them, compressed
    unsigned misses = 0;      // since the last match
    bool thorough = true;     // many candidates are tried
    std::size_t judged = 0;   // bytes since that was decided
    std::size_t tokens = 0;   // that they took
    std::array<std::uint8_t, kWindowBytes> window;
    // Where bytes of that hash stood last, as the low bits of the place in the input: what is found there has
    // to be compared anyway, so that places long gone need not be cleared.
    std::array<std::uint16_t, 1 << kHashBits> latest{};
    LongTable latestNarrow{};
    LongTable latestWide{};
    unsigned nextWay = 0;
    deflate::Block block;
    deflate::BitWriter bits;
};

}  // namespace cam::still
