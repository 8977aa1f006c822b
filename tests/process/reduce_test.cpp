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
        auto [source, destination] = Pair(random, 8, 8, 50, 30);
        const int sourceColours = source->palcolors = random.oneIn(2) ? 256 : random.between(2, 256);
        const unsigned used = 1 + random.below(unsigned(sourceColours));
        for (unsigned i = 0; i < source->header->biSizeImage; i++)
            source->bits[i] = std::uint8_t(source->bits[i] % used);
        const int wanted = destination->palcolors = random.between(2, std::min(sourceColours, 255));
        const int mode = random.between(0, 3);

        std::vector<unsigned> counts(256);
        for (int y = 0; y < source.areaHeight(); y++)
            for (int x = 0; x < source.areaWidth(); x++) counts[areaPixel(source, x, y)]++;
        const auto entries = paletteColours(source.image, unsigned(sourceColours));
        const auto palette = plainChoice(counts, entries, unsigned(wanted));
        const auto expected =
            bytesWith(destination, plainMatch(commonColours(source, destination), palette, mode));
        ASSERT_EQ(reduceimagecolors(source, destination, mode), 0);
        const std::string what = describe(source, destination) + ", " + std::to_string(sourceColours) +
                                 " to " + std::to_string(wanted) + " colours, mode " + std::to_string(mode);
        ASSERT_EQ(paletteColours(destination.image, unsigned(wanted)), palette) << what;
        ASSERT_EQ(destination.bytes(), expected) << what;
        ASSERT_EQ(destination->palcolors, wanted);
        ASSERT_EQ(destination->imgkind, 0u);
    }
}
