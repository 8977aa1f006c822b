#include <gtest/gtest.h>

#include "tests/process/plain_quantiser.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

// The palette is that of a median cut, then entry 0 again.
void expectConversion(TestImage& source, TestImage& destination, int colours, int mode) {
    const auto count = unsigned(colours);
    const Grid<Colour> picture = commonColours(source, destination);
    auto palette = plainMedianCut(picture, count);
    const std::size_t distinct = palette.size();
    palette.resize(count, palette[0]);
    const auto expected = bytesWith(destination, plainMatch(picture, palette, mode));
    const std::vector<RGBQUAD> before(destination->palette, destination->palette + 256);
    const auto what = testing::Message()
                      << describe(source, destination) << ", " << colours << " colours, mode " << mode;
    ASSERT_EQ(convertrgbtopalex(colours, source, destination, mode), 0) << what;
    ASSERT_EQ(paletteColours(destination.image, count), palette) << what;
    ASSERT_EQ(destination.bytes(), expected) << what;
    ASSERT_EQ(destination->palcolors, colours);
    ASSERT_EQ(destination->imgkind, 0u);
    for (unsigned i = 0; i < 256; i++)
        if (const RGBQUAD& entry = destination->palette[i]; i < distinct || i >= count) {
            const bool isOld = std::memcmp(&entry, &before[i], sizeof entry) == 0;
            ASSERT_TRUE(isOld || (i < distinct && entry.rgbReserved == before[i].rgbReserved)) << i << what;
        }
}

}  // namespace

TEST(ConvertRgbToPal, PaletteAndPixelsAreThoseOfThePlainMedianCutAndMatch) {
    Random random(301);
    for (int round = 0; round < 500; round++) {
        auto [source, destination] = Pair(random, 24, 8, 60, 40);
        destination->imgkind = 1;
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

TEST(ConvertPalToRgb, EveryPixelTakesItsPaletteSlot) {
    Random random(308);
    for (int round = 0; round < 300; round++) {
        const MemoryWatch watch;
        auto [source, destination] = Pair(random, 8, 24, 50, 12);
        source->palcolors = random.between(0, 256);
        const auto expected = bytesWith(destination, commonColours(source, destination), [](Colour c) {
            return c.blue | unsigned(c.green) << 8 | unsigned(c.red) << 16;
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
