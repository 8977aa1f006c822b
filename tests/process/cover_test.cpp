// Overlays against plain versions.
#include <gtest/gtest.h>

#include <array>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

using Bytes = std::vector<std::uint8_t>;

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

struct Layers {
    TestImage under, over, result;
    int width, height;

    Layers(Random& random, unsigned bits)
        : under(1 + random.below(40), 1 + random.below(30), bits),
          over(1 + random.below(40), 1 + random.below(30), bits),
          result(1 + random.below(40), 1 + random.below(30), bits) {
        for (TestImage* image : {&under, &over, &result}) {
            image->randomise(random);
            image->randomArea(random);
        }
        // Few values, so that clear colours and levels are met.
        const bool isPlain = random.oneIn(2);
        for (unsigned i = 0; isPlain && i < over->header->biSizeImage; i++) over->bits[i] &= 1;
        width = std::min(commonWidth(under, over), result.areaWidth());
        height = std::min(commonHeight(under, over), result.areaHeight());
    }
    std::string describe() const {
        return under.describe() + ", " + over.describe() + ", " + result.describe();
    }
};

int anyArgument(const Overlay& overlay, Random& random) {
    if (overlay.most == 255) return random.oneIn(3) ? int(random.below(3)) : random.byte();
    return int(random.below(2) | random.below(2) << 8 | random.below(2) << 16);
}

}  // namespace

class Overlays : public testing::TestWithParam<Overlay> {};
INSTANTIATE_TEST_SUITE_P(All, Overlays, testing::ValuesIn(overlays),
                         [](const auto& info) { return info.param.name; });

TEST_P(Overlays, AgreeWithThePlainVersionOverRandomAreas) {
    Random random(91);
    for (int round = 0; round < 2000; round++) {
        const MemoryWatch watch;
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        Layers layers(random, bits);
        const int argument = anyArgument(GetParam(), random);
        Grid<unsigned> merged(layers.width, layers.height);
        for (int y = 0; y < layers.height; y++)
            for (int x = 0; x < layers.width; x++) {
                const unsigned over = areaPixel(layers.over, x, y);
                const bool stays = bits == 8 ? GetParam().staysByte(argument, int(over))
                                             : GetParam().staysColour(argument, int(over & 255),
                                                                      int(over >> 8 & 255), int(over >> 16));
                merged.at(x, y) = stays ? over : areaPixel(layers.under, x, y);
            }
        // The result may also be one of the layers.
        TestImage* const results[] = {&layers.result, &layers.under, &layers.over};
        TestImage& result = *results[random.oneIn(4) ? 1 + random.below(2) : 0];
        if (&result != &layers.result && (layers.width != commonWidth(layers.under, layers.over) ||
                                          layers.height != commonHeight(layers.under, layers.over)))
            continue;
        const auto expected = bytesWith(result, merged);
        ASSERT_EQ(GetParam().run(argument, layers.under, layers.over, result), 0);
        ASSERT_EQ(result.bytes(), expected) << layers.describe() << " argument " << argument;
    }
}

TEST_P(Overlays, PaletteImagesAreDecidedByteByByteAndTheWholeResultGetsANewPalette) {
    Random random(92);
    for (int round = 0; round < 200; round++) {
        Layers layers(random, 8);
        paintPalette(layers.under, random);
        paintPalette(layers.over, random);
        paintPalette(layers.result, random);
        layers.over->imgkind = random.below(2);  // only the lower image's mark counts
        layers.result->imgkind = 4 + random.below(2);
        TestImage colours(unsigned(layers.result.width()), unsigned(layers.result.height()), 24);
        const imgdes area = layers.result.image;
        setimagearea(layers.result, 0, 0, UINT(layers.result.width() - 1), UINT(layers.result.height() - 1));
        TestImage expected(layers.result);
        ASSERT_EQ(convertpaltorgb(layers.result, colours), 0);
        layers.result.image = area;
        const int argument = anyArgument(GetParam(), random);
        for (int y = 0; y < layers.height; y++)
            for (int x = 0; x < layers.width; x++) {
                const auto colour = [&](const TestImage& image) {
                    const Colour c = paletteColour(image.image, areaPixel(image, x, y));
                    return std::array{c.blue, c.green, c.red};
                };
                const auto under = colour(layers.under), over = colour(layers.over);
                unsigned pixel = 0;
                for (unsigned c = 0; c < 3; c++)
                    pixel |= unsigned(GetParam().staysByte(argument, over[c]) ? over[c] : under[c]) << 8 * c;
                colours.setPixel(int(layers.result->left) + x, int(layers.result->top) + y, pixel);
            }
        ASSERT_EQ(convertrgbtopalex(256, colours, expected, 2), 0);
        ASSERT_EQ(GetParam().run(argument, layers.under, layers.over, layers.result), 0);
        ASSERT_EQ(layers.result.bytes(), expected.bytes()) << layers.describe() << " argument " << argument;
        ASSERT_EQ(paletteColours(layers.result.image, 256), paletteColours(expected.image, 256));
        EXPECT_EQ(layers.result->imgkind, 4u);
        EXPECT_EQ(layers.result->right, area.right);
    }
}
