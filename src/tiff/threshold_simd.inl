// The threshold with vectors; see base/simd/vector.h for what an including file must heed.
//
// The running sums of the window's rows, from the left border up to each column, are kept for even and odd
// columns apart: pixels are added up in pairs, and a window, whose side is odd, always begins after a column
// of one kind and ends at one of the other.

#include <string.h>

#include "base/simd/vector.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

using namespace simd;

#ifdef __AVX2__
using Floats = __m256;
#else
using Floats = __m128;
#endif

constexpr uint32_t kBlock = sizeof(Vector);             // pixels of a step
constexpr uint32_t kPairs = kBlock / 2;                 // pairs of pixels, one in each word
constexpr uint32_t kLanes = kBlock / sizeof(uint32_t);  // 32-bit numbers in a vector

struct Wide {
    Vector low, high;  // words as 32-bit numbers: the first half of them, and the other
};

#ifdef __AVX2__
Vector PrefixSumOfWords(Vector v) {
    v = _mm256_add_epi16(v, _mm256_slli_si256(v, 2));
    v = _mm256_add_epi16(v, _mm256_slli_si256(v, 4));
    v = _mm256_add_epi16(v, _mm256_slli_si256(v, 8));
    const Vector lowHalf = _mm256_permute2x128_si256(v, v, 0x08);
    return _mm256_add_epi16(v, _mm256_shuffle_epi8(lowHalf, Words(0x0F0E)));
}
Wide WidenSigned(Vector words) {
    return {_mm256_cvtepi16_epi32(_mm256_castsi256_si128(words)),
            _mm256_cvtepi16_epi32(_mm256_extracti128_si256(words, 1))};
}
Wide WidenUnsigned(Vector words) {
    return {_mm256_cvtepu16_epi32(_mm256_castsi256_si128(words)),
            _mm256_cvtepu16_epi32(_mm256_extracti128_si256(words, 1))};
}
Vector LastLane(Vector v) {
    return _mm256_permutevar8x32_epi32(v, _mm256_set1_epi32(7));
}
Vector NotBelow(Floats a, Floats b) {
    return _mm256_castps_si256(_mm256_cmp_ps(a, b, _CMP_NLT_UQ));
}
// Masks of 32 bits for even and odd pixels into one byte for each pixel.
Vector MergeMasks(Wide even, Wide odd) {
    const Vector low = _mm256_blend_epi16(even.low, odd.low, 0xAA);
    const Vector high = _mm256_blend_epi16(even.high, odd.high, 0xAA);
    return SwapMiddle(_mm256_packs_epi16(low, high));
}
#else
Vector PrefixSumOfWords(Vector v) {
    v = _mm_add_epi16(v, _mm_slli_si128(v, 2));
    v = _mm_add_epi16(v, _mm_slli_si128(v, 4));
    return _mm_add_epi16(v, _mm_slli_si128(v, 8));
}
Wide WidenSigned(Vector words) {
    return {_mm_srai_epi32(_mm_unpacklo_epi16(words, words), 16),
            _mm_srai_epi32(_mm_unpackhi_epi16(words, words), 16)};
}
Wide WidenUnsigned(Vector words) {
    return {_mm_unpacklo_epi16(words, Zero()), _mm_unpackhi_epi16(words, Zero())};
}
Vector LastLane(Vector v) {
    return _mm_shuffle_epi32(v, 0xFF);
}
Vector NotBelow(Floats a, Floats b) {
    return _mm_castps_si128(_mm_cmpnlt_ps(a, b));
}
Vector MergeMasks(Wide even, Wide odd) {
    const Vector evenWords = _mm_packs_epi32(even.low, even.high);
    const Vector oddWords = _mm_packs_epi32(odd.low, odd.high);
    return Or(OddBytes(evenWords), _mm_slli_epi16(oddWords, 8));
}
#endif

// Adds `change` and what all columns before have changed by to the sums of kLanes columns; returns what was
// added.
Vector AddToSums(uint32_t* sums, Vector change, Vector before) {
    const Vector total = CAM_SIMD(add_epi32)(change, before);
    Store(sums, CAM_SIMD(add_epi32)(total, CAM_SIMD_BITS(load)(reinterpret_cast<const Vector*>(sums))));
    return total;
}

// The sums around kLanes pixels of one kind, and what else their colour depends on.
Vector IsWhite(Vector samples, const float* counts, const uint32_t* ends, const uint32_t* starts,
               Floats keep) {
    const Vector sums = CAM_SIMD(sub_epi32)(Load(ends), Load(starts));
    const Floats limit = CAM_SIMD(mul_ps)(CAM_SIMD(cvtepi32_ps)(sums), keep);
    // Both factors are whole and their product is rounded once, as when a whole product is converted.
    const Floats weighted = CAM_SIMD(mul_ps)(CAM_SIMD(cvtepi32_ps)(samples), CAM_SIMD(load_ps)(counts));
    return NotBelow(weighted, limit);
}

class VectorThreshold {
  public:
    explicit VectorThreshold(const ThresholdPlan& checked)
        : plan(checked),
          blocks((checked.width + kBlock - 1) / kBlock),
          pairs(blocks * kPairs),
          padding((checked.half / 2 / kLanes + 1) * kLanes) {}

    // False when there is no memory.
    bool Prepare() {
        const uint64_t entries = uint64_t{padding} + pairs + padding;
        const uint64_t rowStride = uint64_t{blocks} * kBlock;
        const uint64_t size = entries * 2 * sizeof(uint32_t) + uint64_t{pairs} * 4 * sizeof(float) +
                              uint64_t{plan.half + 2} * rowStride;
        auto* memory = static_cast<uint8_t*>(scratch.Take(plan, size, sizeof(Vector)));
        if (!memory) return false;
        memset(memory, 0, static_cast<size_t>(size));
        auto* numbers = reinterpret_cast<uint32_t*>(memory);
        auto* floats = reinterpret_cast<float*>(numbers + 2 * entries);
        for (int kind = 0; kind < 2; ++kind) {
            sums[kind] = numbers + kind * entries + padding;
            columnCounts[kind] = floats + kind * size_t{pairs};
            counts[kind] = floats + (kind + 2) * size_t{pairs};
        }
        zeros = reinterpret_cast<uint8_t*>(floats + 4 * size_t{pairs});
        kept = zeros + rowStride;

        const uint32_t half = plan.half;
        const uint32_t width = plan.width;
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t left = x > half ? x - half : 0;
            const uint32_t right = x + half < width ? x + half + 1 : width;
            columnCounts[x & 1][x / 2] = static_cast<float>(right - left);
        }
        return true;
    }

    void Run() {
        for (uint32_t y = 0; y < plan.half; ++y) MoveSums(Row(y), zeros);
        uint32_t slot = 0;  // of the row half + 1 above, and then of this one
        uint32_t windowRows = 0;
        for (uint32_t y = 0; y < plan.rows; ++y) {
            const uint32_t entering = y + plan.half;
            uint8_t* const keptRow = kept + size_t{slot} * blocks * kBlock;
            MoveSums(entering < plan.rows ? Row(entering) : zeros, keptRow);
            const uint32_t rows = plan.WindowBottom(y) - plan.WindowTop(y);
            if (rows != windowRows) SetCounts(windowRows = rows);
            ClassifyRow(Row(y), keptRow);
            slot = slot == plan.half ? 0 : slot + 1;
        }
    }

  private:
    uint8_t* Row(uint32_t y) const { return plan.plane + size_t{y} * plan.width; }

    // The number of samples in the window around each column.
    void SetCounts(uint32_t windowRows) {
        const Floats rows = CAM_SIMD(set1_ps)(static_cast<float>(windowRows));
        for (int kind = 0; kind < 2; ++kind) {
            for (uint32_t i = 0; i < pairs; i += kLanes) {
                const Floats columns = CAM_SIMD(load_ps)(columnCounts[kind] + i);
                CAM_SIMD(store_ps)(counts[kind] + i, CAM_SIMD(mul_ps)(columns, rows));
            }
        }
    }

    // The row `added` enters the window, `removed` leaves it.
    void MoveSums(const uint8_t* added, const uint8_t* removed) {
        uint32_t* even = sums[0];
        uint32_t* odd = sums[1];
        Vector before = Zero();
        auto moveBlock = [&](const uint8_t* in, const uint8_t* out) __attribute__((always_inline)) {
            before = MoveBlock(even, odd, Load(in), Load(out), before);
            even += kPairs;
            odd += kPairs;
        };
        const uint8_t* const end = added + size_t{plan.width / kBlock} * kBlock;
        for (; added != end; added += kBlock, removed += kBlock) moveBlock(added, removed);
        if (const uint32_t rest = plan.width % kBlock) {
            alignas(sizeof(Vector)) uint8_t last[2][kBlock] = {};
            memcpy(last[0], added, rest);
            memcpy(last[1], removed, rest);
            moveBlock(last[0], last[1]);
        }
        // Beyond the right border the sums stay what they are at it.
        for (uint32_t i = 0; i < padding; i += kLanes) {
            AddToSums(even + i, Zero(), before);
            AddToSums(odd + i, Zero(), before);
        }
    }

    static Vector MoveBlock(uint32_t* evenSums, uint32_t* oddSums, Vector added, Vector removed,
                            Vector before) {
        const Vector even = CAM_SIMD(sub_epi16)(EvenBytes(added), EvenBytes(removed));
        const Vector odd = CAM_SIMD(sub_epi16)(OddBytes(added), OddBytes(removed));
        const Vector toOdd = PrefixSumOfWords(CAM_SIMD(add_epi16)(even, odd));
        const Wide evenChange = WidenSigned(CAM_SIMD(sub_epi16)(toOdd, odd));
        const Wide oddChange = WidenSigned(toOdd);
        AddToSums(evenSums, evenChange.low, before);
        AddToSums(evenSums + kLanes, evenChange.high, before);
        AddToSums(oddSums, oddChange.low, before);
        return LastLane(AddToSums(oddSums + kLanes, oddChange.high, before));
    }

    // Replaces the samples of `row` by black and white and leaves them in `keptRow`.
    void ClassifyRow(uint8_t* row, uint8_t* keptRow) const {
        const uint32_t half = plan.half;
        const uint32_t kind = half & 1;
        const float* evenCounts = counts[0];
        const float* oddCounts = counts[1];
        const uint32_t* evenEnds = sums[kind] + half / 2;
        const uint32_t* evenStarts = sums[1 - kind] - (half / 2 + 1);
        const uint32_t* oddEnds = sums[1 - kind] + (half + 1) / 2;
        const uint32_t* oddStarts = sums[kind] - (half + 1) / 2;
        const Floats keep = CAM_SIMD(set1_ps)(plan.keep);
        uint32_t i = 0;
        auto classifyBlock = [&](Vector samples) __attribute__((always_inline)) {
            const Wide even = WidenUnsigned(EvenBytes(samples));
            const Wide odd = WidenUnsigned(OddBytes(samples));
            const uint32_t j = i + kLanes;
            const Vector merged =
                MergeMasks({IsWhite(even.low, evenCounts + i, evenEnds + i, evenStarts + i, keep),
                            IsWhite(even.high, evenCounts + j, evenEnds + j, evenStarts + j, keep)},
                           {IsWhite(odd.low, oddCounts + i, oddEnds + i, oddStarts + i, keep),
                            IsWhite(odd.high, oddCounts + j, oddEnds + j, oddStarts + j, keep)});
            i += kPairs;
            return merged;
        };
        uint8_t* const end = row + size_t{plan.width / kBlock} * kBlock;
        for (; row != end; row += kBlock, keptRow += kBlock) {
            const Vector samples = Load(row);
            Store(keptRow, samples);
            Store(row, classifyBlock(samples));
        }
        if (const uint32_t rest = plan.width % kBlock) {
            alignas(sizeof(Vector)) uint8_t last[kBlock] = {};
            memcpy(last, row, rest);
            memcpy(keptRow, last, kBlock);
            Store(last, classifyBlock(Load(last)));
            memcpy(row, last, rest);
        }
    }

    const ThresholdPlan& plan;
    const uint32_t blocks;   // in a row, the last one perhaps incomplete
    const uint32_t pairs;    // of columns, in all blocks
    const uint32_t padding;  // sums left and right of the picture's columns, for clipped windows
    ThresholdScratch scratch;
    uint32_t* sums[2];       // of even and of odd columns
    float* columnCounts[2];  // columns in the window
    float* counts[2];        // samples in the window
    uint8_t* zeros;          // a row of them
    uint8_t* kept;           // the samples of the last half + 1 classified rows, kBlock-wise
};

bool ThresholdWithVectors(const ThresholdPlan& plan) {
    VectorThreshold threshold(plan);
    if (!threshold.Prepare()) return false;
    threshold.Run();
    return true;
}

}  // namespace
}  // namespace cam::tiff
