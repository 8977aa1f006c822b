// Second opinions on palettes and matching: median cut and nearest colours in the plainest form, over whole
// pictures, without caches of rows, tables or searches that stop early.
#pragma once

#include <map>

#include "tests/process/pictures.h"

namespace test {

int keyOf(Colour colour);

// Red, green or blue (2, 1, 0) of the largest range.
int plainAxis(int redRange, int greenRange, int blueRange);

// The colours of a median cut palette; fewer than wanted where the picture has fewer 15-bit colours.
std::vector<Colour> plainMedianCut(const Grid<Colour>& picture, unsigned wanted);

// The index found for each pixel.
Grid<int> plainMatch(const Grid<Colour>& picture, const std::vector<Colour>& palette, int mode);

}  // namespace test
