#include "still/encoders/deflate_code.h"

#include <algorithm>
#include <array>

namespace cam::still::deflate {
namespace {

constexpr unsigned kLongest = 15;
constexpr unsigned kSymbolBits = 9;
constexpr std::uint32_t kSymbolMask = (1u << kSymbolBits) - 1;

using LengthCounts = std::array<std::uint16_t, kLongest + 1>;

// From counts in rising order, `nodes`, which it overwrites: how many leaves Huffman's tree has at each
// depth, those that lie too deep counted at the deepest allowed. Inner nodes are made in rising order as
// well, so they take the places of the leaves that went into them, first as sums, then as the number of the
// node above, then as depths.
LengthCounts LeavesByDepth(std::span<std::uint32_t> nodes, unsigned maxLength) {
    const std::size_t leaves = nodes.size();
    const std::size_t inner = leaves - 1;
    std::size_t leaf = 0;
    std::size_t node = 0;
    for (std::size_t made = 0; made < inner; ++made) {
        const auto takeSmallest = [&] {
            if (leaf < leaves && (node == made || nodes[leaf] <= nodes[node])) return nodes[leaf++];
            const std::uint32_t sum = nodes[node];
            nodes[node++] = static_cast<std::uint32_t>(made);
            return sum;
        };
        const std::uint32_t first = takeSmallest();
        nodes[made] = first + takeSmallest();
    }
    nodes[inner - 1] = 0;
    for (std::size_t i = inner - 1; i-- > 0;) nodes[i] = nodes[nodes[i]] + 1;

    LengthCounts counts{};
    std::size_t places = 1;  // at this depth, for leaves and inner nodes
    std::size_t left = inner;
    for (unsigned depth = 0; places > 0; ++depth) {
        std::size_t innerHere = 0;
        for (; left > 0 && nodes[left - 1] == depth; --left) ++innerHere;
        counts[std::min(depth, maxLength)] += static_cast<std::uint16_t>(places - innerHere);
        places = 2 * innerHere;
    }
    return counts;
}

// Leaves that were brought up from below take more of the code than there is. Each step brings one of the
// deepest beside a leaf from further up, which moves down by one for it.
void MakeFit(LengthCounts& counts, unsigned maxLength) {
    std::uint32_t taken = 0;
    for (unsigned length = 1; length <= maxLength; ++length) taken += counts[length] << (maxLength - length);
    for (; taken > 1u << maxLength; --taken) {
        unsigned length = maxLength - 1;
        while (counts[length] == 0) --length;
        --counts[length];
        counts[length + 1] += 2;
        --counts[maxLength];
    }
}

std::uint16_t Reversed(unsigned bits, unsigned length) {
    unsigned reversed = 0;
    for (; length > 0; --length, bits >>= 1) reversed = reversed << 1 | (bits & 1);
    return static_cast<std::uint16_t>(reversed);
}

}  // namespace

void MakeCodes(std::span<const std::uint32_t> counts, unsigned maxLength, std::span<Code> codes) {
    std::array<std::uint32_t, kMaxSymbols> sorted;  // count and symbol in one
    std::size_t used = 0;
    for (std::size_t symbol = 0; symbol < counts.size(); ++symbol) {
        codes[symbol] = {};
        if (counts[symbol])
            sorted[used++] = counts[symbol] << kSymbolBits | static_cast<std::uint32_t>(symbol);
    }
    for (std::uint32_t symbol = 0; used < 2; ++symbol) {
        if (!counts[symbol]) sorted[used++] = 1u << kSymbolBits | symbol;
    }
    std::make_heap(sorted.begin(), sorted.begin() + used);
    std::sort_heap(sorted.begin(), sorted.begin() + used);

    std::array<std::uint32_t, kMaxSymbols> nodes;
    for (std::size_t i = 0; i < used; ++i) nodes[i] = sorted[i] >> kSymbolBits;
    LengthCounts lengths = LeavesByDepth({nodes.data(), used}, maxLength);
    MakeFit(lengths, maxLength);

    std::array<std::uint16_t, kLongest + 1> next{};
    for (unsigned length = 1; length < maxLength; ++length) {
        next[length + 1] = static_cast<std::uint16_t>((next[length] + lengths[length]) << 1);
    }
    std::size_t place = 0;
    for (unsigned length = maxLength; length > 0; --length) {
        for (unsigned n = lengths[length]; n > 0; --n) {
            codes[sorted[place++] & kSymbolMask].length = static_cast<std::uint8_t>(length);
        }
    }
    for (Code& code : codes) {
        if (code.length) code.bits = Reversed(next[code.length]++, code.length);
    }
}

}  // namespace cam::still::deflate
