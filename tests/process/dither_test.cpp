// Ordered dithering and error diffusion to the two fixed palettes, against plain versions.
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

// Black and the pure colours by blue + 2 green + 4 red.
constexpr unsigned pureIndex[8] = {0, 12, 10, 14, 9, 13, 11, 15};

std::array<int, 3> channels(Colour c) {
    return {c.blue, c.green, c.red};
}

unsigned indexOf(const std::array<int, 3>& levels, bool cube) {
    const auto [b, g, r] = levels;
    return cube ? unsigned(225 - (b + 6 * g + 36 * r)) : pureIndex[b + 2 * g + 4 * r];
}

Grid<unsigned> plainDither(const Grid<Colour>& picture, bool cube) {
    Grid<unsigned> result(picture.width, picture.height);
    for (int y = 0; y < picture.height; y++)
        for (int x = 0; x < picture.width; x++) {
            const int m = ditherMatrix[y % 8][(picture.width - 1 - x) % 8];
            std::array<int, 3> levels;
            for (std::size_t c = 0; c < 3; c++) {
                const int v = channels(picture.at(x, y))[c];
                levels[c] = cube ? v / 51 + (m < v % 51) : 5 * m < v;
            }
            result.at(x, y) = indexOf(levels, cube);
        }
    return result;
}

// Error diffusion over the whole picture at once; a frame around it takes what falls off.
Grid<unsigned> plainScatter(const Grid<Colour>& picture, bool cube) {
    const int w = picture.width, h = picture.height;
    Grid<unsigned> result(w, h);
    Grid<std::array<int, 3>> values(w + 2, h + 1);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) values.at(x + 1, y) = channels(picture.at(x, y));
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            std::array<int, 3> levels;
            for (std::size_t c = 0; c < 3; c++) {
                const int v = values.at(x + 1, y)[c];
                levels[c] = cube ? v / 51 : v >= 128;
                int error = cube ? v % 51 : v < 128 ? v : v - 255;
                if (cube && error > 24) levels[c]++, error -= 51;
                const auto add = [&](int dx, int dy, int weight) {
                    const int share = int(std::floor(weight * error / 16.0));
                    int& to = values.at(x + 1 + dx, y + dy)[c];
                    to = std::clamp(to + share, 0, 255);
                };
                add(1, 0, 7);
                add(-1, 1, 3);
                add(0, 1, 5);
                add(1, 1, 1);
            }
            result.at(x, y) = indexOf(levels, cube);
        }
    return result;
}

struct Operation {
    const char* name;
    int(ORNAPI* run)(imgdes*, imgdes*, int);
    Grid<unsigned> (*plain)(const Grid<Colour>&, bool);
    int rowsAhead;  // read before a row is written
};
constexpr Operation operations[] = {{"colordither", colordither, plainDither, 0},
                                    {"colorscatter", colorscatter, plainScatter, 1}};

// Palette entries as red << 16 | green << 8 | blue.
std::vector<unsigned> expectedPalette(bool cube) {
    PALETTEENTRY system[20];
    GetPaletteEntries(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), 0, 20, system);
    std::vector<unsigned> entries;
    const auto add = [&](int first, int last) {
        for (int i = first; i <= last; i++)
            entries.push_back(unsigned(system[i].peRed << 16 | system[i].peGreen << 8 | system[i].peBlue));
    };
    if (!cube) {
        add(0, 7);
        add(12, 19);
        return entries;
    }
    add(0, 9);
    for (unsigned r = 6; r-- > 0;)
        for (unsigned g = 6; g-- > 0;)
            for (unsigned b = 6; b-- > 0;) entries.push_back(r * 51 << 16 | g * 51 << 8 | b * 51);
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
    for (int round = 0; round < 1500; round++) {
        const MemoryWatch watch;
        const bool cube = random.oneIn(2);
        auto [source, destination] = Pair(random, random.oneIn(2) ? 8 : 24, 8, 40, 30);
        const auto expected =
            bytesWith(destination, GetParam().plain(commonColours(source, destination), cube));
        ASSERT_EQ(GetParam().run(source, destination, cube ? random.between(1, 9) : 0), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination) << " cube " << cube;
    }
}

TEST_P(FixedPalettes, AreasOfOneImageAreReadAndWrittenInTheOrderOfRows) {
    Random random(52);
    for (int round = 0; round < 1500; round++) {
        const bool cube = random.oneIn(2);
        TestImage image(1 + random.below(40), 1 + random.below(20), 8);
        image.randomise(random);
        paintPalette(image, random);
        TestImage copy(image);
        image.randomArea(random);
        imgdes from = image.image;
        if (random.oneIn(3)) image.randomArea(random);
        imgdes row = from;
        Grid<Colour> read = coloursAt(copy, from, image.image);
        const int width = read.width, height = read.height;
        read = Grid<Colour>(width, 0);
        for (int y = 0; y < height; y++) {
            for (; read.height <= std::min(y + GetParam().rowsAhead, height - 1); read.height++) {
                row.top = row.bottom = from.top + UINT(read.height);
                const auto next = coloursAt(copy, row, image.image).pixels;
                read.pixels.insert(read.pixels.end(), next.begin(), next.end());
            }
            const auto result = GetParam().plain(read, cube);
            for (int x = 0; x < width; x++)
                copy.setPixel(int(image->left) + x, int(image->top) + y, result.at(x, y));
        }
        ASSERT_EQ(GetParam().run(&from, image, cube), 0);
        ASSERT_EQ(image.bytes(), copy.bytes())
            << "area at " << from.left << "," << from.top << " to " << image.describe() << " cube " << cube;
    }
}

TEST_P(FixedPalettes, ThePaletteGoesToTheDestination) {
    for (const bool cube : {false, true}) {
        TestImage source(5, 5, 24), destination(5, 5, 8);
        destination->imgkind = 7;
        for (int i = 0; i < 256; i++) destination->palette[i] = {1, 2, 3, BYTE(i)};
        ASSERT_EQ(GetParam().run(source, destination, cube), 0);
        const auto expected = expectedPalette(cube);
        ASSERT_EQ(destination->palcolors, int(expected.size()));
        EXPECT_EQ(destination->imgkind, 6u);
        for (unsigned i = 0; i < 256; i++) {
            const RGBQUAD& entry = destination->palette[i];
            const unsigned want = i < expected.size() ? expected[i] : 0x030201;
            EXPECT_EQ(unsigned(entry.rgbRed << 16 | entry.rgbGreen << 8 | entry.rgbBlue), want) << i;
            EXPECT_EQ(entry.rgbReserved, i);
        }
    }
}
