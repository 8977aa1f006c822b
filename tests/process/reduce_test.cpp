#include <numeric>

#include "tests/process/plain_quantiser.h"

using namespace test;

namespace {

// The chosen palette, from the pixels and the source's entries: the most frequent first, as long as they are
// apart from those before; with the largest threshold that leaves enough.
std::vector<unsigned> plainChoice(const Grid& pixels, const std::vector<unsigned>& entries, unsigned wanted) {
    std::vector<unsigned> counts(256), order(256);
    for (const unsigned pixel : pixels.pixels) counts[pixel]++;
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](auto a, auto b) { return counts[a] > counts[b]; });
    for (unsigned i = 1; i < 256; i++)  // the last one met stands for all that are not
        if (counts[order[i]] == 0) order[i] = order[i - 1];
    const auto distance = [](unsigned a, unsigned b) {
        int sum = 0;
        for (int c = 0; c < 3; c++) sum += std::abs(channel(a, c) - channel(b, c));
        return sum;
    };
    std::vector<unsigned> chosen;
    for (int threshold = 200; threshold >= 0; threshold -= threshold > 100 ? 10 : 5) {
        chosen.assign(1, entries[order[0]]);
        for (unsigned k = 1; k < entries.size() && chosen.size() < wanted; k++) {
            const unsigned colour = entries[order[k]];
            if (std::none_of(chosen.begin(), chosen.end(),
                             [&](unsigned other) { return distance(colour, other) <= threshold; }))
                chosen.push_back(colour);
        }
        if (chosen.size() == wanted) break;
    }
    chosen.resize(wanted, chosen[0]);
    return chosen;
}

}  // namespace

TEST(ReduceColors, PaletteAndPixelsAreThoseOfThePlainChoiceAndMatch) {
    Random random(360);
    for (int round = 0; round < 500; round++) {
        Pair pair(random, 8, 8, 50, 30);
        TestImage& source = pair.source;
        const int colours = source->palcolors = random.oneIn(2) ? 256 : random.between(2, 256);
        const int wanted = pair.destination->palcolors = random.between(2, std::min(colours, 255));
        const int used = random.between(1, colours), mode = random.between(0, 3);
        for (unsigned i = 0; i < source->header->biSizeImage; i++)
            source->bits[i] = std::uint8_t(source->bits[i] % used);
        const auto palette = plainChoice(areaPixels(source, source.areaWidth(), source.areaHeight()),
                                         paletteColours(source.image, unsigned(colours)), unsigned(wanted));
        const auto run = [&](imgdes* s, imgdes* d) { return reduceimagecolors(s, d, mode); };
        ASSERT_TRUE(pair.becomes(run, plainMatch(pair.colours(), palette, mode)))
            << colours << " to " << wanted << " colours, mode " << mode;
        ASSERT_EQ(paletteColours(pair.destination.image, unsigned(wanted)), palette);
        ASSERT_EQ(pair.destination->palcolors, wanted);
        ASSERT_EQ(pair.destination->imgkind, 0u);
    }
}
