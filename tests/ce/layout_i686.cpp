// The table of record layouts as numbers in an object file: nothing of it needs to run, so no 32-bit system
// is needed.
#include "guest/layouts.h"

namespace {

template <size_t count>
struct Numbers {
    unsigned values[count];
};

constexpr size_t kCount = sizeof cam::kLayouts / sizeof cam::kLayouts[0];

constexpr Numbers<kCount> Take() {
    Numbers<kCount> numbers = {};
    for (size_t i = 0; i < kCount; ++i) numbers.values[i] = cam::kLayouts[i].offset;
    return numbers;
}

}  // namespace

extern "C" __attribute__((section(".layouts"))) const Numbers<kCount> layoutNumbers;
const Numbers<kCount> layoutNumbers = Take();
