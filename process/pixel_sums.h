// Weighted sums of the channels of blue, green, red pixels, four or eight at a time.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace orn32 {

// blue * byBlue + green * byGreen + red * byRed of the first four pixels of 16 bytes, as four 32-bit numbers.
inline __m128i weightedSums4(__m128i bytes, short byBlue, short byGreen, short byRed) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i weights = _mm_setr_epi16(byBlue, byGreen, byRed, 0, byBlue, byGreen, byRed, 0);
    const __m128i pixels01 = _mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3));
    const __m128i pixels23 = _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9));
    const __m128 sums01 = _mm_castsi128_ps(_mm_madd_epi16(_mm_unpacklo_epi8(pixels01, zero), weights));
    const __m128 sums23 = _mm_castsi128_ps(_mm_madd_epi16(_mm_unpacklo_epi8(pixels23, zero), weights));
    const __m128i blueGreen = _mm_castps_si128(_mm_shuffle_ps(sums01, sums23, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i redOnly = _mm_castps_si128(_mm_shuffle_ps(sums01, sums23, _MM_SHUFFLE(3, 1, 3, 1)));
    return _mm_add_epi32(blueGreen, redOnly);
}

// How many pixels must be left in a row for the functions of eight: they read 28 bytes.
constexpr unsigned readByEight = 10;

inline __m128i load16(const std::uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// The 15-bit keys of eight pixels (colour_key.h).
inline __m128i colourKeys8(const std::uint8_t* bgr) {
    const auto keys4 = [](__m128i bytes) {
        const __m128i upper5Bits = _mm_and_si128(bytes, _mm_set1_epi8(-8));
        return _mm_srli_epi32(weightedSums4(upper5Bits, 1, 1 << 5, 1 << 10), 3);
    };
    return _mm_packs_epi32(keys4(load16(bgr)), keys4(load16(bgr + 12)));
}

// The grey levels (grey.h) of eight pixels, in the lower half. The sums go up to 25500; there 5243 / 2^19
// times a number is its hundredth, rounded down as division does.
inline __m128i greyOf8(const std::uint8_t* bgr) {
    const auto sums4 = [](__m128i bytes) { return weightedSums4(bytes, 11, 59, 30); };
    const __m128i sums = _mm_packs_epi32(sums4(load16(bgr)), sums4(load16(bgr + 12)));
    const __m128i grey = _mm_srli_epi16(_mm_mulhi_epu16(sums, _mm_set1_epi16(5243)), 3);
    return _mm_packus_epi16(grey, grey);
}

}  // namespace orn32
