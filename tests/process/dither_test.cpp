// Ordered dithering and error diffusion to the two fixed palettes, against plain versions.
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

constexpr int matrix[64] = {0, 38, 9,  47, 2, 40, 11, 50, 25, 12, 35, 22, 27, 15, 37, 24,  //
                            6, 44, 3,  41, 8, 47, 5,  43, 31, 19, 28, 15, 34, 21, 31, 18,  //
                            1, 39, 11, 49, 0, 39, 10, 48, 27, 14, 36, 23, 26, 13, 35, 23,  //
                            7, 46, 4,  43, 7, 45, 3,  42, 33, 20, 30, 17, 32, 19, 29, 16};

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
            const int m = matrix[y % 8 * 8 + (picture.width - 1 - x) % 8];
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
};
constexpr Operation operations[] = {{"colordither", colordither, plainDither},
                                    {"colorscatter", colorscatter, plainScatter}};

unsigned same(unsigned index) {
    return index;
}

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
        const bool cube = random.oneIn(2);
        TestImage source(1 + random.below(40), 1 + random.below(30), random.oneIn(2) ? 8 : 24);
        TestImage destination(1 + random.below(40), 1 + random.below(30), 8);
        paint(source, random);
        if (source.bitsPerPixel() == 8) paintPalette(source, random);
        destination.randomise(random);
        source.randomArea(random);
        destination.randomArea(random);
        const auto expected =
            bytesWith(destination, GetParam().plain(commonColours(source, destination), cube), same);
        ASSERT_EQ(GetParam().run(source, destination, cube ? random.between(1, 9) : 0), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination) << " cube " << cube;
    }
}

TEST_P(FixedPalettes, MayWorkInPlace) {
    Random random(52);
    for (int round = 0; round < 200; round++) {
        TestImage image(1 + random.below(40), 1 + random.below(30), 8);
        image.randomise(random);
        paintPalette(image, random);
        image.randomArea(random);
        const bool cube = random.oneIn(2);
        const auto expected = bytesWith(image, GetParam().plain(commonColours(image, image), cube), same);
        ASSERT_EQ(GetParam().run(image, image, cube), 0);
        ASSERT_EQ(image.bytes(), expected) << image.describe();
    }
}

TEST_P(FixedPalettes, ThePaletteGoesToTheDestination) {
    for (const bool section : {false, true}) {
        for (const bool cube : {false, true}) {
            TestImage source(5, 5, 24), destination(5, 5, 8, section);
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
            if (!section) continue;
            const HDC dc = CreateCompatibleDC(nullptr);
            const HGDIOBJ previous = SelectObject(dc, destination->hbitmap);
            RGBQUAD seen[256];
            ASSERT_EQ(GetDIBColorTable(dc, 0, 256, seen), 256u);
            SelectObject(dc, previous);
            DeleteDC(dc);
            for (unsigned i = 0; i < expected.size(); i++)
                EXPECT_EQ(unsigned(seen[i].rgbRed << 16 | seen[i].rgbGreen << 8 | seen[i].rgbBlue),
                          expected[i]);
        }
    }
}

TEST_P(FixedPalettes, CheckInOrderAndTouchNothing) {
    Random random(53);
    TestImage source(8, 8, 24), indexed(8, 8, 8), bits(8, 8, 1), wide(8, 8, 24), destination(8, 8, 8);
    destination.randomise(random);
    destination->imgkind = 5;
    const auto bytes = destination.bytes();
    const std::vector<std::uint8_t> block(reinterpret_cast<std::uint8_t*>(destination->header),
                                          reinterpret_cast<std::uint8_t*>(destination->palette + 256));
    const auto run = [&](imgdes* from, imgdes* to) { return GetParam().run(from, to, 1); };
    EXPECT_EQ(run(bits, destination), ERR_BITS);
    EXPECT_EQ(run(source, bits), ERR_BITS);
    EXPECT_EQ(run(source, wide), ERR_BITS);
    imgdes bare = destination.image;
    bare.palette = nullptr;
    EXPECT_EQ(run(source, &bare), ERR_RANGE);
    imgdes bareSource = indexed.image;
    bareSource.palette = nullptr;
    EXPECT_EQ(run(&bareSource, destination), ERR_RANGE);
    imgdes off = source.image;
    off.right = 8;
    EXPECT_EQ(run(&off, wide), ERR_RANGE) << "the source's area first";
    EXPECT_EQ(destination.bytes(), bytes);
    EXPECT_EQ(std::memcmp(destination->header, block.data(), block.size()), 0);
    EXPECT_EQ(destination->imgkind, 5u);
}

TEST_P(FixedPalettes, ADestinationWithoutRoomForThePaletteIsRefused) {
    std::vector<std::uint8_t> dib(40 + 4 * 255 + 64);
    for (const auto& [cube, room] : {std::pair{1, 255u}, {0, 15u}}) {
        auto* header = reinterpret_cast<BITMAPINFOHEADER*>(dib.data());
        *header = {40, 8, 8, 1, 8, 0, 64, 0, 0, room, room};
        imgdes packed;
        ASSERT_EQ(setupimgdes(header, &packed), 0);
        const auto before = dib;
        TestImage source(8, 8, 24);
        EXPECT_EQ(GetParam().run(source, &packed, cube), ERR_RANGE);
        EXPECT_EQ(dib, before);
    }
}

TEST_P(FixedPalettes, EveryAllocationMayFail) {
    TestImage source(9, 9, 24), destination(9, 9, 8);
    const auto before = destination.bytes();
    const int tried = failEveryAllocation([&] { return GetParam().run(source, destination, 1); },
                                          [&](int n, int code, const MemoryWatch& watch) {
                                              EXPECT_EQ(code, ERR_MEMORY) << "allocation " << n;
                                              EXPECT_EQ(watch.live(), 0);
                                              EXPECT_EQ(destination.bytes(), before);
                                              EXPECT_EQ(destination->palette[1].rgbRed, 1);
                                              EXPECT_EQ(destination->imgkind, 1u);
                                          });
    EXPECT_GE(tried, 1);
}

TEST_P(FixedPalettes, RowsThatEndAtAnUnreadablePageAreNotOverrun) {
    for (unsigned width = 1; width < 40; width++) {
        const MemoryWatch watch;
        for (const unsigned bits : {8u, 24u}) {
            TestImage source(width, 3, bits), destination(width, 3, 8);
            for (const int cube : {0, 1}) ASSERT_EQ(GetParam().run(source, destination, cube), 0);
        }
    }
}

TEST(FixedPalettes, KnownResults) {
    TestImage grey(8, 8, 24), narrow(1, 8, 24), indices(8, 8, 8), narrowIndices(1, 8, 8);
    std::fill_n(grey->bits, grey->header->biSizeImage, std::uint8_t{128});
    ASSERT_EQ(colordither(grey, indices, 0), 0);
    for (int y = 0; y < 8; y++)
        for (int x = 0; x < 8; x++) EXPECT_EQ(indices.pixel(x, y), matrix[8 * y + 7 - x] <= 25 ? 15u : 0u);
    std::fill_n(narrow->bits, narrow->header->biSizeImage, std::uint8_t{30});
    ASSERT_EQ(colordither(narrow, narrowIndices, 0), 0);
    for (int y = 0; y < 8; y++) EXPECT_EQ(narrowIndices.pixel(0, y), 5 * matrix[8 * y] < 30 ? 15u : 0u);

    TestImage two(2, 1, 24), result(2, 1, 8);
    two.setPixel(0, 0, 24 | 25 << 8);  // green goes up to level 1 with an error of -26, blue stays
    two.setPixel(1, 0, 20 | 100 << 8);
    ASSERT_EQ(colorscatter(two, result, 1), 0);
    EXPECT_EQ(result.pixel(0, 0), 225u - 6);
    // The shares are 10 and -12: blue 30 goes up, green 88 goes to level 2.
    EXPECT_EQ(result.pixel(1, 0), 225u - 1 - 6 * 2);
}
