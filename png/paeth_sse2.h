// Paeth's guess for eight samples at once, in 16-bit lanes.
#pragma once

#include <emmintrin.h>

namespace orn32::png {

// Of left, up and up-left the guess is the one nearest to left + up - upleft. Put differently: with
// t = 3 upleft - left - up it is the greater of left and up when t is not above the lesser, the lesser when t
// is not below the greater, and else up-left. This form has no absolute values and only a short way from left
// to the result.
inline __m128i paeth(__m128i left, __m128i up, __m128i upLeft) {
    const __m128i twice = _mm_add_epi16(upLeft, upLeft);
    const __m128i t = _mm_sub_epi16(_mm_sub_epi16(_mm_add_epi16(twice, upLeft), up), left);
    const __m128i lesser = _mm_min_epi16(left, up), greater = _mm_max_epi16(left, up);
    const __m128i aboveLesser = _mm_cmpgt_epi16(t, lesser), belowGreater = _mm_cmpgt_epi16(greater, t);
    const __m128i between = _mm_and_si128(_mm_and_si128(belowGreater, upLeft), aboveLesser);
    return _mm_or_si128(
        _mm_or_si128(_mm_andnot_si128(aboveLesser, greater), _mm_andnot_si128(belowGreater, lesser)),
        between);
}

}  // namespace orn32::png
