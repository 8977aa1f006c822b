// Overlays against plain versions.
#include "tests/process/plain_quantiser.h"

using namespace test;

namespace {

struct Overlay {
    const char* name;
    int(ORNAPI* run)(int, imgdes*, imgdes*, imgdes*);
    int most;  // of the argument
    bool (*staysByte)(int argument, int over);
    bool (*staysColour)(int argument, int b, int g, int r);
};

const Overlay overlays[] = {
    {"cover", cover, 255, [](int level, int over) { return over > level; },
     [](int level, int b, int g, int r) { return b + g + r > 3 * level; }},
    {"coverclear", coverclear, 0xFFFFFF, [](int clear, int over) { return over != clear % 256; },
     [](int clear, int b, int g, int r) { return b * 65536 + g * 256 + r != clear; }}};

}  // namespace

class Overlays : public testing::TestWithParam<Overlay> {};
INSTANTIATE_TEST_SUITE_P(All, Overlays, testing::ValuesIn(overlays),
                         [](const auto& info) { return info.param.name; });

// The result may also be one of the layers. Palette images are decided byte by byte even so, as colours, and
// the whole result gets a new palette; only the lower image's mark counts.
TEST_P(Overlays, AgreeWithThePlainVersionOverRandomAreas) {
    Random random(91);
    for (int round = 0; round < 2500; round++) {
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        const bool isInPalette = bits == 8 && random.oneIn(5);
        Pair pair(random, bits, bits, 40, 30);
        if (!isInPalette && random.oneIn(3)) pair.destination.image = pair.source.image;
        TestImage other(1 + random.below(40), 1 + random.below(30), bits), &result = pair.destination;
        paint(other, random);
        paintPalette(other, random);
        other.randomArea(random);
        const bool isUnder = random.oneIn(2);
        TestImage &under = isUnder ? pair.source : other, &over = isUnder ? other : pair.source;
        under->imgkind = !isInPalette, over->imgkind = random.below(2), result->imgkind = 4 + random.below(2);

        const int width = std::min(pair.width(), other.areaWidth());
        const int height = std::min(pair.height(), other.areaHeight());
        Grid below = areaPixels(under, width, height), above = areaPixels(over, width, height);
        if (isInPalette) below = coloursOf(under, below), above = coloursOf(over, above);
        const unsigned model = above.pixels[random.below(unsigned(above.pixels.size()))];
        const int limit = GetParam().most;
        const int argument = random.oneIn(4) ? random.between(0, limit)
                             : limit == 255  ? channel(model, 0)
                                             : int(byChannel([&](int c) { return channel(model, 2 - c); }));
        const Grid merged(width, height, [&](int x, int y) {
            const unsigned a = above.at(x, y), b = below.at(x, y);
            if (isInPalette)
                return byChannel(
                    [&](int c) { return channel(GetParam().staysByte(argument, channel(a, c)) ? a : b, c); });
            const bool stays =
                bits == 8 ? GetParam().staysByte(argument, int(a))
                          : GetParam().staysColour(argument, channel(a, 0), channel(a, 1), channel(a, 2));
            return stays ? a : b;
        });
        const auto run = [&](imgdes*, imgdes* d) { return GetParam().run(argument, under, over, d); };
        if (!isInPalette) {
            ASSERT_TRUE(pair.becomes(run, merged)) << "argument " << argument << " with " << other.describe();
            continue;
        }
        TestImage colours(unsigned(result.width()), unsigned(result.height()), 24);
        put(colours, coloursOf(result, wholePicture(result)));
        colours->left = result->left, colours->top = result->top;
        put(colours, merged);
        ASSERT_TRUE(becomesRequantised(pair, run, wholePicture(colours))) << "argument " << argument;
    }
}
