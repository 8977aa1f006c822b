// Row filters on the way out, and the choice between them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orn32::png {

enum Filter : std::uint8_t { filterNone, filterSub, filterUp, filterAverage, filterPaeth, filterCount };

// Rows to be filtered begin with this many zero bytes in front of the first pixel, and may be read, and the
// results written, as many bytes behind the last.
constexpr std::size_t filterMargin = 16;

// Stores what filter makes of count bytes of a row under the previous one.
//   step  bytes from a pixel to its left neighbour, at most filterMargin
void applyFilter(Filter filter, std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* previous,
                 std::size_t count, unsigned step);

// The filter whose results, as signed bytes, have the least sum of magnitudes; of equals the first.
Filter bestFilter(const std::uint8_t* row, const std::uint8_t* previous, std::size_t count, unsigned step);

}  // namespace orn32::png
