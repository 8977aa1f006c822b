// Rows of 24-bit pixels as two rows of 16-bit words: the brightness by which pixels are compared, and blue
// with red. Both together tell the colour, since green weighs 59 in the brightness and nothing divides it.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace orn32 {

constexpr unsigned blueWeight = 11, greenWeight = 59, redWeight = 30;

struct ColourRow {
    std::int16_t* brightness;  // 11 blue + 59 green + 30 red: 0 to 25500
    std::uint16_t* blueRed;    // blue | red << 8
};

// Splits count pixels; writes words in eights, what lies behind the last pixel means nothing.
void splitColours(ColourRow row, const std::uint8_t* bgr, unsigned count);

// Writes 8 pixels, and 4 bytes behind them that mean nothing.
inline void joinColours(std::uint8_t* bgr, __m128i brightness, __m128i blueRed) {
    // Dividing a multiple of 59 by it is multiplying with its inverse modulo 65536.
    constexpr std::uint16_t inverse = 55539;
    static_assert(static_cast<std::uint16_t>(inverse * greenWeight) == 1);
    const __m128i blue = _mm_and_si128(blueRed, _mm_set1_epi16(0xFF)), red = _mm_srli_epi16(blueRed, 8);
    const __m128i others = _mm_add_epi16(_mm_mullo_epi16(blue, _mm_set1_epi16(blueWeight)),
                                         _mm_mullo_epi16(red, _mm_set1_epi16(redWeight)));
    const __m128i green = _mm_mullo_epi16(_mm_sub_epi16(brightness, others),
                                          _mm_set1_epi16(static_cast<std::int16_t>(inverse)));
    const __m128i blueGreen = _mm_or_si128(blue, _mm_slli_epi16(green, 8));
    // Pixels of four bytes close up: first to pairs of six bytes, then the two pairs.
    const auto store = [](std::uint8_t* to, __m128i pixels) {
        const __m128i even = _mm_and_si128(pixels, _mm_set1_epi64x(0x0000000000FFFFFF));
        const __m128i odd = _mm_and_si128(_mm_srli_epi64(pixels, 8), _mm_set1_epi64x(0x0000FFFFFF000000));
        const __m128i pairs = _mm_or_si128(even, odd);
        const __m128i second = _mm_srli_si128(_mm_unpackhi_epi64(_mm_setzero_si128(), pairs), 2);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_or_si128(_mm_move_epi64(pairs), second));
    };
    store(bgr, _mm_unpacklo_epi16(blueGreen, red));
    store(bgr + 12, _mm_unpackhi_epi16(blueGreen, red));
}

}  // namespace orn32
