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

// Splits count pixels; writes words in sixteens, what lies behind the last pixel means nothing. The second
// one needs AVX2.
void splitColoursSse2(ColourRow row, const std::uint8_t* bgr, unsigned count);
void splitColoursAvx2(ColourRow row, const std::uint8_t* bgr, unsigned count);

// Writes a pixel for every word, and 4 bytes behind them that mean nothing.
template <class Lanes>
[[gnu::always_inline]] inline void joinColours(std::uint8_t* bgr, typename Lanes::V brightness,
                                               typename Lanes::V blueRed) {
    // Dividing a multiple of 59 by it is multiplying with its inverse modulo 65536.
    constexpr std::uint16_t inverse = 55539;
    static_assert(static_cast<std::uint16_t>(inverse * greenWeight) == 1);
    const auto greenPart =
        Lanes::minus(brightness, Lanes::template sumsOfBytes<blueWeight, redWeight>(blueRed));
    Lanes::storePixels(bgr, blueRed, Lanes::times(greenPart, Lanes::all(inverse)));
}

}  // namespace orn32
