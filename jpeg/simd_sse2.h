// Vectors of 128 bits under the names that the encoder's loops use; simd_avx2.h has the same with 256.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace orn32::jpeg {

struct Sse2 {
    using V = __m128i;
    static constexpr unsigned lanes = 1;  // of 128 bits, in which packing and interleaving take place

    static V zero() { return _mm_setzero_si128(); }
    static V all16(int x) { return _mm_set1_epi16(static_cast<short>(x)); }
    static V all32(int x) { return _mm_set1_epi32(x); }

    // The same 16 bytes for every lane; 16 bytes for each lane, apart bytes from each other.
    static V loadForAll(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
    static V loadLanes(const std::uint8_t* p, unsigned /*apart*/) { return loadForAll(p); }
    static void store(void* p, V v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

    // The lower, or the upper, 8 bytes of every lane, one lane behind the other.
    static void storeLow64(std::uint8_t* p, V v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }
    static void storeHigh64(std::uint8_t* p, V v) { storeLow64(p, high64(v, v)); }

    static V add16(V a, V b) { return _mm_add_epi16(a, b); }
    static V sub16(V a, V b) { return _mm_sub_epi16(a, b); }
    static V add32(V a, V b) { return _mm_add_epi32(a, b); }
    static V bitAnd(V a, V b) { return _mm_and_si128(a, b); }
    static V bitXor(V a, V b) { return _mm_xor_si128(a, b); }
    static V maddPairs(V a, V b) { return _mm_madd_epi16(a, b); }
    static V mulHigh(V a, V b) { return _mm_mulhi_epu16(a, b); }
    template <int n>
    static V shiftLeft16(V v) {
        return _mm_slli_epi16(v, n);
    }
    template <int n>
    static V shiftRight16(V v) {
        return _mm_srli_epi16(v, n);
    }
    template <int n>
    static V shiftRight32(V v) {
        return _mm_srli_epi32(v, n);
    }
    template <int n>
    static V signedRight16(V v) {
        return _mm_srai_epi16(v, n);
    }
    template <int n>
    static V signedRight32(V v) {
        return _mm_srai_epi32(v, n);
    }
    static V packSigned32(V a, V b) { return _mm_packs_epi32(a, b); }
    static V packSigned16(V a, V b) { return _mm_packs_epi16(a, b); }
    static V packUnsigned16(V a, V b) { return _mm_packus_epi16(a, b); }
    static V low8(V a, V b) { return _mm_unpacklo_epi8(a, b); }
    static V high8(V a, V b) { return _mm_unpackhi_epi8(a, b); }
    static V low16(V a, V b) { return _mm_unpacklo_epi16(a, b); }
    static V high16(V a, V b) { return _mm_unpackhi_epi16(a, b); }
    static V low32(V a, V b) { return _mm_unpacklo_epi32(a, b); }
    static V high32(V a, V b) { return _mm_unpackhi_epi32(a, b); }
    static V low64(V a, V b) { return _mm_unpacklo_epi64(a, b); }
    static V high64(V a, V b) { return _mm_unpackhi_epi64(a, b); }
    static std::uint32_t zeroBytes(V v) {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, zero())));
    }
};

}  // namespace orn32::jpeg
