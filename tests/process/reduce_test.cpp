#include <gtest/gtest.h>

#include "tests/process/plain_quantiser.h"

using namespace test;

namespace {

// The chosen palette, from the counts of the indices and the source's entries.
std::vector<Colour> plainChoice(std::vector<unsigned> counts, const std::vector<Colour>& entries,
                                unsigned wanted) {
    std::vector<unsigned> order;
    for (unsigned place = 0; place < 256; place++) {
        unsigned best = place ? order.back() : 0;
        unsigned most = 0;
        for (unsigned i = 0; i < 256; i++)
            if (counts[i] > most) most = counts[i], best = i;
        order.push_back(best);
        counts[best] = 0;
    }
    const int thresholds[] = {200, 190, 180, 170, 160, 150, 140, 130, 120, 110, 100, 95, 90, 85, 80, 75,
                              70,  65,  60,  55,  50,  45,  40,  35,  30,  25,  20,  15, 10, 5,  0};
    std::vector<Colour> chosen;
    for (const int t : thresholds) {
        chosen.assign(1, entries[order[0]]);
        for (unsigned k = 1; k < entries.size() && chosen.size() < wanted; k++) {
            const Colour c = entries[order[k]];
            bool apart = true;
            for (const Colour d : chosen)
                if (std::abs(c.red - d.red) + std::abs(c.green - d.green) + std::abs(c.blue - d.blue) <= t)
                    apart = false;
            if (apart) chosen.push_back(c);
        }
        if (chosen.size() == wanted) return chosen;
    }
    chosen.resize(wanted, chosen[0]);
    return chosen;
}

}  // namespace

TEST(ReduceColors, PaletteAndPixelsAreThoseOfThePlainChoiceAndMatch) {
    Random random(360);
    for (int round = 0; round < 500; round++) {
        TestImage source(1 + random.below(50), 1 + random.below(30), 8);
        TestImage destination(1 + random.below(50), 1 + random.below(30), 8);
        source.randomise(random);
        paintPalette(source, random);
        destination.randomise(random);
        const int sourceColours = source->palcolors = random.oneIn(2) ? 256 : random.between(2, 256);
        const unsigned used = 1 + random.below(static_cast<unsigned>(sourceColours));
        for (unsigned i = 0; i < source->header->biSizeImage; i++)
            source->bits[i] = static_cast<std::uint8_t>(source->bits[i] % used);
        if (random.oneIn(2)) source.randomArea(random), destination.randomArea(random);
        const int wanted = destination->palcolors = random.between(2, std::min(sourceColours, 255));
        const int mode = random.between(0, 3);

        std::vector<unsigned> counts(256);
        for (int y = 0; y < source.areaHeight(); y++)
            for (int x = 0; x < source.areaWidth(); x++)
                counts[source.pixel(static_cast<int>(source->left) + x, static_cast<int>(source->top) + y)]++;
        std::vector<Colour> entries;
        for (unsigned i = 0; i < static_cast<unsigned>(sourceColours); i++)
            entries.push_back(paletteColour(source.image, i));
        const auto palette = plainChoice(counts, entries, static_cast<unsigned>(wanted));
        const auto expected =
            bytesWith(destination, plainMatch(commonColours(source, destination), palette, mode));
        ASSERT_EQ(reduceimagecolors(source, destination, mode), 0);
        const std::string what = describe(source, destination) + ", " + std::to_string(sourceColours) +
                                 " to " + std::to_string(wanted) + " colours, mode " + std::to_string(mode);
        for (std::size_t i = 0; i < palette.size(); i++)
            ASSERT_EQ(paletteColour(destination.image, static_cast<unsigned>(i)), palette[i])
                << "entry " << i << ", " << what;
        ASSERT_EQ(destination.bytes(), expected) << what;
        ASSERT_EQ(destination->palcolors, wanted);
        ASSERT_EQ(destination->imgkind, 0u);
    }
}

TEST(ReduceColors, ReportsTheFirstThingThatIsWrongAndWritesNothing) {
    TestImage source(6, 6, 8), to(6, 6, 8), rgb(6, 6, 24), one(6, 6, 1);
    Random random(361);
    source.randomisePalette(random);
    const auto with = [](imgdes image, int colours, bool palette = true) {
        image.palcolors = colours;
        if (!palette) image.palette = nullptr;
        return image;
    };
    imgdes full = with(to.image, 256), single = with(to.image, 1), some = with(to.image, 20);
    imgdes bare = with(to.image, 20, false), few = with(source.image, 19);
    imgdes bareSource = with(source.image, 256, false), negative = with(to.image, -3);
    struct Case {
        imgdes *source, *destination;
        int expected;
    } const cases[] = {
        {source, &full, ERR_RANGE},  {source, &single, ERR_RANGE}, {source, &negative, ERR_RANGE},
        {&few, &some, ERR_RANGE},    {source, &bare, ERR_RANGE},   {&bareSource, &some, ERR_RANGE},
        {rgb, &bare, ERR_BITS},      {source, rgb, ERR_BITS},      {one, &full, ERR_BITS},
        {nullptr, &some, ERR_RANGE}, {source, nullptr, ERR_RANGE},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(reduceimagecolors(c.source, c.destination, 7), c.expected) << "case " << &c - cases;
        EXPECT_EQ(isgrayscaleimage(to), 1);
    }
    // A bad mode is noticed by the mapping, when the palette is already written.
    EXPECT_EQ(reduceimagecolors(source, &some, 4), ERR_ARGUMENT);
    EXPECT_EQ(some.imgkind, 0u);
    EXPECT_EQ(isgrayscaleimage(to), 0);
}
