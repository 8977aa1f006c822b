#include "process/colour_planes.h"

#include <cstring>

namespace orn32 {
namespace {

// The pixels of the first 12 bytes, blue | green << 8 | red << 16 in lanes of 32 bits; the highest byte of a
// lane means nothing.
__m128i fourPixels(__m128i bytes) {
    const __m128i first = _mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3));
    const __m128i second = _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9));
    return _mm_unpacklo_epi64(first, second);
}

__m128i brightness(__m128i pixels) {
    const __m128i blueRed = _mm_and_si128(pixels, _mm_set1_epi32(0x00FF00FF));
    const __m128i green = _mm_and_si128(_mm_srli_epi32(pixels, 8), _mm_set1_epi32(0xFF));
    return _mm_add_epi32(_mm_madd_epi16(blueRed, _mm_set1_epi32(redWeight << 16 | blueWeight)),
                         _mm_madd_epi16(green, _mm_set1_epi32(greenWeight)));
}

// Sign-extended, so that packing with signed saturation keeps all 16 bits.
__m128i blueRed(__m128i pixels) {
    const __m128i word = _mm_or_si128(_mm_and_si128(pixels, _mm_set1_epi32(0xFF)),
                                      _mm_and_si128(_mm_srli_epi32(pixels, 8), _mm_set1_epi32(0xFF00)));
    return _mm_srai_epi32(_mm_slli_epi32(word, 16), 16);
}

__m128i loadWide(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Eight pixels, 24 bytes.
void split(ColourRow row, unsigned x, const std::uint8_t* bgr) {
    const __m128i first = fourPixels(loadWide(bgr));
    const __m128i second = fourPixels(_mm_srli_si128(loadWide(bgr + 8), 4));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row.brightness + x),
                     _mm_packs_epi32(brightness(first), brightness(second)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row.blueRed + x),
                     _mm_packs_epi32(blueRed(first), blueRed(second)));
}

}  // namespace

void splitColoursSse2(ColourRow row, const std::uint8_t* bgr, unsigned count) {
    unsigned x = 0;
    for (; x + 8 <= count; x += 8) split(row, x, bgr + std::size_t{3} * x);
    if (x == count) return;
    std::uint8_t rest[24] = {};
    std::memcpy(rest, bgr + std::size_t{3} * x, std::size_t{3} * (count - x));
    split(row, x, rest);
}

}  // namespace orn32
