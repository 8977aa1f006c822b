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
    // A pixel of a layer's part of the common area.
    static unsigned at(const TestImage& image, int x, int y) {
        return image.pixel(int(image.image.left) + x, int(image.image.top) + y);
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
                const unsigned over = Layers::at(layers.over, x, y);
                const bool stays = bits == 8 ? GetParam().staysByte(argument, int(over))
                                             : GetParam().staysColour(argument, int(over & 255),
                                                                      int(over >> 8 & 255), int(over >> 16));
                merged.at(x, y) = stays ? over : Layers::at(layers.under, x, y);
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
        imgdes whole = layers.result.image;
        setimagearea(&whole, 0, 0, UINT(layers.result.width() - 1), UINT(layers.result.height() - 1));
        ASSERT_EQ(convertpaltorgb(&whole, colours), 0);
        const int argument = anyArgument(GetParam(), random);
        for (int y = 0; y < layers.height; y++)
            for (int x = 0; x < layers.width; x++) {
                const auto colour = [&](const TestImage& image) {
                    const Colour c = paletteColour(image.image, Layers::at(image, x, y));
                    return std::array{c.blue, c.green, c.red};
                };
                const auto under = colour(layers.under), over = colour(layers.over);
                unsigned pixel = 0;
                for (unsigned c = 0; c < 3; c++)
                    pixel |= unsigned(GetParam().staysByte(argument, over[c]) ? over[c] : under[c]) << 8 * c;
                colours.setPixel(int(layers.result->left) + x, int(layers.result->top) + y, pixel);
            }
        TestImage expected(unsigned(layers.result.width()), unsigned(layers.result.height()), 8);
        std::copy_n(layers.result->bits, layers.result->header->biSizeImage, expected->bits);
        ASSERT_EQ(convertrgbtopalex(256, colours, expected, 2), 0);
        const imgdes area = layers.result.image;
        ASSERT_EQ(GetParam().run(argument, layers.under, layers.over, layers.result), 0);
        ASSERT_EQ(layers.result.bytes(), expected.bytes()) << layers.describe() << " argument " << argument;
        for (unsigned i = 0; i < 256; i++)
            ASSERT_EQ(paletteColour(layers.result.image, i), paletteColour(expected.image, i));
        EXPECT_EQ(layers.result->imgkind, 4u);
        EXPECT_EQ(layers.result->right, area.right);
    }
}

TEST_P(Overlays, CheckInOrderAndTouchNothing) {
    TestImage grey(8, 8, 8), colour(8, 8, 24), bits(8, 8, 1);
    const auto run = GetParam().run;
    EXPECT_EQ(run(-1, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(run(GetParam().most + 1, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(run(GetParam().most, grey, grey, grey), 0);
    imgdes off = grey.image;
    off.right = 8;
    EXPECT_EQ(run(1, bits, &off, grey), ERR_BITS) << "under is checked first";
    EXPECT_EQ(run(1, grey, &off, bits), ERR_RANGE) << "over before result";
    EXPECT_EQ(run(1, grey, colour, &off), ERR_RANGE) << "result before the bit counts are compared";
    EXPECT_EQ(run(1, grey, colour, grey), ERR_BITS);
    EXPECT_EQ(run(1, grey, grey, colour), ERR_BITS);
    EXPECT_EQ(run(1, colour, colour, grey), ERR_BITS);
    imgdes bare = grey.image;
    bare.palette = nullptr;
    bare.imgkind = 0;
    TestImage palette(8, 8, 8);
    palette->imgkind = 0;
    EXPECT_EQ(run(1, &bare, grey, grey), ERR_RANGE);
    EXPECT_EQ(run(1, palette, &bare, grey), ERR_RANGE);
    EXPECT_EQ(run(1, palette, grey, &bare), ERR_RANGE);
}
