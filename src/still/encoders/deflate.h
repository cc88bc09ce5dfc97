// Compresses to a zlib stream (RFC 1950, RFC 1951) in one pass, with memory of a fixed size. Made for the
// filtered rows of pictures: few candidates for a match, and a match is taken only when it is shorter than
// its bytes would be. The same calls give the same stream on every processor.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "still/encoders/deflate_bits.h"
#include "still/encoders/deflate_block.h"

namespace cam::still {

// About 90 KB: to be made on the heap. Has nothing to be destroyed, so that the output may leave by a long
// jump.
class Deflate {
  public:
    static constexpr std::size_t kMinRoom = 4096;

    explicit Deflate(const deflate::Output& output);

    // Where the next bytes are to be put: kMinRoom or more. Valid until the next call.
    std::span<std::uint8_t> Room();

    // The first `count` bytes of the room belong to the input now.
    void Add(std::size_t count);

    // From now on bytes are likely to be those `distance` before; 0: not known. A distance of more than half
    // the window is of no use and does no harm.
    void ExpectRepeat(std::size_t distance) { repeat = distance; }

    // Ends the stream with the Adler-32 of the input. The object is used up.
    void Finish(std::uint32_t checksum);

  private:
    struct Match {
        unsigned length, distance;
    };

    static constexpr std::size_t kWindowBytes = 32768;
    static constexpr std::size_t kKeptBytes = 16384;  // at least, of what was compressed already
    static constexpr unsigned kHashBits = 12;

    static unsigned Hash(std::uint32_t fourBytes);
    void Compress(std::size_t end);
    Match FindMatch(std::size_t at);
    bool Pays(const std::uint8_t* bytes, const Match& match) const;
    std::size_t AddMatch(std::size_t at, const Match& match);
    std::size_t AddLiterals(std::size_t at, std::size_t count);
    void DropOldest();

    std::size_t repeat = 0;
    std::size_t filled = 0;  // bytes of the window
    std::size_t done = 0;    // of them, compressed
    unsigned misses = 0;     // since the last match
    std::array<std::uint8_t, kWindowBytes> window;
    std::array<std::uint16_t, 1 << kHashBits> latest{};  // where bytes of that hash stood last; 0: nowhere
    deflate::Block block;
    deflate::BitWriter bits;
};

}  // namespace cam::still
