// The two fixed palettes that colours are dithered to: the pure colours of the default palette, and a cube of
// 6 x 6 x 6 colours.
#pragma once

#include <cstdint>

#include "orn32.h"

namespace orn32 {

constexpr unsigned cubeStep = 51;  // between the levels of a channel

// Palette index of a pure colour: blue 1, green 2, red 4, or several of them.
constexpr std::uint8_t pureIndices[8] = {0, 12, 10, 14, 9, 13, 11, 15};

// Palette index of a colour of the cube: blue level + 6 * green level + 36 * red level, levels from 0 to 5.
constexpr std::uint8_t cubeIndex(unsigned number) {
    return static_cast<std::uint8_t>(225 - number);
}

// The checks that all operations with a fixed palette begin with. Returns 0, the codes of checkrange_,
// ERR_BITS (destination not 8-bit), ERR_RANGE (a palette missing, or the destination's too small).
[[nodiscard]] int checkForFixedPalette(imgdes* source, imgdes* destination, bool cube);

// Writes the palette, clears the grey mark and updates a DIB section's colours.
void giveFixedPalette(imgdes& destination, bool cube);

}  // namespace orn32
