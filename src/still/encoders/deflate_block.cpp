#include "still/encoders/deflate_block.h"

#include <algorithm>

namespace cam::still::deflate {
namespace {

constexpr unsigned kMaxCodeBits = 15;
constexpr unsigned kMaxLengthCodeBits = 7;

// The code lengths are run-length coded with symbols of their own: the lengths themselves and three kinds of
// runs.
constexpr std::size_t kCodeLengths = 19;
constexpr std::uint8_t kRepeat = 16;  // of the length before
constexpr std::uint8_t kFewZeros = 17;
constexpr std::uint8_t kManyZeros = 18;
struct Run {
    unsigned least, most, bits;
};
constexpr Run kRuns[] = {{3, 6, 2}, {3, 10, 3}, {11, 138, 7}};  // from kRepeat on

// In which their codes' lengths are stored, so that those left out stand at the end.
constexpr std::uint8_t kOrder[kCodeLengths] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                               11, 4,  12, 3, 13, 2, 14, 1, 15};

// Collects the symbols for the code lengths.
class LengthList {
  public:
    void Add(std::uint8_t symbol, unsigned extra = 0) {
        items[count++] = {symbol, static_cast<std::uint8_t>(extra)};
        ++counts[symbol];
    }
    // `times` times the same length.
    void AddRun(std::uint8_t length, unsigned times) {
        if (length > 0) {
            Add(length);
            --times;
        }
        while (times >= kRuns[0].least) {
            const std::uint8_t symbol = length > 0                                   ? kRepeat
                                        : times >= kRuns[kManyZeros - kRepeat].least ? kManyZeros
                                                                                     : kFewZeros;
            const Run& run = kRuns[symbol - kRepeat];
            const unsigned part = std::min(times, run.most);
            Add(symbol, part - run.least);
            times -= part;
        }
        for (; times > 0; --times) Add(length);
    }

    struct Item {
        std::uint8_t symbol, extra;
    };
    std::size_t count = 0;
    std::array<Item, 286 + 30> items;
    std::array<std::uint32_t, kCodeLengths> counts{};
};

template <std::size_t Count>
std::size_t UsedCodes(const std::array<Code, Count>& codes, std::size_t least) {
    std::size_t used = Count;
    while (used > least && codes[used - 1].length == 0) --used;
    return used;
}

void Put(BitWriter& bits, const Code& code) {
    bits.Put(code.bits, code.length);
}

}  // namespace

void Block::Write(BitWriter& bits, bool isLast) {
    literalCounts[kEnd] = 1;
    MakeCodes(literalCounts, kMaxCodeBits, literalCodes);
    MakeCodes(distanceCounts, kMaxCodeBits, distanceCodes);
    bits.Put(isLast, 1);
    bits.Put(2, 2);  // codes of its own
    WriteCodes(bits);
    WriteTokens(bits);
    Put(bits, literalCodes[kEnd]);
    Estimate();
    tokenCount = 0;
    literalCounts.fill(0);
    distanceCounts.fill(0);
    savedCounts.fill(0);
}

void Block::WriteCodes(BitWriter& bits) const {
    const std::size_t literals = UsedCodes(literalCodes, kFirstLength);
    const std::size_t distances = UsedCodes(distanceCodes, 1);
    const auto lengthAt = [&](std::size_t i) {
        return i < literals ? literalCodes[i].length : distanceCodes[i - literals].length;
    };
    LengthList list;
    for (std::size_t i = 0; i < literals + distances;) {
        std::size_t end = i + 1;
        while (end < literals + distances && lengthAt(end) == lengthAt(i)) ++end;
        list.AddRun(lengthAt(i), static_cast<unsigned>(end - i));
        i = end;
    }
    std::array<Code, kCodeLengths> codes;
    MakeCodes(list.counts, kMaxLengthCodeBits, codes);
    std::size_t stored = kCodeLengths;
    while (stored > 4 && codes[kOrder[stored - 1]].length == 0) --stored;

    bits.Put(static_cast<std::uint32_t>(literals - kFirstLength), 5);
    bits.Put(static_cast<std::uint32_t>(distances - 1), 5);
    bits.Put(static_cast<std::uint32_t>(stored - 4), 4);
    for (std::size_t i = 0; i < stored; ++i) bits.Put(codes[kOrder[i]].length, 3);
    for (std::size_t i = 0; i < list.count; ++i) {
        const LengthList::Item& item = list.items[i];
        Put(bits, codes[item.symbol]);
        if (item.symbol >= kRepeat) bits.Put(item.extra, kRuns[item.symbol - kRepeat].bits);
    }
}

void Block::WriteTokens(BitWriter& bits) const {
    for (std::size_t i = 0; i < tokenCount; ++i) {
        const std::uint32_t token = tokens[i];
        const unsigned length = token >> kLengthShift;
        if (length == 0) {
            Put(bits, literalCodes[token]);
            continue;
        }
        const Bucket lengths = LengthBucket(length);
        Put(bits, literalCodes[kFirstLength + lengths.symbol]);
        bits.Put(lengths.extra, lengths.extraBits);
        const Bucket distances = DistanceBucket((token & 0xFFFF) + 1);
        Put(bits, distanceCodes[distances.symbol]);
        bits.Put(distances.extra, distances.extraBits);
    }
}

// As if short matches had not been taken: with the codes as they are, each match that was taken would make
// its bytes rarer, their codes longer, and the next match look better than it is.
void Block::Estimate() {
    constexpr std::uint32_t kScale = 8;
    for (std::size_t i = 0; i < savedCounts.size(); ++i) literalCounts[i] += savedCounts[i];
    for (std::uint32_t& count : literalCounts) count = count * kScale + 1;
    for (std::uint32_t& count : distanceCounts) count = count * kScale + 1;
    MakeCodes(literalCounts, kMaxCodeBits, literalCodes);
    MakeCodes(distanceCounts, kMaxCodeBits, distanceCodes);
    const auto bitsOf = [](const Code& code) { return code.length; };
    std::transform(literalCodes.begin(), literalCodes.end(), literalBits.begin(), bitsOf);
    std::transform(distanceCodes.begin(), distanceCodes.end(), distanceBits.begin(), bitsOf);
}

}  // namespace cam::still::deflate
