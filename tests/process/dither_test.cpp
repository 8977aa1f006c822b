// Ordered dithering and error diffusion to the two fixed palettes, against plain versions.
#include "tests/process/pictures.h"

using namespace test;

namespace {

// The entry that shows such levels: of the cube 0 to 5 for each channel, else 0 or 1.
unsigned indexOf(unsigned levels, bool isCube) {
    constexpr unsigned pureIndex[8] = {0, 12, 10, 14, 9, 13, 11, 15};
    const int b = channel(levels, 0), g = channel(levels, 1), r = channel(levels, 2);
    return isCube ? unsigned(225 - (b + 6 * g + 36 * r)) : pureIndex[b + 2 * g + 4 * r];
}

Grid plainDither(const Grid& picture, bool isCube) {
    return {picture.width, picture.height, [&](int x, int y) {
                const int m = ditherMatrix[y % 8][(picture.width - 1 - x) % 8];
                const unsigned levels = byChannel([&](int c) {
                    const int v = channel(picture.at(x, y), c);
                    return isCube ? v / 51 + (m < v % 51) : 5 * m < v;
                });
                return indexOf(levels, isCube);
            }};
}

Grid plainScatter(const Grid& picture, bool isCube) {
    return diffuseInSixteenths(picture, [=](unsigned pixel) {
        const auto level = [&](int c) {
            const int v = channel(pixel, c);
            return isCube ? v / 51 + (v % 51 > 24) : v >= 128;
        };
        return Choice{indexOf(byChannel(level), isCube),
                      byChannel([&](int c) { return level(c) * (isCube ? 51 : 255); })};
    });
}

struct Operation {
    const char* name;
    int(ORNAPI* run)(imgdes*, imgdes*, int);
    Grid (*plain)(const Grid&, bool);
    Reach reach;
};
constexpr Operation operations[] = {{"colordither", colordither, plainDither, {0, 0}},
                                    {"colorscatter", colorscatter, plainScatter, {0, 1}}};

std::vector<unsigned> expectedPalette(bool isCube) {
    PALETTEENTRY system[20];
    GetPaletteEntries(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), 0, 20, system);
    std::vector<unsigned> entries;
    const auto add = [&](int first, int last) {
        for (int i = first; i <= last; i++)
            entries.push_back(unsigned(system[i].peRed << 16 | system[i].peGreen << 8 | system[i].peBlue));
    };
    if (!isCube) return add(0, 7), add(12, 19), entries;
    add(0, 9);
    for (unsigned i = 216; i-- > 0;) entries.push_back((i / 36 << 16 | i / 6 % 6 << 8 | i % 6) * 51);
    for (unsigned i = 0; i < 20; i++) entries.push_back((16 + 12 * i) * 0x010101);
    add(10, 19);
    return entries;
}

}  // namespace

class FixedPalettes : public testing::TestWithParam<Operation> {};
INSTANTIATE_TEST_SUITE_P(All, FixedPalettes, testing::ValuesIn(operations),
                         [](const auto& info) { return info.param.name; });

TEST_P(FixedPalettes, AgreeWithThePlainVersionOverRandomAreas) {
    Random random(51);
    for (int round = 0; round < 3000; round++) {
        const bool isCube = random.oneIn(2), isOne = random.oneIn(2);
        Pair pair(random, isOne || random.oneIn(2) ? 8 : 24, 8, 40, isOne ? 20 : 30);
        if (isOne) pair.makeOne(random);
        pair.destination->imgkind = 7;
        auto entries = paletteBytes(pair.destination.image);
        const auto run = [&](imgdes* s, imgdes* d) {
            return GetParam().run(s, d, isCube ? random.between(1, 9) : 0);
        };
        const auto plain = [&](const Grid& rows) {
            return GetParam().plain(coloursOf(pair.source, rows), isCube);
        };
        ASSERT_TRUE(pair.becomes(run, plain, GetParam().reach)) << "cube " << isCube << ", one " << isOne;
        const auto fixed = expectedPalette(isCube);
        for (unsigned i = 0; i < fixed.size(); i++) std::memcpy(&entries[4 * i], &fixed[i], 3);
        ASSERT_EQ(paletteBytes(pair.destination.image), entries) << "reserved bytes stay";
        ASSERT_EQ(pair.destination->palcolors, int(fixed.size()));
        ASSERT_EQ(pair.destination->imgkind, 6u);
    }
}
