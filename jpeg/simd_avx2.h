// Vectors of 256 bits under the names of simd_sse2.h. Only for sources that are compiled for AVX2. The two
// read alike as they must: a loop's template takes either, and every name stands for another instruction.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace orn32::jpeg {

struct Avx2 {
    using V = __m256i;
    static constexpr unsigned lanes = 2;  // of 128 bits, in which packing and interleaving take place

    static V zero() { return _mm256_setzero_si256(); }
    static V all16(int x) { return _mm256_set1_epi16(static_cast<short>(x)); }
    static V all32(int x) { return _mm256_set1_epi32(x); }

    static V loadForAll(const void* p) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(p)));
    }
    static V loadLanes(const std::uint8_t* p, unsigned apart) {
        const auto half = [](const std::uint8_t* at) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        };
        return _mm256_inserti128_si256(_mm256_castsi128_si256(half(p)), half(p + apart), 1);
    }
    static void store(void* p, V v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }

    static void storeLow64(std::uint8_t* p, V v) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 8), _mm256_extracti128_si256(v, 1));
    }
    static void storeHigh64(std::uint8_t* p, V v) { storeLow64(p, high64(v, v)); }

    static V add16(V a, V b) { return _mm256_add_epi16(a, b); }
    static V sub16(V a, V b) { return _mm256_sub_epi16(a, b); }
    static V add32(V a, V b) { return _mm256_add_epi32(a, b); }
    static V bitAnd(V a, V b) { return _mm256_and_si256(a, b); }
    static V bitXor(V a, V b) { return _mm256_xor_si256(a, b); }
    static V maddPairs(V a, V b) { return _mm256_madd_epi16(a, b); }
    static V mulHigh(V a, V b) { return _mm256_mulhi_epu16(a, b); }
    template <int n>
    static V shiftLeft16(V v) {
        return _mm256_slli_epi16(v, n);
    }
    template <int n>
    static V shiftRight16(V v) {
        return _mm256_srli_epi16(v, n);
    }
    template <int n>
    static V shiftRight32(V v) {
        return _mm256_srli_epi32(v, n);
    }
    template <int n>
    static V signedRight16(V v) {
        return _mm256_srai_epi16(v, n);
    }
    template <int n>
    static V signedRight32(V v) {
        return _mm256_srai_epi32(v, n);
    }
    static V packSigned32(V a, V b) { return _mm256_packs_epi32(a, b); }
    static V packSigned16(V a, V b) { return _mm256_packs_epi16(a, b); }
    static V packUnsigned16(V a, V b) { return _mm256_packus_epi16(a, b); }
    static V low8(V a, V b) { return _mm256_unpacklo_epi8(a, b); }
    static V high8(V a, V b) { return _mm256_unpackhi_epi8(a, b); }
    static V low16(V a, V b) { return _mm256_unpacklo_epi16(a, b); }
    static V high16(V a, V b) { return _mm256_unpackhi_epi16(a, b); }
    static V low32(V a, V b) { return _mm256_unpacklo_epi32(a, b); }
    static V high32(V a, V b) { return _mm256_unpackhi_epi32(a, b); }
    static V low64(V a, V b) { return _mm256_unpacklo_epi64(a, b); }
    static V high64(V a, V b) { return _mm256_unpackhi_epi64(a, b); }
    static std::uint32_t zeroBytes(V v) {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(v, zero())));
    }
};

}  // namespace orn32::jpeg
