#include "still/encoders/png_filter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace cam::still {
namespace {

constexpr unsigned kFractionBits = 4;

// The logarithm to base 2, linear between powers of 2.
std::uint32_t Log2(std::uint32_t value) {
    const unsigned whole = static_cast<unsigned>(std::bit_width(value)) - 1;
    const std::uint32_t fraction = value - (1u << whole);
    return (whole << kFractionBits) + (fraction << kFractionBits >> whole);
}

// About how many bits (with kFractionBits below the point) the bytes take when they are compressed: a fixed
// price for each stretch that repeats the byte before or, if `above` is given, the row above; the entropy of
// all others.
struct Estimate {
    std::uint32_t stretches, others;
};
Estimate EstimateBits(const std::uint8_t* bytes, const std::uint8_t* above, std::size_t count) {
    constexpr std::uint32_t kStretchBits = 14 << kFractionBits;
    // For each further match that a long stretch takes.
    constexpr std::uint32_t kMoreOfByteBits = 2 << kFractionBits;
    constexpr std::uint32_t kMoreOfRowBits = 12 << kFractionBits;
    constexpr std::size_t kMinStretch = 4;
    constexpr std::size_t kLongest = 256;  // about what one match takes
    std::array<std::uint32_t, 256> counts{};
    std::uint32_t others = 0;
    Estimate estimate{};
    std::size_t stretch = 0;
    bool isRun = true;      // of one byte
    unsigned before = 256;  // no byte
    const auto endStretch = [&](std::size_t end) {
        if (stretch >= kMinStretch) {
            const auto more = static_cast<std::uint32_t>(stretch / kLongest);
            estimate.stretches += kStretchBits + more * (isRun ? kMoreOfByteBits : kMoreOfRowBits);
        } else {
            others += static_cast<std::uint32_t>(stretch);
            for (; stretch > 0; --stretch) ++counts[bytes[end - stretch]];
        }
        stretch = 0;
        isRun = true;
    };
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned byte = bytes[i];
        if (byte == before || (above && byte == above[i])) {
            ++stretch;
            isRun = isRun && byte == before;
        } else {
            endStretch(i);
            ++others;
            ++counts[byte];
        }
        before = byte;
    }
    endStretch(count);
    for (const std::uint32_t n : counts) {
        if (n > 0) estimate.others += n * (Log2(others) - Log2(n));
    }
    return estimate;
}

}  // namespace

void FilterPngRow(PngFilter filter, std::uint8_t* filtered, const std::uint8_t* row,
                  const std::uint8_t* above, std::size_t count, const PixelKernels& kernels) {
    switch (filter) {
        case PngFilter::None:
            std::memcpy(filtered, row, count);
            break;
        case PngFilter::Up:
            kernels.upFilterRow(filtered, row, above, count);
            break;
        case PngFilter::Paeth:
            kernels.paethFilterRow(filtered, row, above, count);
            break;
    }
}

PngFilter PngFilterChoice::Next(const std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                                std::span<std::uint8_t> scratch, const PixelKernels& kernels) {
    if (rowOfGroup++ % kGroupRows != 0) return chosen;
    const std::size_t size = std::min({count, kLookedAt, scratch.size() / kRgbBytes * kRgbBytes});
    const std::size_t first = start % (count - size + kRgbBytes);
    start = first + size;
    PngFilter best = chosen;
    std::uint32_t least = ~std::uint32_t{0};
    for (const PngFilter filter : {PngFilter::None, PngFilter::Paeth, PngFilter::Up}) {
        FilterPngRow(filter, scratch.data(), row + first, above + first, size, kernels);
        // Only unfiltered rows repeat the row above byte by byte.
        const Estimate estimate =
            EstimateBits(scratch.data(), filter == PngFilter::None ? above + first : nullptr, size);
        std::uint32_t bits = estimate.stretches + estimate.others;
        // Where nothing is filtered a pixel's three bytes are often found together, further away than the
        // estimate looks: 5 and 6 bits of a colour do not make many different ones.
        if (filter == PngFilter::None) bits -= estimate.others / 16 * 7;
        if (filter == chosen) bits -= bits / 8;
        if (bits >= least) continue;
        least = bits;
        best = filter;
    }
    return chosen = best;
}

}  // namespace cam::still
