#include "tiff/threshold_plan.h"

#include <new>

#include "base/frame.h"

namespace cam::tiff {

std::optional<ThresholdPlan> PlanThreshold(std::span<uint8_t> buffer, uint32_t width, int32_t height,
                                           float ratio) {
    if (!buffer.data() || width == 0 || height == 0) return {};
    // The product of the height as given: a negative one is a huge number here and is refused as a rule.
    if (buffer.size() < width * static_cast<uint32_t>(height)) return {};
    if (ratio < 0.0f || ratio > 1.0f) return {};  // a NaN passes, and turns everything white

    const uint32_t rows = RowCount(height);
    // Where the product wraps round, the size test proves nothing.
    if (uint64_t{width} * rows > buffer.size()) return {};
    const uint32_t smaller = width < rows ? width : rows;
    const uint32_t side = (smaller >> 3) | 1;
    // The largest ring of sums that a 32-bit size can ask for.
    if (uint64_t{side + 1} * width * sizeof(uint32_t) > UINT32_MAX) return {};

    const auto spare = buffer.subspan(size_t{width} * rows);
    return ThresholdPlan{buffer.data(), width,        rows,         side,
                         side >> 1,     1.0f - ratio, spare.data(), spare.size()};
}

ThresholdScratch::ThresholdScratch() : owned(nullptr) {}

ThresholdScratch::~ThresholdScratch() {
    delete[] owned;
}

void* ThresholdScratch::Take(const ThresholdPlan& plan, uint64_t size, uint32_t alignment) {
    auto toBoundary = [alignment](const uint8_t* p) {
        return static_cast<uint32_t>((0 - reinterpret_cast<uintptr_t>(p)) & (alignment - 1));
    };
    const uint64_t needed = size + alignment;
    const uint32_t gap = toBoundary(plan.spare);
    if (plan.spareSize >= gap && plan.spareSize - gap >= size) return plan.spare + gap;
    if (needed > UINT32_MAX) return nullptr;
    owned = new (std::nothrow) uint8_t[static_cast<size_t>(needed)];
    return owned ? owned + toBoundary(owned) : nullptr;
}

}  // namespace cam::tiff
