// Colours at 5 bits per channel: the cells in which colours are counted and matches are remembered.
#pragma once

#include <cstdint>
#include <utility>

#include "process/pixel_sums.h"

namespace orn32 {

enum Channel : unsigned { blue, green, red };

constexpr unsigned colourKeys = 32768;

// Of a pixel as blue | green << 8 | red << 16; bits above are ignored.
inline unsigned colourKey(std::uint32_t bgr) {
    return (bgr >> 9 & 0x7C00) | (bgr >> 6 & 0x3E0) | (bgr >> 3 & 0x1F);
}
inline unsigned colourKey(const std::uint8_t* bgr) {
    return (bgr[red] & 0xF8u) << 7 | (bgr[green] & 0xF8u) << 2 | bgr[blue] >> 3;
}

template <class Visit, int... i>
void visitKeys8(__m128i keys, unsigned x, Visit& visit, std::integer_sequence<int, i...>) {
    (visit(x + i, static_cast<unsigned>(_mm_extract_epi16(keys, i))), ...);
}

// Calls visit(x, key) for each of a row's pixels.
template <class Visit>
void forEachKey(const std::uint8_t* bgr, unsigned count, Visit visit) {
    unsigned x = 0;
    for (; x + readByEight <= count; x += 8)
        visitKeys8(colourKeys8(bgr + std::size_t{3} * x), x, visit, std::make_integer_sequence<int, 8>());
    for (; x < count; x++) visit(x, colourKey(bgr + std::size_t{3} * x));
}

// One 5-bit channel of a key.
inline unsigned keyChannel(unsigned key, Channel channel) {
    return key >> 5 * channel & 31;
}

// The channel in which colours are spread widest. Ties go to red before green, and to blue before both.
inline Channel widestChannel(int redRange, int greenRange, int blueRange) {
    if (blueRange < redRange) return redRange >= greenRange ? red : green;
    return blueRange < greenRange ? green : blue;
}

}  // namespace orn32
