// Vectors of bytes and of 16-bit words, as wide as the instruction set that the including file is compiled
// for.
//
// A file that is compiled for more than the build's own instruction set includes this and calls nothing
// inline that others call too, of the standard library or of ours: the linker keeps one copy of such a
// function, and that might be the one that not every processor can run. So everything here has internal
// linkage.
#pragma once

#include <immintrin.h>

#ifdef __AVX2__
#define CAM_SIMD(operation) _mm256_##operation
#define CAM_SIMD_BITS(operation) _mm256_##operation##_si256
#else
#define CAM_SIMD(operation) _mm_##operation
#define CAM_SIMD_BITS(operation) _mm_##operation##_si128
#endif

namespace cam::simd {
namespace {

#ifdef __AVX2__
using Vector = __m256i;
#else
using Vector = __m128i;
#endif

inline Vector Load(const void* at) {
    return CAM_SIMD_BITS(loadu)(static_cast<const Vector*>(at));
}
inline void Store(void* at, Vector v) {
    CAM_SIMD_BITS(storeu)(static_cast<Vector*>(at), v);
}
inline Vector Zero() {
    return CAM_SIMD_BITS(setzero)();
}
inline Vector And(Vector a, Vector b) {
    return CAM_SIMD_BITS(and)(a, b);
}
inline Vector Or(Vector a, Vector b) {
    return CAM_SIMD_BITS(or)(a, b);
}

// The same word everywhere.
inline Vector Words(int value) {
    return CAM_SIMD(set1_epi16)(static_cast<short>(value));
}
// Every second byte, the first among them, as a word.
inline Vector EvenBytes(Vector v) {
    return And(v, Words(0x00FF));
}
// The others.
inline Vector OddBytes(Vector v) {
    return CAM_SIMD(srli_epi16)(v, 8);
}

// Packing and unpacking work within 128-bit halves: brings quadwords into, or out of, the order that they
// leave or expect.
inline Vector SwapMiddle(Vector v) {
#ifdef __AVX2__
    return _mm256_permute4x64_epi64(v, 0xD8);
#else
    return v;
#endif
}

}  // namespace
}  // namespace cam::simd
