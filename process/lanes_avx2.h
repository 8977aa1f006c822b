// Sixteen words at a time under the names of lanes.h. Only for sources that are compiled for AVX2.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace orn32 {

struct WideWordLanes {
    using V = __m256i;
    using Element = std::int16_t;
    static constexpr unsigned count = 16;
    template <class Word>
    static V load(const Word* p) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }
    template <class Word>
    static void store(Word* p, V v) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
    }
    static V zero() { return _mm256_setzero_si256(); }
    static V all(unsigned value) { return _mm256_set1_epi16(static_cast<short>(value)); }
    static V lower(V a, V b) { return _mm256_min_epi16(a, b); }
    static V higher(V a, V b) { return _mm256_max_epi16(a, b); }
    static V equal(V a, V b) { return _mm256_cmpeq_epi16(a, b); }
    static V above(V a, V b) { return _mm256_cmpgt_epi16(a, b); }
    static V minus(V a, V b) { return _mm256_sub_epi16(a, b); }
    static V plus(V a, V b) { return _mm256_adds_epi16(a, b); }
    static V times(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V bitAnd(V a, V b) { return _mm256_and_si256(a, b); }
    static V bitXor(V a, V b) { return _mm256_xor_si256(a, b); }
    static V higherBytes(V a, V b) { return _mm256_max_epu8(a, b); }
    template <int byLow, int byHigh>
    static V sumsOfBytes(V v) {
        return _mm256_maddubs_epi16(v, _mm256_set1_epi16(byHigh << 8 | byLow));
    }
    static V select(V mask, V whereSet, V whereClear) {
        return _mm256_blendv_epi8(whereClear, whereSet, mask);
    }
    static bool shareBits(V a, V b) { return !_mm256_testz_si256(a, b); }
    static unsigned nonZero(V v) {
        return ~static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(v, zero())));
    }
    static unsigned lowest(V v) {
        return folded(v, [](__m128i a, __m128i b) { return _mm_min_epi16(a, b); });
    }
    static unsigned highest(V v) {
        return folded(v, [](__m128i a, __m128i b) { return _mm_max_epi16(a, b); });
    }

    static void storePixels(std::uint8_t* bgr, V blueRed, V green) {
        const V closing = _mm256_broadcastsi128_si256(
            _mm_setr_epi8(0, 2, 1, 4, 6, 5, 8, 10, 9, 12, 14, 13, -1, -1, -1, -1));
        const V first = _mm256_shuffle_epi8(_mm256_unpacklo_epi16(blueRed, green), closing);
        const V second = _mm256_shuffle_epi8(_mm256_unpackhi_epi16(blueRed, green), closing);
        storeHalf(bgr, _mm256_castsi256_si128(first));
        storeHalf(bgr + 12, _mm256_castsi256_si128(second));
        storeHalf(bgr + 24, _mm256_extracti128_si256(first, 1));
        storeHalf(bgr + 36, _mm256_extracti128_si256(second, 1));
    }

 private:
    static void storeHalf(std::uint8_t* to, __m128i v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), v);
    }
    template <class Combine>
    static unsigned folded(V v, Combine combine) {
        __m128i half = combine(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        half = combine(half, _mm_srli_si128(half, 8));
        half = combine(half, _mm_srli_si128(half, 4));
        return static_cast<unsigned>(_mm_cvtsi128_si32(combine(half, _mm_srli_si128(half, 2)))) & 0xFFFF;
    }
};

}  // namespace orn32
