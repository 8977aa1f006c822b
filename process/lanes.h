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
    using V = __m128i;
    using Element = std::uint8_t;
    static constexpr unsigned count = 16;
    static V load(const Element* p) { return loadLanes(p); }
    static void store(Element* p, V v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static V zero() { return _mm_setzero_si128(); }
    static V all(unsigned value) { return _mm_set1_epi8(static_cast<char>(value)); }
    static V lower(V a, V b) { return _mm_min_epu8(a, b); }
    static V higher(V a, V b) { return _mm_max_epu8(a, b); }
    static V atLeast(V a, V b) { return _mm_cmpeq_epi8(_mm_max_epu8(a, b), a); }
    static V above(V a, V b) { return _mm_cmpgt_epi8(flipped(a), flipped(b)); }
    static V minus(V a, V b) { return _mm_sub_epi8(a, b); }
    static V plus(V a, V b) { return _mm_adds_epu8(a, b); }  // saturates
    static V select(V mask, V whereSet, V whereClear) { return orn32::select(mask, whereSet, whereClear); }
    static unsigned lowest(V v) { return folded(v, lower); }
    static unsigned highest(V v) { return folded(v, higher); }

 private:
    static V flipped(V v) { return _mm_xor_si128(v, _mm_set1_epi8(-128)); }
    template <class Combine>
    static unsigned folded(V v, Combine combine) {
        v = combine(v, _mm_srli_si128(v, 8));
        v = combine(v, _mm_srli_si128(v, 4));
        v = combine(v, _mm_srli_si128(v, 2));
        return static_cast<unsigned>(_mm_cvtsi128_si32(combine(v, _mm_srli_si128(v, 1)))) & 0xFF;
    }
};

// Words, compared as signed ones.
struct WordLanes {
    using V = __m128i;
    using Element = std::int16_t;
    static constexpr unsigned count = 8;
    template <class Word>
    static V load(const Word* p) {
        return loadLanes(p);
    }
    template <class Word>
    static void store(Word* p, V v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    }
    static V zero() { return _mm_setzero_si128(); }
    static V all(unsigned value) { return _mm_set1_epi16(static_cast<short>(value)); }
    static V lower(V a, V b) { return _mm_min_epi16(a, b); }
    static V higher(V a, V b) { return _mm_max_epi16(a, b); }
    static V equal(V a, V b) { return _mm_cmpeq_epi16(a, b); }
    static V above(V a, V b) { return _mm_cmpgt_epi16(a, b); }
    static V minus(V a, V b) { return _mm_sub_epi16(a, b); }
    static V plus(V a, V b) { return _mm_adds_epi16(a, b); }  // saturates
    static V times(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V bitAnd(V a, V b) { return _mm_and_si128(a, b); }
    static V bitXor(V a, V b) { return _mm_xor_si128(a, b); }
    static V lowBytes(V v) { return _mm_and_si128(v, _mm_set1_epi16(0xFF)); }
    static V highBytes(V v) { return _mm_srli_epi16(v, 8); }
    static V higherBytes(V a, V b) { return _mm_max_epu8(a, b); }
    template <int byLow, int byHigh>
    static V sumsOfBytes(V v) {
        return _mm_add_epi16(times(lowBytes(v), all(byLow)), times(highBytes(v), all(byHigh)));
    }
    static V select(V mask, V whereSet, V whereClear) { return orn32::select(mask, whereSet, whereClear); }

    static bool shareBits(V a, V b) { return nonZero(bitAnd(a, b)); }
    // Two bits for every word that is not 0.
    static unsigned nonZero(V v) {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(v, zero()))) ^ 0xFFFF;
    }
    static unsigned lowest(V v) { return folded(v, lower); }
    static unsigned highest(V v) { return folded(v, higher); }

    // Stores a pixel of three bytes for every word, and 4 bytes behind them that mean nothing. Of green only
    // the low bytes count.
    static void storePixels(std::uint8_t* bgr, V blueRed, V green) {
        const V blueGreen = _mm_or_si128(lowBytes(blueRed), _mm_slli_epi16(green, 8)),
                red = highBytes(blueRed);
        storeFour(bgr, _mm_unpacklo_epi16(blueGreen, red));
        storeFour(bgr + 12, _mm_unpackhi_epi16(blueGreen, red));
    }

 private:
    template <class Combine>
    static unsigned folded(V v, Combine combine) {
        v = combine(v, _mm_srli_si128(v, 8));
        v = combine(v, _mm_srli_si128(v, 4));
        return static_cast<unsigned>(_mm_cvtsi128_si32(combine(v, _mm_srli_si128(v, 2)))) & 0xFFFF;
    }
    // Pixels of four bytes close up: first to pairs of six bytes, then the two pairs.
    static void storeFour(std::uint8_t* bgr, V pixels) {
        const V even = _mm_and_si128(pixels, _mm_set1_epi64x(0x0000000000FFFFFF));
        const V odd = _mm_and_si128(_mm_srli_epi64(pixels, 8), _mm_set1_epi64x(0x0000FFFFFF000000));
        const V pairs = _mm_or_si128(even, odd);
        const V second = _mm_srli_si128(_mm_unpackhi_epi64(zero(), pairs), 2);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bgr), _mm_or_si128(_mm_move_epi64(pairs), second));
    }
};

}  // namespace orn32
