// Second opinions on palettes and matching: median cut and nearest colours in the plainest form, over whole
// pictures, without caches of rows, tables or searches that stop early.
#pragma once

#include "tests/process/pictures.h"

namespace test {

// The colours of a median cut palette; fewer than wanted where the picture has fewer 15-bit colours.
std::vector<unsigned> plainMedianCut(const Grid& picture, unsigned wanted);

// The index found for each pixel.
Grid plainMatch(const Grid& picture, const std::vector<unsigned>& palette, int mode);

// Whether run(source, destination) makes the whole destination the picture, with a palette of its 256
// colours, which repeats the first one where there are fewer.
template <class Run>
testing::AssertionResult becomesRequantised(Pair& pair, Run run, const Grid& picture) {
    auto palette = plainMedianCut(picture, 256);
    palette.resize(256, palette[0]);
    imgdes wanted = pair.destination.image, record = wanted;
    wanted.palcolors = 256;
    wanted.imgkind &= ~1u;
    pair.destination->left = pair.destination->top = 0;
    const auto result = pair.becomes([&](imgdes* source, imgdes*) { return run(source, &record); },
                                     plainMatch(picture, palette, 2));
    if (!result) return result;
    if (paletteColours(record) != palette) return testing::AssertionFailure() << "another palette";
    if (std::memcmp(&record, &wanted, sizeof record) != 0)
        return testing::AssertionFailure() << "another record";
    return result;
}

}  // namespace test
