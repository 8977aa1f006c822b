// Black and white from grey levels and back, against plain versions.
#include "tests/process/pictures.h"

using namespace test;

namespace {

// The whole picture at once.
Grid plainBits(int mode, const Grid& levels) {
    const std::vector<Share> stucki = {{1, 0, 8}, {2, 0, 4},  {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4},
                                       {2, 1, 2}, {-2, 2, 1}, {-1, 2, 2}, {0, 2, 4},  {1, 2, 2}, {2, 2, 1}};
    const auto choose = [](unsigned level) { return Choice{level > 127, level > 127 ? 255u : 0}; };
    const auto part = [](int error, int weight) { return error * weight / 42; };
    if (mode == 0) return diffuse(levels, stucki, choose, part);
    return {levels.width, levels.height, [&](int x, int y) {
                const int level = int(levels.at(x, y));
                return mode == 1 ? level > 5 * ditherMatrix[y % 8][x % 8] : level >= 128;
            }};
}

}  // namespace

TEST(OneBit, FromLevelsAgreesWithThePlainVersionOverRandomAreas) {
    Random random(61);
    for (int round = 0; round < 3000; round++) {
        enum { marked, ramp, colours };  // a grey ramp counts without the mark
        const unsigned palette = random.below(3);
        const int mode = random.between(-1, 3);
        Pair pair(random, 8, 1, 70, 30);
        if (palette == ramp)
            for (unsigned i = 0; i < 256; i++) pair.source->palette[i] = {BYTE(i), BYTE(i), BYTE(i), 0};
        pair.source->imgkind = palette == marked ? 1 : 4;
        const unsigned known = palette == colours ? 1 + random.below(256) : 256;
        pair.source->palcolors = int(known);
        Grid levels = pair.pixels();
        for (const auto entries = paletteColours(pair.source.image); unsigned& level : levels.pixels) {
            const unsigned c = entries[level];
            const int grey = (11 * channel(c, 0) + 59 * channel(c, 1) + 30 * channel(c, 2)) / 100;
            if (palette == colours && !isgrayscaleimage(pair.source))
                level = level < known ? unsigned(grey) : 0;
        }
        pair.destination->palette[0] = pair.destination->palette[1] = {9, 9, 9, 9};
        pair.destination->imgkind = 6;
        const auto run = [&](imgdes* s, imgdes* d) { return convert8bitto1bit(mode, s, d); };
        ASSERT_TRUE(pair.becomes(run, plainBits(mode, levels))) << "mode " << mode << " palette " << palette;
        ASSERT_EQ(isgrayscaleimage(pair.destination), 1);
        ASSERT_EQ(pair.destination->imgkind, 7u);
    }
}

TEST(OneBit, ToLevelsAgreesWithThePlainVersionOverRandomAreas) {
    constexpr unsigned smooth[8] = {0, 42, 170, 212, 42, 85, 212, 255};
    Random random(63);
    for (int round = 0; round < 3000; round++) {
        const bool isSmooth = random.oneIn(2);
        Pair pair(random, 1, 8, 80, 20);
        pair.source->palette[0] = {255, 255, 255, 0};  // the palette plays no part
        const Grid bits = pair.pixels();
        const Grid levels(bits.width, bits.height, [&](int x, int y) {
            if (!isSmooth || x == 0 || x == bits.width - 1) return 255 * bits.at(x, y);
            return smooth[4 * bits.at(x - 1, y) + 2 * bits.at(x, y) + bits.at(x + 1, y)];
        });
        const auto run = isSmooth ? convert1bitto8bitsmooth : convert1bitto8bit;
        const bool isNarrow = isSmooth && bits.width < 3;
        const auto becomes = isNarrow ? pair.becomes(run, {}, ERR_RANGE) : pair.becomes(run, levels);
        ASSERT_TRUE(becomes) << "smooth " << isSmooth;
        ASSERT_EQ(isgrayscaleimage(pair.destination), !isNarrow);
    }
}
