// For processors with 32-bit registers and nothing wider: whole numbers only, two sums moved at once, and no
// product for a pixel but the one that says what its limit is.
#include <string.h>

#include "tiff/column_sums.h"
#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

// The factor 1 - ratio is a multiple of 2^-24, as a difference between 1 and a number up to 1 in single
// precision.
constexpr int kKeepBits = 24;

// Row by row: the sums of the columns move down by a row, and the window's sum slides along them. Columns of
// zeros stand on both sides, so that it slides alike along the whole row.
class RowThreshold {
  public:
    // Half-words of memory, zeros at first.
    static uint64_t SumsFor(const ThresholdPlan& plan) {
        return 2 * uint64_t{Margin(plan)} + (uint64_t{plan.width} + kGroup - 1) / kGroup * kGroup;
    }

    RowThreshold(const ThresholdPlan& checked, uint16_t* sums)
        : plan(checked),
          columns(sums + Margin(checked)),
          keep(static_cast<uint32_t>(checked.keep * (1 << kKeepBits))),
          inWords(checked.width % kGroup == 0 &&
                  reinterpret_cast<uintptr_t>(checked.plane) % sizeof(uint32_t) == 0) {}

    // `added` enters the window at its bottom, `removed` leaves it at the top.
    void MoveDown(const uint8_t* added, const uint8_t* removed) const {
        if (inWords) return MoveWordsDown(columns, added, removed, plan.width);
        for (uint32_t x = 0; x < plan.width; ++x) {
            uint16_t& sum = columns[PlaceOf(x)];
            sum = static_cast<uint16_t>(sum + added[x] - removed[x]);
        }
    }

    // Replaces `row` by black and white; `kept` gets its samples.
    void Classify(uint8_t* row, uint8_t* kept, uint32_t windowRows) {
        if (windowRows != rowsCounted) SetWindowRows(windowRows);
        Window window = {row, kept, 0, SumOfFirst(columns, plan.half), windowRows * plan.half};
        if (!inWords) return ClassifyBytes(window);
        const uint32_t last = plan.width - plan.half;  // from there on no column enters
        const Runs& runs = kRuns[plan.half % kGroup];
        (this->*runs.left)(window, plan.half / kGroup * kGroup + kGroup);
        (this->*runs.middle)(window, last / kGroup * kGroup);
        (this->*runs.right)(window, plan.width);
    }

  private:
    // On its way along a row.
    struct Window {
        uint8_t* row;
        uint8_t* kept;
        uint32_t x;
        uint32_t sum;
        uint32_t count;  // of pixels
    };

    static uint32_t Margin(const ThresholdPlan& plan) { return (plan.half + kGroup) / kGroup * kGroup; }

    // In the middle of a row a limit is found as a single sample: the window's sum times `perSample` is at
    // least the limit, and less than 1/256 above it.
    void SetWindowRows(uint32_t windowRows) {
        rowsCounted = windowRows;
        countInside = windowRows * plan.side;
        perSample =
            static_cast<uint32_t>(((uint64_t{keep} << (32 - kKeepBits)) + countInside - 1) / countInside);
    }

    enum class Part { Left, Right };

    // Samples up to `end`, a word at a time, at one end of the row. `Phase`: plan.half % kGroup, so that sums
    // are found at constant distances.
    template <Part Where, uint32_t Phase>
    void Run(Window& window, uint32_t end) const {
        uint32_t x = window.x, sum = window.sum, count = window.count;
        const uint32_t half = plan.half, last = plan.width - half, step = rowsCounted;
        const uint16_t* entering = columns + x + (half - Phase);
        const uint16_t* leaving = columns + x - (half - Phase) - kGroup;
        for (; x != end; x += kGroup, entering += kGroup, leaving += kGroup) {
            const uint32_t samples = LoadWord(window.row + x);
            StoreWord(window.kept + x, samples);
            uint32_t colors = ~0u;
            const auto finish = [&]<uint32_t I>() {
                sum += entering[PlaceOf(Phase + I)];
                sum -= leaving[PlaceOf(kGroup - 1 - Phase + I)];
                const uint32_t sample = samples >> (8 * I) & 0xFF;
                constexpr uint32_t kWhite = 0xFFu << (8 * I);
                if (Where == Part::Left && x + I <= half) count += step;
                if (Where == Part::Right && x + I >= last) count -= step;
                if (IsBlack(sample * count, sum)) [[unlikely]]
                    colors &= ~kWhite;
            };
            finish.template operator()<0>();
            finish.template operator()<1>();
            finish.template operator()<2>();
            finish.template operator()<3>();
            StoreWord(window.row + x, colors);
        }
        window.x = x;
        window.sum = sum;
        window.count = count;
    }

    // Likewise where the window stands within the row, so that its pixels are always as many.
    template <uint32_t Phase>
    void RunInside(Window& window, uint32_t end) const {
        const uint8_t* const rowEnd = window.row + end;
        const uint16_t* entering = columns + window.x + (plan.half - Phase);
        const uint16_t* leaving = columns + window.x - (plan.half - Phase) - kGroup;
        uint8_t* row = window.row + window.x;
        uint8_t* kept = window.kept + window.x;
        uint32_t sum = window.sum;
        const uint32_t factor = perSample, lowByte = LowByte();
        for (; row != rowEnd; row += kGroup, kept += kGroup, entering += kGroup, leaving += kGroup) {
            const uint32_t samples = LoadWord(row);
            StoreWord(kept, samples);
            uint32_t colors = ~0u;
            const auto slide = [&]<uint32_t I>() {
                sum += entering[PlaceOf(Phase + I)];
                sum -= leaving[PlaceOf(kGroup - 1 - Phase + I)];
                return static_cast<uint32_t>(uint64_t{sum} * factor >> 32);
            };
            // Most are white: two at a time.
            const auto finish = [&]<uint32_t I>() {
                const uint32_t firstLimit = slide.template operator()<I>();
                const uint32_t firstSum = sum;
                const uint32_t secondLimit = slide.template operator()<I + 1>();
                const uint32_t first = samples >> (8 * I) & lowByte;
                const uint32_t second = I == 2 ? samples >> 24 : samples >> 8 & lowByte;
                if ((first > firstLimit) & (second > secondLimit)) [[likely]]
                    return;
                if (first < firstLimit || (first == firstLimit && IsBlackByCount(first, firstSum)))
                    colors &= ~(0xFFu << (8 * I));
                if (second < secondLimit || (second == secondLimit && IsBlackByCount(second, sum)))
                    colors &= ~(0xFFu << (8 * I + 8));
            };
            finish.template operator()<0>();
            finish.template operator()<2>();
            StoreWord(row, colors);
        }
        window.x = end;
        window.sum = sum;
    }
    // In a register: a constant would make two instructions of each byte of a word, as it does not shift.
    static uint32_t LowByte() {
        uint32_t mask = 0xFF;
        asm("" : "+r"(mask));
        return mask;
    }

    struct Runs {
        void (RowThreshold::*left)(Window&, uint32_t) const;
        void (RowThreshold::*middle)(Window&, uint32_t) const;
        void (RowThreshold::*right)(Window&, uint32_t) const;
    };
    template <uint32_t Phase>
    static constexpr Runs RunsOf() {
        return {&RowThreshold::Run<Part::Left, Phase>, &RowThreshold::RunInside<Phase>,
                &RowThreshold::Run<Part::Right, Phase>};
    }
    static const Runs kRuns[kGroup];

    void ClassifyBytes(Window& window) const {
        uint8_t* const row = window.row;
        for (uint32_t x = 0; x < plan.width; ++x) {
            if (x + plan.half < plan.width) {
                window.sum += columns[PlaceOf(x + plan.half)];
                window.count += rowsCounted;
            }
            if (x > plan.half) {
                window.sum -= columns[PlaceOf(x - plan.half - 1)];
                window.count -= rowsCounted;
            }
            window.kept[x] = row[x];
            row[x] = IsBlack(row[x] * window.count, window.sum) ? 0 : 255;
        }
    }

    // weighted < sum * keep as single-precision numbers. The product in whole numbers decides, but where only
    // its fraction, and so the rounding, can make the difference.
    bool IsBlack(uint32_t weighted, uint32_t sum) const {
        const auto limit = static_cast<uint32_t>(uint64_t{sum << (32 - kKeepBits)} * keep >> 32);
        if (limit == weighted) [[unlikely]]
            return IsBlackByRounding(weighted, sum);
        return weighted < limit;
    }

    __attribute__((noinline)) bool IsBlackByCount(uint32_t sample, uint32_t sum) const {
        return IsBlack(sample * countInside, sum);
    }

    __attribute__((noinline)) bool IsBlackByRounding(uint32_t weighted, uint32_t sum) const {
        const float limit = static_cast<float>(static_cast<int32_t>(sum)) * plan.keep;
        return static_cast<float>(weighted) < limit;
    }

    const ThresholdPlan& plan;
    uint16_t* const columns;
    const uint32_t keep;
    const bool inWords;
    uint32_t rowsCounted = 0;
    uint32_t countInside = 0;  // pixels of a window of so many rows and whole width
    uint32_t perSample = 0;
};

const RowThreshold::Runs RowThreshold::kRuns[] = {RunsOf<0>(), RunsOf<1>(), RunsOf<2>(), RunsOf<3>()};

}  // namespace

bool ThresholdWord(const ThresholdPlan& plan) {
    const uint32_t width = plan.width;
    const uint32_t half = plan.half;
    // A NaN, and a window of the pixel alone, make nothing black.
    if (!(plan.keep == plan.keep) || half == 0) {
        memset(plan.plane, 255, size_t{width} * plan.rows);
        return true;
    }

    // The sums of the columns, a row of zeros for those beyond the picture, and the samples of the last half
    // + 1 classified rows.
    const uint64_t sumBytes = RowThreshold::SumsFor(plan) * sizeof(uint16_t);
    const uint64_t size = sumBytes + uint64_t{half + 2} * width;
    ThresholdScratch scratch;
    auto* memory = static_cast<uint8_t*>(scratch.Take(plan, size, sizeof(uint32_t)));
    if (!memory) return false;
    memset(memory, 0, static_cast<size_t>(size));
    RowThreshold threshold(plan, reinterpret_cast<uint16_t*>(memory));
    const uint8_t* const zeros = memory + sumBytes;
    uint8_t* const keptRows = memory + sumBytes + width;

    const auto rowAt = [&](uint32_t y) { return plan.plane + size_t{y} * width; };
    for (uint32_t y = 0; y < half; ++y) threshold.MoveDown(rowAt(y), zeros);
    uint32_t slot = 0;  // of the row half + 1 above, and then of this one
    for (uint32_t y = 0; y < plan.rows; ++y) {
        const uint32_t entering = y + half;
        uint8_t* const kept = keptRows + size_t{slot} * width;
        threshold.MoveDown(entering < plan.rows ? rowAt(entering) : zeros, kept);
        threshold.Classify(rowAt(y), kept, plan.WindowBottom(y) - plan.WindowTop(y));
        slot = slot == half ? 0 : slot + 1;
    }
    return true;
}

}  // namespace cam::tiff
