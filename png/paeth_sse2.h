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

// x plus the guess, for sixteen samples as bytes. Where up-left lies between left and up, d from the lesser
// and e from the greater, the guess is the greater when 2 d <= e and the lesser when 2 e <= d; where it lies
// outside, d or e is cut off at 0 and the same holds. Sums that are cut off at 255 do no harm: d + e is no
// greater.
inline __m128i paethPlus8(__m128i x, __m128i left, __m128i up, __m128i upLeft) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i d = _mm_subs_epu8(upLeft, _mm_min_epu8(left, up));
    const __m128i e = _mm_subs_epu8(_mm_max_epu8(left, up), upLeft);
    const __m128i isGreater = _mm_cmpeq_epi8(_mm_subs_epu8(_mm_adds_epu8(d, d), e), zero);
    const __m128i isLesser = _mm_cmpeq_epi8(_mm_subs_epu8(_mm_adds_epu8(e, e), d), zero);
    const __m128i fromUpLeft = _mm_sub_epi8(_mm_and_si128(isGreater, e), _mm_and_si128(isLesser, d));
    return _mm_add_epi8(_mm_add_epi8(x, upLeft), fromUpLeft);
}

}  // namespace orn32::png
