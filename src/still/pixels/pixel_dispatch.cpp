#include "still/pixels/pixel_routines.h"

namespace cam::still {

const PixelRoutines* PixelRoutinesAt(PixelLevel level) {
    switch (level) {
        case PixelLevel::Plain:
            return &kPlainPixels;
        case PixelLevel::Word:
            return &kWordPixels;
#if defined(__x86_64__) || defined(__i386__)
        case PixelLevel::Sse2:
            return __builtin_cpu_supports("sse2") ? &kSse2Pixels : nullptr;
        case PixelLevel::Avx2:
            return __builtin_cpu_supports("avx2") ? &kAvx2Pixels : nullptr;
#endif
        default:
            return nullptr;
    }
}

const PixelRoutines& FastPixels() {
    if (const PixelRoutines* routines = PixelRoutinesAt(PixelLevel::Avx2)) return *routines;
    if (const PixelRoutines* routines = PixelRoutinesAt(PixelLevel::Sse2)) return *routines;
    return kWordPixels;
}

}  // namespace cam::still
