// Compiled for AVX2, and called only where the processor has it.
#include "process/colour_planes.h"

#include <immintrin.h>

#include <cstring>

namespace orn32 {
namespace {

__m128i half(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

__m256i halves(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// Of lanes with blue, green, red and any fourth byte.
__m256i brightness(__m256i pixels) {
    const __m256i weights = _mm256_set1_epi32(redWeight << 16 | greenWeight << 8 | blueWeight);
    return _mm256_madd_epi16(_mm256_maddubs_epi16(pixels, weights), _mm256_set1_epi16(1));
}

// Sixteen pixels, 48 bytes. Packing takes place within halves: they hold the pixels 0 to 3 and 8 to 11, 4 to
// 7 and 12 to 15. The last four begin at byte 4 of their half, so that no byte behind the pixels is read.
void split(ColourRow row, unsigned x, const std::uint8_t* bgr) {
    const __m128i widening = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m128i laterBy4 = _mm_and_si128(_mm_cmpgt_epi8(widening, _mm_set1_epi8(-1)), _mm_set1_epi8(4));
    const __m256i first = _mm256_shuffle_epi8(halves(half(bgr), half(bgr + 24)), halves(widening, widening));
    const __m256i second = _mm256_shuffle_epi8(halves(half(bgr + 12), half(bgr + 32)),
                                               halves(widening, _mm_add_epi8(widening, laterBy4)));
    const __m256i blueRed = _mm256_set1_epi32(0x00FF00FF);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row.brightness + x),
                        _mm256_packs_epi32(brightness(first), brightness(second)));
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(row.blueRed + x),
        _mm256_packus_epi16(_mm256_and_si256(first, blueRed), _mm256_and_si256(second, blueRed)));
}

}  // namespace

void splitColoursAvx2(ColourRow row, const std::uint8_t* bgr, unsigned count) {
    unsigned x = 0;
    for (; x + 16 <= count; x += 16) split(row, x, bgr + std::size_t{3} * x);
    if (x < count) {
        std::uint8_t rest[48] = {};
        std::memcpy(rest, bgr + std::size_t{3} * x, std::size_t{3} * (count - x));
        split(row, x, rest);
    }
    _mm256_zeroupper();
}

}  // namespace orn32
