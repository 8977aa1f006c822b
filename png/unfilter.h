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

// Rows that lie one behind the other, each with its filter byte in front.
struct Rows {
    std::uint8_t* first;
    unsigned count;
    std::size_t stride;  // from a row's filter byte to the next one's
};

// The most rows that are turned back at once, and how many that are for a step.
constexpr unsigned rowsTogether = 16;
constexpr unsigned rowsTogetherFor(unsigned step) {
    return step == 1 ? rowsTogether : step == 3 || step == 4 ? 2 : 1;
}

// Turns back the first `bytes` of some rows, if they can be at once and that is faster than one by one; their
// filter bytes are then filterNone. Otherwise returns false and touches nothing.
//   step 1     all rows; the first has zeros above it, or has been turned back already and its filter byte
//              says so. Up to 16 bytes behind the last row are read, and stored as they were.
//   step 3, 4  the second and the third row, if the first has been turned back already and they have one
//              filter, Sub, Average or Paeth. Up to 8 bytes behind the third row are read.
bool unfilterTogether(const Rows& rows, std::size_t bytes, unsigned step);

// Its two ways.
bool unfilterWavefront(const Rows& rows, std::size_t bytes);
bool unfilterTwo(const Rows& rows, std::size_t bytes, unsigned step);

}  // namespace orn32::png
