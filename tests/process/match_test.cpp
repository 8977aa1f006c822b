#include <gtest/gtest.h>

#include "tests/process/plain_quantiser.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

std::vector<Colour> paletteOf(const imgdes& image) {
    std::vector<Colour> palette;
    for (int i = 0; i < image.palcolors; i++)
        palette.push_back(paletteColour(image, static_cast<unsigned>(i)));
    return palette;
}

}  // namespace

TEST(MatchColors, PixelsGetTheIndexOfThePlainMatch) {
    Random random(320);
    for (int round = 0; round < 1200; round++) {
        const MemoryWatch watch;
        const unsigned bits = random.oneIn(3) ? 8 : 24;
        TestImage source(1 + random.below(60), 1 + random.below(30), bits);
        TestImage destination(1 + random.below(60), 1 + random.below(30), 8);
        paint(source, random);
        if (bits == 8) paintPalette(source, random);
        destination.randomise(random);
        paintPalette(destination, random);
        destination->palcolors = random.oneIn(3) ? 256 : random.between(1, 40);
        if (random.oneIn(2)) source.randomArea(random), destination.randomArea(random);
        const int mode = random.between(0, 3);
        const auto palette = paletteOf(destination.image);
        const auto expected =
            bytesWith(destination, plainMatch(commonColours(source, destination), palette, mode));
        const std::vector<std::uint8_t> entries(
            reinterpret_cast<const std::uint8_t*>(destination->palette),
            reinterpret_cast<const std::uint8_t*>(destination->palette + 256));
        const UINT kind = destination->imgkind = random.below(2);
        ASSERT_EQ(matchcolorimageex(source, destination, mode), 0);
        ASSERT_EQ(destination.bytes(), expected)
            << describe(source, destination) << ", mode " << mode << ", " << palette.size() << " colours";
        ASSERT_EQ(std::memcmp(entries.data(), destination->palette, entries.size()), 0);
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
        to.top = random.below(std::min(image->top + 2, static_cast<UINT>(image.height())));
        to.bottom = std::min(to.top + image->bottom - image->top, static_cast<UINT>(image.height()) - 1);
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
            Colour c = {0, 0, 0};
            for (unsigned level = 0; level < depth; level++)
                c.red |= 0x80 >> level, c.green |= 0x80 >> level, c.blue |= 0x80 >> level;
            const unsigned bit = 0x80 >> depth;
            if (child & 4) c.red = static_cast<std::uint8_t>(c.red | bit);
            if (child & 2) c.green = static_cast<std::uint8_t>(c.green | bit);
            if (child & 1) c.blue = static_cast<std::uint8_t>(c.blue | bit);
            palette.push_back(c);
        }
    for (std::size_t i = 0; i < palette.size(); i++)
        destination->palette[i] = {palette[i].blue, palette[i].green, palette[i].red, 0};
    destination->palcolors = static_cast<int>(palette.size());
    Random random(323);
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) source.setPixel(x, y, random.next() & 0x7F7F7F);
    const auto expected = bytesWith(destination, plainMatch(commonColours(source, destination), palette, 0));
    ASSERT_EQ(matchcolorimageex(source, destination, 0), 0);
    EXPECT_EQ(destination.bytes(), expected);
}

TEST(MatchColors, MatchColorImageIsOctreeWithDiffusion) {
    TestImage source(40, 30, 24), a(40, 30, 8), b(40, 30, 8);
    Random random(324);
    source.randomise(random);
    paintPalette(a, random);
    std::memcpy(b->palette, a->palette, 1024);
    ASSERT_EQ(matchcolorimage(source, a), 0);
    ASSERT_EQ(matchcolorimageex(source, b, 1), 0);
    EXPECT_EQ(a.bytes(), b.bytes());
}

TEST(MatchColors, ReportsTheFirstThingThatIsWrongAndWritesNothing) {
    TestImage rgb(6, 6, 24), pal(6, 6, 8), one(6, 6, 1), to(6, 6, 8);
    Random random(325);
    to.randomise(random);
    const auto before = to.bytes();
    const auto without = [](imgdes image, bool palette, int colours) {
        if (!palette) image.palette = nullptr;
        image.palcolors = colours;
        return image;
    };
    imgdes bare = without(to.image, false, 256), none = without(to.image, true, 0);
    imgdes negative = without(to.image, true, -1), many = without(to.image, true, 257);
    imgdes bareSource = without(pal.image, false, 256), noneSource = without(pal.image, true, 0);
    struct Case {
        imgdes *source, *destination;
        int mode, expected;
    } const cases[] = {
        {rgb, to, 4, ERR_ARGUMENT},      {rgb, to, -1, ERR_ARGUMENT},     {rgb, &bare, 4, ERR_RANGE},
        {rgb, &none, 4, ERR_RANGE},      {rgb, &negative, 0, ERR_RANGE},  {rgb, &many, 0, ERR_RANGE},
        {&bareSource, to, 9, ERR_RANGE}, {&noneSource, to, 0, ERR_RANGE}, {one, to, 0, ERR_BITS},
        {&bareSource, rgb, 0, ERR_BITS}, {rgb, one, 0, ERR_BITS},         {nullptr, to, 0, ERR_RANGE},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(matchcolorimageex(c.source, c.destination, c.mode), c.expected) << "case " << &c - cases;
        EXPECT_EQ(to.bytes(), before);
    }
}
