// RGB from YUY2 by BT.601, up to the point where the bits of a pixel are packed. See vector.h for what an
// including file must heed.
#pragma once

#include "base/simd/vector.h"

namespace cam::simd {
namespace {

// The colour terms halved (blue: quartered) fit 16 bits but for what saturates to the largest value anyway,
// and dropping the lowest bits before the sum loses nothing: the part that carries them is the only odd one.
// kShare moves a part of the sum from luma to chroma so that both stay in range for every byte.
constexpr int kShare = 2908;  // even: blue takes half of it

struct ChromaTerms {
    Vector red, green, blue;
};

// One word a pixel and channel; the five or six highest of the lower 15 bits are the channel's.
struct ColorWords {
    Vector red, green, blue;
};

// Of luma as words, with the chroma terms that belong to it.
inline ColorWords ColorsOfTerms(Vector words, const ChromaTerms& chroma) {
    // (298 C + 128) / 2 - kShare
    const Vector luma =
        CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(words, Words(149)), Words(-149 * 16 + 64 - kShare));
    const Vector red = CAM_SIMD(max_epi16)(CAM_SIMD(adds_epi16)(luma, chroma.red), Zero());
    const Vector green = CAM_SIMD(max_epi16)(CAM_SIMD(adds_epi16)(luma, chroma.green), Zero());
    const Vector quarter = CAM_SIMD(adds_epi16)(CAM_SIMD(srai_epi16)(luma, 1), chroma.blue);
    const Vector blue = CAM_SIMD(max_epi16)(CAM_SIMD(adds_epi16)(quarter, quarter), Zero());
    return {red, green, blue};
}

struct ChromaOfTwo {
    ChromaTerms low, high;
};

// The chroma terms of two vectors of pixels, from U and V as words, one for each pair of pixels.
inline ChromaOfTwo ChromaOfWords(Vector u, Vector v) {
    // 409 E / 2, -50 D - 104 E and 129 D, with the offset of 128 multiplied out.
    const Vector red = CAM_SIMD(add_epi16)(
        CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(v, Words(204)), CAM_SIMD(srli_epi16)(v, 1)),
        Words(-204 * 128 - 64 + kShare));
    const Vector green = CAM_SIMD(sub_epi16)(
        Words((50 + 104) * 128 + kShare),
        CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(u, Words(50)), CAM_SIMD(mullo_epi16)(v, Words(104))));
    const Vector blue =
        CAM_SIMD(add_epi16)(CAM_SIMD(mullo_epi16)(u, Words(129)), Words(-129 * 128 + kShare / 2));
    return {{CAM_SIMD(unpacklo_epi16)(red, red), CAM_SIMD(unpacklo_epi16)(green, green),
             CAM_SIMD(unpacklo_epi16)(blue, blue)},
            {CAM_SIMD(unpackhi_epi16)(red, red), CAM_SIMD(unpackhi_epi16)(green, green),
             CAM_SIMD(unpackhi_epi16)(blue, blue)}};
}

// The chroma terms of two vectors of YUY2, in that order.
inline ChromaOfTwo ChromaOf(Vector first, Vector second) {
    const Vector lowWords = CAM_SIMD(set1_epi32)(0xFFFF);
    return ChromaOfWords(
        CAM_SIMD(packs_epi32)(And(OddBytes(first), lowWords), And(OddBytes(second), lowWords)),
        CAM_SIMD(packs_epi32)(CAM_SIMD(srli_epi32)(first, 24), CAM_SIMD(srli_epi32)(second, 24)));
}

}  // namespace
}  // namespace cam::simd
