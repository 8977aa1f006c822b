// Paeth's guess for eight samples at once, in 16-bit lanes.
#pragma once

#include <emmintrin.h>

namespace orn32::png {

// The guess, and x added to it byte by byte. Of left, up and up-left the guess is the one nearest to
// left + up - upleft. Put differently: with t = 3 upleft - left - up it is the greater of left and up when t
// is not above the lesser, the lesser when t is not below the greater, and else up-left. This form has no
// absolute values and only five steps from left to the result: each pixel waits for the one on its left.
inline __m128i paethPlus(__m128i x, __m128i left, __m128i up, __m128i upLeft) {
    __m128i withoutLeft = _mm_sub_epi16(_mm_add_epi16(_mm_add_epi16(upLeft, upLeft), upLeft), up);
    asm("" : "+x"(withoutLeft));  // or else the compiler regroups the sum, with left at its beginning
    const __m128i t = _mm_sub_epi16(withoutLeft, left);
    const __m128i lesser = _mm_min_epi16(left, up), greater = _mm_max_epi16(left, up);
    const __m128i aboveLesser = _mm_cmpgt_epi16(t, lesser), belowGreater = _mm_cmpgt_epi16(greater, t);
    const __m128i ifGreater = _mm_andnot_si128(aboveLesser, _mm_add_epi8(greater, x));
    const __m128i ifLesser = _mm_andnot_si128(belowGreater, _mm_add_epi8(lesser, x));
    const __m128i ifUpLeft = _mm_and_si128(_mm_and_si128(belowGreater, _mm_add_epi8(upLeft, x)), aboveLesser);
    return _mm_or_si128(_mm_or_si128(ifGreater, ifLesser), ifUpLeft);
}

inline __m128i paeth(__m128i left, __m128i up, __m128i upLeft) {
    return paethPlus(_mm_setzero_si128(), left, up, upLeft);
}

}  // namespace orn32::png
