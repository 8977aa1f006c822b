#include <gtest/gtest.h>

#include "tests/process/plain_quantiser.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

// The palette that convertrgbtopalex should write: median cut, then entry 0 again.
std::vector<Colour> filledPalette(const Grid<Colour>& picture, int colours) {
    auto palette = plainMedianCut(picture, static_cast<unsigned>(colours));
    palette.resize(static_cast<std::size_t>(colours), palette[0]);
    return palette;
}

void expectPalette(const TestImage& image, const std::vector<Colour>& palette, const std::string& what) {
    for (std::size_t i = 0; i < palette.size(); i++)
        ASSERT_EQ(paletteColour(image.image, static_cast<unsigned>(i)), palette[i])
            << "entry " << i << " of " << palette.size() << ", " << what;
}

void expectConversion(TestImage& source, TestImage& destination, int colours, int mode) {
    const Grid<Colour> picture = commonColours(source, destination);
    const auto palette = filledPalette(picture, colours);
    const Grid<int> indices = plainMatch(picture, palette, mode);
    const auto expected = bytesWith(destination, indices);
    const std::string what = describe(source, destination) + ", " + std::to_string(colours) +
                             " colours, mode " + std::to_string(mode);
    const std::vector<RGBQUAD> oldPalette(destination->palette, destination->palette + 256);
    ASSERT_EQ(convertrgbtopalex(colours, source, destination, mode), 0) << what;
    expectPalette(destination, palette, what);
    ASSERT_EQ(destination.bytes(), expected) << what;
    ASSERT_EQ(destination->palcolors, colours);
    ASSERT_EQ(destination->imgkind, 0u);
    for (std::size_t i = static_cast<std::size_t>(colours); i < 256; i++)
        ASSERT_EQ(std::memcmp(&destination->palette[i], &oldPalette[i], sizeof(RGBQUAD)), 0)
            << "entry " << i << " behind the palette changed, " << what;
    const unsigned distinct =
        static_cast<unsigned>(plainMedianCut(picture, static_cast<unsigned>(colours)).size());
    for (unsigned i = 0; i < distinct; i++)
        ASSERT_EQ(destination->palette[i].rgbReserved, oldPalette[i].rgbReserved) << "entry " << i;
}

}  // namespace

TEST(ConvertRgbToPal, PaletteAndPixelsAreThoseOfThePlainMedianCutAndMatch) {
    Random random(301);
    for (int round = 0; round < 500; round++) {
        TestImage source(1 + random.below(60), 1 + random.below(40), 24);
        TestImage destination(1 + random.below(60), 1 + random.below(40), 8);
        paint(source, random);
        destination.randomise(random);
        paintPalette(destination, random);
        destination->imgkind = 1;
        if (random.oneIn(2)) source.randomArea(random), destination.randomArea(random);
        const int colours = random.oneIn(3) ? 256 : random.between(2, 40);
        ASSERT_NO_FATAL_FAILURE(expectConversion(source, destination, colours, random.between(0, 3)));
    }
}

TEST(ConvertRgbToPal, LargePicturesFollowTheSameRules) {
    Random random(302);
    for (int mode = 0; mode < 4; mode++) {
        TestImage source(301, 203, 24), destination(301, 203, 8);
        do paint(source, random);
        while (plainMedianCut(commonColours(source, destination), 256).size() < 200);
        ASSERT_NO_FATAL_FAILURE(expectConversion(source, destination, 256, mode));
    }
}

TEST(ConvertRgbToPal, CountersStopAt65534) {
    // One box holds 65534 pixels of level 31 and more of level 29: the mean is 30 only with a counter that
    // stops at exactly 65534, and 29 if it counts a single pixel more.
    TestImage source(370, 370, 24), destination(370, 370, 8);
    for (int n = 0; n < 370 * 370; n++)
        source.setPixel(n % 370, n / 370, n < 65534 ? 0xF8F8F8 : n < 65534 + 70000 ? 0xE8E8E8 : 0);
    ASSERT_NO_FATAL_FAILURE(expectConversion(source, destination, 2, 2));
    EXPECT_EQ(paletteColour(destination.image, 0), (Colour{247, 247, 247}));
}

TEST(ConvertRgbToPal, ADibSectionsColourTableFollowsThePalette) {
    TestImage source(7, 7, 24), destination(7, 7, 8, true);
    Random random(304);
    source.randomise(random);
    ASSERT_NE(destination->hbitmap, nullptr);
    ASSERT_EQ(convertrgbtopalex(16, source, destination, 0), 0);
    const auto table = sectionColours(destination.image, 16);
    for (unsigned i = 0; i < 16; i++) EXPECT_EQ(table[i], paletteColour(destination.image, i)) << i;
}

TEST(ConvertRgbToPal, ReportsTheFirstThingThatIsWrongAndWritesNothing) {
    TestImage rgb(6, 6, 24), pal(6, 6, 8), one(6, 6, 1), rgbTo(6, 6, 24);
    Random random(305);
    pal.randomise(random);
    const auto before = pal.bytes();
    imgdes bare = pal.image, outside = pal.image, outsideRgb = rgb.image;
    bare.palette = nullptr;
    outside.right = 6;
    outsideRgb.bottom = 6;
    struct Case {
        int colours;
        imgdes *source, *destination;
        int mode, expected;
    } const cases[] = {
        {1, rgb, pal, 0, ERR_ARGUMENT},        {257, rgb, pal, 0, ERR_ARGUMENT},
        {256, rgb, pal, 4, ERR_ARGUMENT},      {256, rgb, pal, -1, ERR_ARGUMENT},
        {-1, rgb, &bare, -1, ERR_RANGE},       {256, pal, &bare, 0, ERR_BITS},
        {256, rgb, rgbTo, 0, ERR_BITS},        {0, pal, rgbTo, 9, ERR_BITS},
        {256, &outsideRgb, one, 0, ERR_RANGE}, {256, one, &outside, 0, ERR_BITS},
        {256, rgb, &outside, 4, ERR_RANGE},    {256, rgb, one, 4, ERR_BITS},
        {256, nullptr, pal, 0, ERR_RANGE},     {256, rgb, nullptr, 0, ERR_RANGE},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(convertrgbtopalex(c.colours, c.source, c.destination, c.mode), c.expected)
            << "case " << &c - cases;
        EXPECT_EQ(pal.bytes(), before);
        EXPECT_EQ(pal->imgkind, 1u);
        EXPECT_EQ(isgrayscaleimage(pal), 1);
    }
}

TEST(ConvertPalToRgb, EveryPixelTakesItsPaletteSlot) {
    Random random(308);
    for (int round = 0; round < 300; round++) {
        const MemoryWatch watch;
        TestImage source(1 + random.below(50), 1 + random.below(12), 8);
        TestImage destination(1 + random.below(50), 1 + random.below(12), 24);
        source.randomise(random);
        destination.randomise(random);
        paintPalette(source, random);
        source->palcolors = random.between(0, 256);
        source.randomArea(random);
        destination.randomArea(random);
        const auto expected = bytesWith(destination, commonColours(source, destination), [](Colour c) {
            return c.blue | static_cast<unsigned>(c.green) << 8 | static_cast<unsigned>(c.red) << 16;
        });
        ASSERT_EQ(convertpaltorgb(source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
        ASSERT_EQ(destination->imgkind, 0u);
        ASSERT_EQ(destination->palcolors, 0);
    }
}

TEST(ConvertPalToRgb, AShortPaletteIsReadIntoThePixelsButNotBehindThem) {
    // Four palette entries and 4 x 2 pixels: slots 4 and 5 are the pixel rows, all others do not exist.
    const MemoryWatch watch;
    imgdes source = {};
    TestImage destination(4, 2, 24);
    std::vector<std::uint8_t> packed(sizeof(BITMAPINFOHEADER) + 4 * 4 + 8, 0);
    const GuardedBytes block(packed);
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    *header = {sizeof(BITMAPINFOHEADER), 4, 2, 1, 8, BI_RGB, 8, 0, 0, 4, 4};
    ASSERT_EQ(setupimgdes(header, &source), 0);
    source.palette[3] = {1, 2, 3, 4};
    const std::uint8_t pixels[] = {3, 4, 5, 6, 255, 0, 3, 5};
    std::memcpy(source.bits, pixels, sizeof pixels);
    ASSERT_EQ(convertpaltorgb(&source, destination), 0);
    const unsigned expected[2][4] = {{0, 0, 0x030201, 0x0300FF}, {0x030201, 0x050403, 0x0300FF, 0}};
    for (int y = 0; y < 2; y++)
        for (int x = 0; x < 4; x++) EXPECT_EQ(destination.pixel(x, y), expected[y][x]) << x << "," << y;
}

TEST(ConvertPalToRgb, ReportsTheFirstThingThatIsWrong) {
    TestImage rgb(6, 6, 24), pal(6, 6, 8), one(6, 6, 1);
    imgdes bare = pal.image;
    bare.palette = nullptr;
    EXPECT_EQ(convertpaltorgb(&bare, rgb), ERR_RANGE);
    EXPECT_EQ(convertpaltorgb(&bare, pal), ERR_BITS);
    EXPECT_EQ(convertpaltorgb(rgb, rgb), ERR_BITS);
    EXPECT_EQ(convertpaltorgb(one, nullptr), ERR_BITS);
    EXPECT_EQ(convertpaltorgb(nullptr, one), ERR_RANGE);
}
