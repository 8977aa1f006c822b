#include <array>

#include "tests/process/pictures.h"

using namespace test;

namespace {

int weighted(unsigned colour) {
    return (11 * channel(colour, 0) + 59 * channel(colour, 1) + 30 * channel(colour, 2)) / 100;
}

}  // namespace

// 64 x 64 x 64 colours and all of 0 to 255 on each axis, at every offset of a vector loop.
TEST(ColorToGray, EveryColourOfACoarseCubeHasItsWeightedLevel) {
    TestImage source(519, 512, 24), destination(519, 512, 8);
    for (unsigned n = 0; n < 519 * 512; n++)
        source.setPixel(int(n % 519), int(n / 519), n * 0x010503u * 4 + n / 64);
    ASSERT_EQ(colortogray(source, destination), 0);
    for (int n = 0; n < 519 * 512; n++)
        ASSERT_EQ(int(destination.pixel(n % 519, n / 519)), weighted(source.pixel(n % 519, n / 519))) << n;
}

TEST(ColorToGray, RowsOfAnyWidthAndPlaceAreConverted) {
    Random random(340);
    for (int round = 0; round < 600; round++) {
        const bool isRgb = random.below(4) > 0;
        Pair pair(random, isRgb ? 24 : 8, 8, 120, 5);
        pair.source->imgkind = random.below(4);
        const unsigned known = isRgb ? 1 << 24 : random.below(301);
        if (!isRgb) pair.source->palcolors = int(known);
        const Grid pixels = pair.pixels(), colours = pair.colours();
        const Grid grey(pair.width(), pair.height(), [&](int x, int y) {
            return pixels.at(x, y) < known ? weighted(colours.at(x, y)) : 0;
        });
        ASSERT_TRUE(pair.becomes(colortogray, grey)) << known << " known";
        ASSERT_EQ(isgrayscaleimage(pair.destination), 1);
        ASSERT_EQ(pair.destination->imgkind & 1, 1u);
    }
}

// The rule in bytes: from left * whole bytes per pixel, over the rows' ends if need be, never off the image.
TEST(Gray16, OneWrongBitCountPassesAndMemoryIsReadAndWrittenInARow) {
    Random random(343);
    for (int round = 0; round < 2000; round++) {
        constexpr unsigned depths[] = {1, 8, 16, 24};
        Pair pair(random, depths[random.below(4)], depths[random.below(4)], 90, 5);
        TestImage &source = pair.source, &destination = pair.destination;
        const bool narrowing = random.oneIn(2);
        const unsigned wanted = narrowing ? 16 : 8, made = narrowing ? 8 : 16;
        const bool isRefused = source.bitsPerPixel() != wanted && destination.bitsPerPixel() != made;
        const auto from = source.bytes();
        auto expected = destination.bytes();
        const auto start = [](const TestImage& image, int y) {
            return std::size_t(image.row(int(image.image.top) + y) - image.image.bits) +
                   image.image.left * (image.bitsPerPixel() / 8);
        };
        for (int y = 0; y < pair.height() && !isRefused; y++)
            for (unsigned x = 0; x < unsigned(pair.width()); x++) {
                const std::size_t in = start(source, y) + x * wanted / 8;
                const std::size_t out = start(destination, y) + x * made / 8;
                if (in + wanted / 8 > from.size() || out + made / 8 > expected.size()) break;
                expected[out] = from[in + narrowing];
                if (!narrowing) expected[out + 1] = from[in];
            }
        const auto entries =
            destination.bitsPerPixel() == 8 ? paletteBytes(destination.image) : std::vector<std::uint8_t>();
        ASSERT_EQ((narrowing ? convertgray16to8 : convertgray8to16)(source, destination),
                  isRefused ? ERR_BITS : 0);
        ASSERT_EQ(destination.bytes(), expected) << source.describe() << " to " << destination.describe();
        ASSERT_TRUE(entries.empty() || paletteBytes(destination.image) == entries);
    }
}
