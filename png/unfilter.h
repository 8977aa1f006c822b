// Undoing the row filters: each byte was stored as its difference from a guess made of its neighbours.
#pragma once

#include <cstddef>
#include <cstdint>

#include "png/filter.h"

namespace orn32::png {

// Turns count filtered bytes of a row back in place. A filter that does not exist changes nothing. Both rows
// may be read up to 8 bytes behind their ends.
//   previous  the row above, turned back, or null for the first row: all its bytes are 0
//   count     a multiple of step
//   step      bytes from a pixel to its left neighbour: 1, 2, 3, 4, 6 or 8
void unfilter(unsigned filter, std::uint8_t* row, const std::uint8_t* previous, std::size_t count,
              unsigned step);

}  // namespace orn32::png
