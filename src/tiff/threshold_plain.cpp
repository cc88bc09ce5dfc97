#include "tiff/threshold_plan.h"
#include "tiff/tiff_kernels.h"

namespace cam::tiff {
namespace {

// The sums over all samples above and left of a cell, itself included, for the last side + 1 rows. Sums wrap
// at 32 bits.
class IntegralRing {
  public:
    IntegralRing(const ThresholdPlan& checked, uint32_t* scratch)
        : plan(checked), ringRows(checked.side + 1), sums(scratch) {}

    uint32_t* Row(uint32_t row) const { return sums + size_t{row % ringRows} * plan.width; }

    // Must run left to right, before the sample is overwritten.
    void ComputeCell(uint32_t row, uint32_t column) const {
        uint32_t* cells = Row(row);
        uint32_t sum = plan.plane[size_t{row} * plan.width + column];
        if (column > 0) sum += cells[column - 1];
        if (row > 0) {
            const uint32_t* above = Row(row - 1);
            sum += above[column];
            if (column > 0) sum -= above[column - 1];
        }
        cells[column] = sum;
    }

    void ClassifyPixel(uint32_t y, uint32_t x) const {
        const uint32_t top = plan.WindowTop(y);
        const uint32_t bottom = plan.WindowBottom(y);
        const uint32_t left = x > plan.half ? x - plan.half : 0;
        const uint32_t right = x + plan.half < plan.width ? x + plan.half + 1 : plan.width;

        uint32_t sum = Row(bottom - 1)[right - 1];
        if (top > 0) sum -= Row(top - 1)[right - 1];
        if (left > 0) sum -= Row(bottom - 1)[left - 1];
        if (top > 0 && left > 0) sum += Row(top - 1)[left - 1];

        uint8_t& sample = plan.plane[size_t{y} * plan.width + x];
        const uint32_t count = (bottom - top) * (right - left);
        const auto weighted = static_cast<float>(sample * count);
        const float limit = static_cast<float>(static_cast<int32_t>(sum)) * plan.keep;
        sample = weighted < limit ? 0 : 255;
    }

  private:
    const ThresholdPlan& plan;
    uint32_t ringRows;
    uint32_t* sums;
};

}  // namespace

bool ThresholdPlain(const ThresholdPlan& plan) {
    ThresholdScratch scratch;
    const uint32_t width = plan.width;
    void* sums = scratch.Take(plan, uint64_t{plan.side + 1} * width * sizeof(uint32_t), sizeof(uint32_t));
    if (!sums) return false;
    const IntegralRing ring(plan, static_cast<uint32_t*>(sums));

    const uint32_t half = plan.half;
    for (uint32_t row = 0; row < half; ++row) {
        for (uint32_t column = 0; column < width; ++column) ring.ComputeCell(row, column);
    }
    // A pixel is classified, and overwritten, as soon as its window's last cell exists.
    for (uint32_t row = half; row < plan.rows; ++row) {
        for (uint32_t column = 0; column < width; ++column) {
            ring.ComputeCell(row, column);
            if (column >= half) ring.ClassifyPixel(row - half, column - half);
        }
        for (uint32_t x = width - half; x < width; ++x) ring.ClassifyPixel(row - half, x);
    }
    for (uint32_t y = plan.rows - half; y < plan.rows; ++y) {
        for (uint32_t x = 0; x < width; ++x) ring.ClassifyPixel(y, x);
    }
    return true;
}

}  // namespace cam::tiff
