// The ways to code Group 4 data. All give the same bytes; arguments and results are those of EncodeG4.
#pragma once

#ifdef __x86_64__
#include <cpuid.h>
#endif

#include <stdint.h>

#include "tiff/byte_buffer.h"

namespace cam::tiff {

using EncodeG4Way = bool(const uint8_t* raster, uint32_t rasterLength, uint32_t width, uint32_t rows,
                         ByteBuffer& output, uint32_t* outLength);

// Step by step after T.6, a byte of the raster and a bit of the output at a time: what the others are compared with.
EncodeG4Way EncodeG4Plain;

// 32-bit words and tables: for processors with little more.
EncodeG4Way EncodeG4Word;

#ifdef __x86_64__
// 64-bit words and the vectors that every such processor has.
EncodeG4Way EncodeG4Sse2;
// The same with AVX2, BMI and POPCNT; call it only where HasBmi() says so.
EncodeG4Way EncodeG4Avx2;

// Asked of the processor itself: not every compiler's own question knows this name.
inline bool HasLzcnt() {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) && (ecx & bit_LZCNT);
}

inline bool HasAvx2AndBmi() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt") && HasLzcnt();
}
#endif

}  // namespace cam::tiff
