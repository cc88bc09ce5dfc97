#include <string.h>

#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

// The factor 1 - ratio is a multiple of 2^-24, as a difference between 1 and a number up to 1 in single
// precision.
constexpr int kKeepBits = 24;

// One pass over a row: the sums of the columns move down by a row, and the window's sum slides along them.
class RowThreshold {
  public:
    RowThreshold(const ThresholdPlan& checked, uint32_t* scratch)
        : plan(checked), columns(scratch), keep(static_cast<uint32_t>(checked.keep * (1 << kKeepBits))) {}

    void AddRow(const uint8_t* added) const {
        for (uint32_t x = 0; x < plan.width; ++x) columns[x] += added[x];
    }

    // Classifies `row`. `added` enters the window at its bottom. `kept` holds the row that leaves it at the
    // top, and gets the samples of `row`: reading is ahead of writing.
    void Classify(uint8_t* row, uint8_t* kept, const uint8_t* added, uint32_t windowRows) const {
        const uint32_t half = plan.half;
        const uint32_t side = plan.side;
        const uint32_t width = plan.width;
        uint32_t* const columnSums = columns;  // in a register
        uint32_t sum = 0;
        auto moveColumn = [&](uint32_t c) {
            columnSums[c] += added[c] - kept[c];
            sum += columnSums[c];
        };
        auto finish = [&](uint32_t x, uint32_t count) {
            const uint32_t sample = row[x];
            kept[x] = static_cast<uint8_t>(sample);
            row[x] = IsBlack(sample * count, sum) ? 0 : 255;
        };

        for (uint32_t c = 0; c < half; ++c) moveColumn(c);
        uint32_t count = windowRows * half;
        for (uint32_t c = half; c < side; ++c) {
            moveColumn(c);
            count += windowRows;
            finish(c - half, count);
        }
        for (uint32_t c = side; c < width; ++c) {
            moveColumn(c);
            sum -= columnSums[c - side];
            finish(c - half, count);
        }
        for (uint32_t x = width - half; x < width; ++x) {
            sum -= columnSums[x - half - 1];
            count -= windowRows;
            finish(x, count);
        }
    }

  private:
    // weighted < sum * keep as single-precision numbers. The product in whole numbers decides, but where only
    // its fraction, and so the rounding, can make the difference.
    bool IsBlack(uint32_t weighted, uint32_t sum) const {
        const auto limit = static_cast<uint32_t>(uint64_t{sum << (32 - kKeepBits)} * keep >> 32);
        if (limit == weighted) [[unlikely]]
            return IsBlackByRounding(weighted, sum);
        return weighted < limit;
    }

    __attribute__((noinline)) bool IsBlackByRounding(uint32_t weighted, uint32_t sum) const {
        const float limit = static_cast<float>(static_cast<int32_t>(sum)) * plan.keep;
        return static_cast<float>(weighted) < limit;
    }

    const ThresholdPlan& plan;
    uint32_t* columns;
    uint32_t keep;
};

}  // namespace

bool ThresholdWord(const ThresholdPlan& plan) {
    const uint32_t width = plan.width;
    const uint32_t half = plan.half;
    // A NaN, and a window of the pixel alone, make nothing black.
    if (!(plan.keep == plan.keep) || half == 0) {
        memset(plan.plane, 255, size_t{width} * plan.rows);
        return true;
    }

    // The sums of the columns, the samples of the last half + 1 classified rows, and a row of zeros for those
    // below the picture.
    const uint64_t sumBytes = uint64_t{width} * sizeof(uint32_t);
    const uint64_t size = sumBytes + uint64_t{half + 2} * width;
    ThresholdScratch scratch;
    auto* memory = static_cast<uint8_t*>(scratch.Take(plan, size, sizeof(uint32_t)));
    if (!memory) return false;
    memset(memory, 0, static_cast<size_t>(size));
    const RowThreshold threshold(plan, reinterpret_cast<uint32_t*>(memory));
    const uint8_t* const zeros = memory + sumBytes;
    uint8_t* const keptRows = memory + sumBytes + width;

    for (uint32_t y = 0; y < half; ++y) threshold.AddRow(plan.plane + size_t{y} * width);
    uint32_t slot = 0;  // of the row half + 1 above, and then of this one
    for (uint32_t y = 0; y < plan.rows; ++y) {
        const uint32_t entering = y + half;
        const uint8_t* added = entering < plan.rows ? plan.plane + size_t{entering} * width : zeros;
        threshold.Classify(plan.plane + size_t{y} * width, keptRows + size_t{slot} * width, added,
                           plan.WindowBottom(y) - plan.WindowTop(y));
        slot = slot == half ? 0 : slot + 1;
    }
    return true;
}

}  // namespace cam::tiff
