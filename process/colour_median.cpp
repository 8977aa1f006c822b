#include "process/colour_median.h"

#include "process/colour_median_rows.h"
#include "process/lanes.h"
#include "process/quickselect.h"

namespace orn32 {

void colourMediansSse2(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                       RowsAhead ahead) {
    ColourMedianRows<WordLanes>(rows, size, result, count, ahead).medians();
}

std::uint16_t selectedBlueRed(const ColourRow* rows, unsigned size, unsigned x) {
    RankedNeighbour neighbours[largestMedianSize * largestMedianSize];
    const unsigned n = size * size;
    for (unsigned y = 0, i = 0; y < size; y++)
        for (unsigned c = 0; c < size; c++, i++)
            neighbours[i] = {rows[y].brightness[x + c], static_cast<std::uint16_t>(i)};
    const unsigned place = quickselect(neighbours, static_cast<int>(n), static_cast<int>(n / 2)).place;
    return rows[place / size].blueRed[x + place % size];
}

}  // namespace orn32
