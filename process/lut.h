// Lookup tables applied to pixels.
#pragma once

#include <cstdint>

#include "orn32.h"

namespace orn32 {

// Replaces red, green and blue by their tables' entries; of an 8-bit image the pixels by redlut's. An 8-bit
// image with a colour palette takes the detour through RGB and gets a new palette. Each table has 256 bytes.
// Returns 0, the codes of checkrange_, ERR_BITS (bit counts differ), those of the detour.
[[nodiscard]] int applylut_(const std::uint8_t* redlut, const std::uint8_t* greenlut,
                            const std::uint8_t* bluelut, imgdes* source, imgdes* destination);

// Replaces the pixels of an 8-bit area, whatever its palette, by the table's entries. Both records have
// passed the range check.
void mapIndices(const std::uint8_t* table, const imgdes& source, const imgdes& destination);

}  // namespace orn32
