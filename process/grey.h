// The library's one idea of a colour's brightness.
#pragma once

#include <cstdint>

#include "orn32.h"

namespace orn32 {

inline std::uint8_t greyLevel(unsigned blue, unsigned green, unsigned red) {
    return static_cast<std::uint8_t>((30 * red + 59 * green + 11 * blue) / 100);
}

// The grey levels of an 8-bit image's indices: 0 from palcolors on. Needs a palette.
void greyLevelsOfIndices(std::uint8_t (&levels)[256], const imgdes& image);

// The grey levels of count blue, green, red triples.
void greyRow(std::uint8_t* grey, const std::uint8_t* bgr, unsigned count);

}  // namespace orn32
