// The median of colours by their brightness (colour_planes.h).
//
// The middle brightness is one value, but several neighbours may have it. Where these are of one colour, that
// is the result; where not (in photographs one neighbourhood of 3 x 3 in 5000 or fewer), the fixed order of
// quickselect decides between them.
#pragma once

#include <cstdint>

#include "process/filter_engine.h"

namespace orn32 {

constexpr unsigned largestMedianSize = 11;

// The medians of count neighbourhoods of size x size in as many rows. Reads rows in sixteens of pixels,
// writes exactly count pixels, and brings the rows ahead into the cache. The second one needs AVX2.
using ColourMedians = void (*)(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                               RowsAhead ahead);
void colourMediansSse2(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                       RowsAhead ahead);
void colourMediansAvx2(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                       RowsAhead ahead);

// The blue and red of the pixel that quickselect finds in the neighbourhood that begins at column x.
std::uint16_t selectedBlueRed(const ColourRow* rows, unsigned size, unsigned x);

}  // namespace orn32
