#include <gtest/gtest.h>

#include "tests/process/plain_quantiser.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

std::vector<Colour> paletteOf(const imgdes& image) {
    return paletteColours(image, unsigned(image.palcolors));
}

}  // namespace

TEST(MatchColors, PixelsGetTheIndexOfThePlainMatch) {
    Random random(320);
    for (int round = 0; round < 1200; round++) {
        const MemoryWatch watch;
        const unsigned bits = random.oneIn(3) ? 8 : 24;
        auto [source, destination] = Pair(random, bits, 8, 60, 30);
        destination->palcolors = random.oneIn(3) ? 256 : random.between(1, 40);
        const int mode = random.between(0, 3);
        const auto palette = paletteOf(destination.image);
        const auto expected =
            bytesWith(destination, plainMatch(commonColours(source, destination), palette, mode));
        const auto entries = paletteBytes(destination.image);
        const UINT kind = destination->imgkind = random.below(2);
        const bool isShort = mode == 1 && random.oneIn(2);
        ASSERT_EQ(
            isShort ? matchcolorimage(source, destination) : matchcolorimageex(source, destination, mode), 0);
        ASSERT_EQ(destination.bytes(), expected)
            << describe(source, destination) << ", mode " << mode << ", " << palette.size() << " colours";
        ASSERT_EQ(paletteBytes(destination.image), entries);
        ASSERT_EQ(destination->imgkind, kind);
    }
}

TEST(MatchColors, AnAreaMayOverlapItsSourceUpToOneRowFurtherDown) {
    // Each row is read before the row above it is written, and no earlier.
    Random random(327);
    for (int round = 0; round < 400; round++) {
        TestImage image(20 + random.below(40), 6 + random.below(20), 8);
        image.randomise(random);
        paintPalette(image, random);
        image->palcolors = random.between(1, 60);
        image.randomArea(random);
        imgdes to = image.image;
        image.randomArea(random);
        to.top = random.below(std::min(image->top + 2, UINT(image.height())));
        to.bottom = std::min(to.top + image->bottom - image->top, UINT(image.height()) - 1);
        const int mode = random.between(0, 3);
        imgdes from = image.image;
        image.image = to;
        const auto picture = coloursAt(image, from, to);
        const auto expected = bytesWith(image, plainMatch(picture, paletteOf(to), mode));
        ASSERT_EQ(matchcolorimageex(&from, &to, mode), 0);
        ASSERT_EQ(image.bytes(), expected) << image.describe() << ", mode " << mode;
    }
}

TEST(MatchColors, AFullOctreeIsSearchedToItsLastLeaf) {
    // 29 leaves under seven children of the root, the eighth missing: the deepest pile of nodes there can be.
    TestImage source(16, 16, 24), destination(16, 16, 8);
    std::vector<Colour> palette;
    for (unsigned depth = 0; depth < 4; depth++)
        for (unsigned child = 0; child < 8; child++) {
            if (depth == 0 && child == 0) continue;
            const unsigned ones = 0xF00 >> depth & 0xFF, bit = 0x80 >> depth;
            const auto part = [&](unsigned mask) { return std::uint8_t(ones | (child & mask ? bit : 0)); };
            palette.push_back({part(1), part(2), part(4)});
        }
    for (std::size_t i = 0; i < palette.size(); i++)
        destination->palette[i] = {palette[i].blue, palette[i].green, palette[i].red, 0};
    destination->palcolors = int(palette.size());
    Random random(323);
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) source.setPixel(x, y, random.next() & 0x7F7F7F);
    const auto expected = bytesWith(destination, plainMatch(commonColours(source, destination), palette, 0));
    ASSERT_EQ(matchcolorimageex(source, destination, 0), 0);
    EXPECT_EQ(destination.bytes(), expected);
}
