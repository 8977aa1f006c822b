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
            const unsigned n = unsigned(y * 519 + x);
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
        auto [source, destination] = Pair(random, rgb ? 24 : 8, 8, 120, 5);
        source->imgkind = random.below(4);
        const int known = rgb ? 256 : source->palcolors = random.between(0, 300);
        const Grid<Colour> colours = commonColours(source, destination);
        Grid<unsigned> grey(colours.width, colours.height);
        for (int y = 0; y < grey.height; y++)
            for (int x = 0; x < grey.width; x++) {
                const bool isKnown = rgb || int(areaPixel(source, x, y)) < known;
                grey.at(x, y) = isKnown ? weighted(colours.at(x, y)) : 0;
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

TEST(Gray16, OneWrongBitCountPassesAndMemoryIsReadAndWrittenInARow) {
    // The rule in bytes: from left * whole bytes per pixel, over the rows' ends if need be, never off the
    // image.
    Random random(343);
    for (int round = 0; round < 2000; round++) {
        const MemoryWatch watch;
        const std::array depths = {1u, 8u, 16u, 24u};
        const bool narrowing = random.oneIn(2);
        const unsigned wanted = narrowing ? 16 : 8, made = narrowing ? 8 : 16;
        auto [source, destination] = Pair(random, depths[random.below(4)], depths[random.below(4)], 90, 5);
        const bool isIndexed = destination.bitsPerPixel() == 8;
        const auto entries = isIndexed ? paletteBytes(destination.image) : std::vector<std::uint8_t>();
        const bool refused = source.bitsPerPixel() != wanted && destination.bitsPerPixel() != made;
        const auto from = source.bytes();
        auto expected = destination.bytes();
        const auto start = [](const TestImage& image, int y) {
            const unsigned above = image.image.top + unsigned(y);
            return image.image.rowbytes * (unsigned(image.height()) - 1 - above) +
                   image.image.left * (image.bitsPerPixel() / 8);
        };
        for (int y = 0; y < commonHeight(source, destination) && !refused; y++)
            for (unsigned x = 0, n = unsigned(commonWidth(source, destination)); x < n; x++) {
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
        ASSERT_TRUE(!isIndexed || paletteBytes(destination.image) == entries);
    }
}
