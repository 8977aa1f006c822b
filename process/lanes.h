// Sixteen levels or eight brightnesses at a time, for filters that work on either.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace orn32 {

template <class T>
__m128i loadLanes(const T* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline __m128i select(__m128i mask, __m128i whereSet, __m128i whereClear) {
    return _mm_or_si128(_mm_and_si128(mask, whereSet), _mm_andnot_si128(mask, whereClear));
}

// Unsigned bytes.
struct ByteLanes {
    static constexpr unsigned count = 16;
    static __m128i all(unsigned value) { return _mm_set1_epi8(static_cast<char>(value)); }
    static __m128i lower(__m128i a, __m128i b) { return _mm_min_epu8(a, b); }
    static __m128i higher(__m128i a, __m128i b) { return _mm_max_epu8(a, b); }
    static __m128i atLeast(__m128i a, __m128i b) { return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a); }
    static __m128i equal(__m128i a, __m128i b) { return _mm_cmpeq_epi8(a, b); }
    static __m128i minus(__m128i a, __m128i b) { return _mm_sub_epi8(a, b); }
    static __m128i signedAbove(__m128i a, __m128i b) { return _mm_cmpgt_epi8(a, b); }
    static __m128i plus(__m128i a, __m128i b) { return _mm_adds_epu8(a, b); }  // saturates
    static unsigned lowest(__m128i v) { return folded(v, lower); }
    static unsigned highest(__m128i v) { return folded(v, higher); }

 private:
    template <class Combine>
    static unsigned folded(__m128i v, Combine combine) {
        v = combine(v, _mm_srli_si128(v, 8));
        v = combine(v, _mm_srli_si128(v, 4));
        v = combine(v, _mm_srli_si128(v, 2));
        return static_cast<unsigned>(_mm_cvtsi128_si32(combine(v, _mm_srli_si128(v, 1)))) & 0xFF;
    }
};

// Words of 15 bits.
struct WordLanes {
    static constexpr unsigned count = 8;
    static __m128i all(unsigned value) { return _mm_set1_epi16(static_cast<short>(value)); }
    static __m128i lower(__m128i a, __m128i b) { return _mm_min_epi16(a, b); }
    static __m128i higher(__m128i a, __m128i b) { return _mm_max_epi16(a, b); }
    static __m128i atLeast(__m128i a, __m128i b) { return _mm_cmpeq_epi16(_mm_max_epi16(a, b), a); }
    static __m128i equal(__m128i a, __m128i b) { return _mm_cmpeq_epi16(a, b); }
    static __m128i minus(__m128i a, __m128i b) { return _mm_sub_epi16(a, b); }
    static __m128i signedAbove(__m128i a, __m128i b) { return _mm_cmpgt_epi16(a, b); }
    static __m128i plus(__m128i a, __m128i b) { return _mm_adds_epi16(a, b); }  // saturates
    static unsigned lowest(__m128i v) { return folded(v, lower); }
    static unsigned highest(__m128i v) { return folded(v, higher); }

 private:
    template <class Combine>
    static unsigned folded(__m128i v, Combine combine) {
        v = combine(v, _mm_srli_si128(v, 8));
        v = combine(v, _mm_srli_si128(v, 4));
        return static_cast<unsigned>(_mm_cvtsi128_si32(combine(v, _mm_srli_si128(v, 2)))) & 0xFFFF;
    }
};

}  // namespace orn32
