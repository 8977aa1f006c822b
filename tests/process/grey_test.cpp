#include <gtest/gtest.h>

#include <array>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

unsigned weighted(Colour c) {
    return (30u * c.red + 59u * c.green + 11u * c.blue) / 100u;
}

}  // namespace

TEST(ColorToGray, EveryColourOfACoarseCubeHasItsWeightedLevel) {
    // 64 x 64 x 64 colours and all of 0 to 255 on each axis, at every offset of a vector loop.
    TestImage source(519, 512, 24), destination(519, 512, 8);
    for (int y = 0; y < 512; y++)
        for (int x = 0; x < 519; x++) {
            const unsigned n = static_cast<unsigned>(y * 519 + x);
            source.setPixel(x, y, n * 0x010503u * 4 + n / 64);
        }
    ASSERT_EQ(colortogray(source, destination), 0);
    for (int y = 0; y < 512; y++)
        for (int x = 0; x < 519; x++)
            ASSERT_EQ(destination.pixel(x, y), weighted(colourAt(source, x, y))) << x << "," << y;
}

TEST(ColorToGray, RowsOfAnyWidthAndPlaceAreConverted) {
    Random random(340);
    for (int round = 0; round < 600; round++) {
        const MemoryWatch watch;
        const bool rgb = random.below(4) > 0;
        TestImage source(1 + random.below(120), 1 + random.below(5), rgb ? 24 : 8);
        TestImage destination(1 + random.below(120), 1 + random.below(5), 8);
        source.randomise(random);
        paintPalette(destination, random);
        destination.randomise(random);
        if (!rgb) paintPalette(source, random);
        source->imgkind = random.below(4);
        const int known = rgb ? 256 : source->palcolors = random.between(0, 300);
        source.randomArea(random);
        destination.randomArea(random);
        Grid<unsigned> grey(commonWidth(source, destination), commonHeight(source, destination));
        for (int y = 0; y < grey.height; y++)
            for (int x = 0; x < grey.width; x++) {
                const int px = static_cast<int>(source->left) + x, py = static_cast<int>(source->top) + y;
                const bool isKnown = rgb || static_cast<int>(source.pixel(px, py)) < known;
                grey.at(x, y) = isKnown ? weighted(colourAt(source, px, py)) : 0;
            }
        const auto expected = bytesWith(destination, grey);
        const imgdes before = source.image;
        ASSERT_EQ(colortogray(source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected)
            << describe(source, destination) << ", " << known << " known";
        ASSERT_EQ(std::memcmp(&before, &source.image, sizeof before), 0);
        ASSERT_EQ(isgrayscaleimage(destination), 1);
        ASSERT_EQ(destination->imgkind & 1, 1u);
        source->palcolors = rgb ? 0 : 256;
    }
}

TEST(ColorToGray, ReportsTheFirstThingThatIsWrongAndWritesNothing) {
    TestImage rgb(6, 6, 24), pal(6, 6, 8), one(6, 6, 1);
    Random random(341);
    pal.randomisePalette(random);
    imgdes bare = pal.image, outside = pal.image;
    bare.palette = nullptr;
    outside.bottom = 6;
    EXPECT_EQ(colortogray(pal, rgb), ERR_BITS);
    EXPECT_EQ(colortogray(one, rgb), ERR_BITS);
    EXPECT_EQ(colortogray(rgb, one), ERR_BITS);
    EXPECT_EQ(colortogray(rgb, &outside), ERR_RANGE);
    EXPECT_EQ(colortogray(&outside, rgb), ERR_RANGE);
    EXPECT_EQ(colortogray(&bare, pal), ERR_RANGE);
    EXPECT_EQ(colortogray(nullptr, pal), ERR_RANGE);
    EXPECT_EQ(pal->imgkind, 0u);
    EXPECT_EQ(colortogray(pal, pal), 0) << "in place";
    EXPECT_EQ(pal->imgkind, 1u);
}

TEST(Gray16, HighBytesAreTakenAndBytesRepeated) {
    Random random(342);
    for (int round = 0; round < 400; round++) {
        const MemoryWatch watch;
        TestImage wide(1 + random.below(90), 1 + random.below(5), 16);
        TestImage narrow(1 + random.below(90), 1 + random.below(5), 8);
        wide.randomise(random);
        narrow.randomise(random);
        paintPalette(narrow, random);
        const std::vector<std::uint8_t> entries(reinterpret_cast<std::uint8_t*>(narrow->palette),
                                                reinterpret_cast<std::uint8_t*>(narrow->palette + 256));
        wide.randomArea(random);
        narrow.randomArea(random);
        const bool narrowing = random.oneIn(2);
        TestImage &source = narrowing ? wide : narrow, &destination = narrowing ? narrow : wide;
        const auto expected = bytesWith(destination, commonPixels(source, destination),
                                        [&](unsigned v) { return narrowing ? v >> 8 : v * 257; });
        ASSERT_EQ((narrowing ? convertgray16to8 : convertgray8to16)(source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
        ASSERT_EQ(std::memcmp(entries.data(), narrow->palette, 1024), 0);
    }
}

TEST(Gray16, OneWrongBitCountPassesAndMemoryIsReadAndWrittenInARow) {
    // The rule in bytes: from left * whole bytes per pixel, over the rows' ends if need be, never off the
    // image.
    Random random(343);
    for (int round = 0; round < 2000; round++) {
        const MemoryWatch watch;
        const std::array depths = {1u, 8u, 16u, 24u};
        const bool narrowing = random.oneIn(2);
        const unsigned wanted = narrowing ? 16 : 8, made = narrowing ? 8 : 16;
        TestImage source(1 + random.below(40), 1 + random.below(5), depths[random.below(4)]);
        TestImage destination(1 + random.below(40), 1 + random.below(5), depths[random.below(4)]);
        source.randomise(random);
        destination.randomise(random);
        source.randomArea(random);
        destination.randomArea(random);
        const bool refused = source.bitsPerPixel() != wanted && destination.bitsPerPixel() != made;
        const auto from = source.bytes();
        auto expected = destination.bytes();
        const auto start = [](const TestImage& image, int y) {
            const unsigned above = image.image.top + static_cast<unsigned>(y);
            return image.image.rowbytes * (static_cast<unsigned>(image.height()) - 1 - above) +
                   image.image.left * (image.bitsPerPixel() / 8);
        };
        for (int y = 0; y < commonHeight(source, destination) && !refused; y++)
            for (unsigned x = 0, n = static_cast<unsigned>(commonWidth(source, destination)); x < n; x++) {
                const std::size_t in = start(source, y) + x * (narrowing ? 2 : 1);
                const std::size_t out = start(destination, y) + x * (narrowing ? 1 : 2);
                if (in + (narrowing ? 2 : 1) > from.size() || out + (narrowing ? 1 : 2) > expected.size())
                    break;
                expected[out] = from[in + (narrowing ? 1 : 0)];
                if (!narrowing) expected[out + 1] = from[in];
            }
        ASSERT_EQ((narrowing ? convertgray16to8 : convertgray8to16)(source, destination),
                  refused ? ERR_BITS : 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
    }
}
