// What the threshold's kernels have in common: the checked arguments, the window, the scratch room.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <optional>
#include <span>

namespace cam::tiff {

struct ThresholdPlan {
    uint8_t* plane;
    uint32_t width;
    uint32_t rows;
    uint32_t side;     // of the window; odd
    uint32_t half;     // side / 2: how far the window reaches from its pixel
    float keep;        // 1 - ratio
    uint8_t* spare;    // past the samples: room that may be used as scratch
    size_t spareSize;  // in bytes

    // The first row of the window around row y, and the first one past it. No copy of these may be left to
    // the linker, since files for wider instruction sets call them too.
    [[gnu::always_inline]] uint32_t WindowTop(uint32_t y) const { return y > half ? y - half : 0; }
    [[gnu::always_inline]] uint32_t WindowBottom(uint32_t y) const {
        return y + half < rows ? y + half + 1 : rows;
    }
};

// Nothing when the plane must be left untouched; arguments as for AdaptiveThreshold.
std::optional<ThresholdPlan> PlanThreshold(std::span<uint8_t> buffer, uint32_t width, int32_t height,
                                           float ratio);

// Room past the plane where there is enough of it, else an allocation.
class ThresholdScratch {
  public:
    ThresholdScratch();
    ~ThresholdScratch();
    ThresholdScratch(const ThresholdScratch&) = delete;
    ThresholdScratch& operator=(const ThresholdScratch&) = delete;

    // `size` bytes, aligned to `alignment` (a power of two). Null when there is no memory. Once only.
    void* Take(const ThresholdPlan& plan, uint64_t size, uint32_t alignment);

  private:
    uint8_t* owned;  // no owner's inline functions here, see above
};

}  // namespace cam::tiff
