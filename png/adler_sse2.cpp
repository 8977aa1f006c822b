#include "png/adler.h"

#include <emmintrin.h>

#include <algorithm>

namespace orn32::png {
namespace {

constexpr std::uint32_t modulus = 65521;

// As many bytes of 255 as can be taken in before the second sum runs over 32 bits, in whole pieces of 16.
constexpr std::size_t blockBytes = 5552;

std::uint32_t lanes(__m128i v) {
    v = _mm_add_epi32(v, _mm_srli_si128(v, 8));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(v, _mm_srli_si128(v, 4))));
}

}  // namespace

// Within a piece of 16 the first byte is in 16 of the sums that make up the second one, the last byte in one;
// and each piece adds 16 times what was there before it.
void Adler::add(const std::uint8_t* bytes, std::size_t count) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i firstWeights = _mm_set_epi16(9, 10, 11, 12, 13, 14, 15, 16);
    const __m128i lastWeights = _mm_set_epi16(1, 2, 3, 4, 5, 6, 7, 8);
    while (count >= 16) {
        const std::size_t n = std::min(count, blockBytes) / 16 * 16;
        __m128i sums = zero, sumsBefore = zero, weighted = zero;
        for (std::size_t i = 0; i < n; i += 16) {
            const __m128i piece = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
            sumsBefore = _mm_add_epi32(sumsBefore, sums);
            sums = _mm_add_epi32(sums, _mm_sad_epu8(piece, zero));
            weighted = _mm_add_epi32(weighted, _mm_madd_epi16(_mm_unpacklo_epi8(piece, zero), firstWeights));
            weighted = _mm_add_epi32(weighted, _mm_madd_epi16(_mm_unpackhi_epi8(piece, zero), lastWeights));
        }
        b_ = (b_ + a_ * static_cast<std::uint32_t>(n) + 16 * lanes(sumsBefore) + lanes(weighted)) % modulus;
        a_ = (a_ + lanes(sums)) % modulus;
        bytes += n;
        count -= n;
    }
    for (; count > 0; count--) b_ += a_ += *bytes++;
    a_ %= modulus;
    b_ %= modulus;
}

}  // namespace orn32::png
