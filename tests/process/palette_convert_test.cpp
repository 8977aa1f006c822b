#include "tests/process/plain_quantiser.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

// The palette is that of a median cut, then entry 0 again.
void expectConversion(Pair& pair, int colours, int mode) {
    const Grid picture = pair.colours();
    auto palette = plainMedianCut(picture, unsigned(colours));
    const std::size_t distinct = palette.size();
    palette.resize(unsigned(colours), palette[0]);
    const std::vector<RGBQUAD> before(pair.destination->palette, pair.destination->palette + 256);
    const auto run = [&](imgdes* s, imgdes* d) { return convertrgbtopalex(colours, s, d, mode); };
    ASSERT_TRUE(pair.becomes(run, plainMatch(picture, palette, mode)))
        << colours << " colours, mode " << mode;
    ASSERT_EQ(paletteColours(pair.destination.image, unsigned(colours)), palette);
    ASSERT_EQ(pair.destination->palcolors, colours);
    ASSERT_EQ(pair.destination->imgkind, 0u);
    for (unsigned i = 0; i < 256; i++) {
        const RGBQUAD& entry = pair.destination->palette[i];
        ASSERT_TRUE(i >= distinct || entry.rgbReserved == before[i].rgbReserved) << i;
        const bool isOld = std::memcmp(&entry, &before[i], sizeof entry) == 0;
        ASSERT_TRUE(isOld || i < unsigned(colours)) << i;
    }
}

}  // namespace

TEST(ConvertRgbToPal, PaletteAndPixelsAreThoseOfThePlainMedianCutAndMatch) {
    Random random(301);
    for (int round = 0; round < 500; round++) {
        const unsigned side = round < 4 ? 1200 : 60;  // large pictures, too
        Pair pair(random, 24, 8, side, side);
        pair.destination->imgkind = 1;
        const int colours = random.oneIn(3) ? 256 : random.between(2, 40);
        ASSERT_NO_FATAL_FAILURE(expectConversion(pair, colours, round % 4));
    }
}

// One box holds 65534 pixels of level 31 and more of level 29: the mean is 30 only with a counter that stops
// at exactly 65534, and 29 if it counts a single pixel more.
TEST(ConvertRgbToPal, CountersStopAt65534) {
    TestImage source(370, 370, 24), destination(370, 370, 8);
    for (int n = 0; n < 370 * 370; n++)
        source.setPixel(n % 370, n / 370, n < 65534 ? 0xF8F8F8 : n < 65534 + 70000 ? 0xE8E8E8 : 0);
    ASSERT_EQ(convertrgbtopalex(2, source, destination, 2), 0);
    EXPECT_EQ(paletteColours(destination.image, 1)[0], 0xF7F7F7u);
}

TEST(ConvertPalToRgb, EveryPixelTakesItsPaletteSlot) {
    Random random(308);
    for (int round = 0; round < 300; round++) {
        Pair pair(random, 8, 24, 50, 12);
        pair.source->palcolors = random.between(0, 256);
        ASSERT_TRUE(pair.becomes(convertpaltorgb, pair.colours()));
        ASSERT_EQ(pair.destination->imgkind, 0u);
        ASSERT_EQ(pair.destination->palcolors, 0);
    }
}

// Four palette entries and 4 x 2 pixels: slots 4 and 5 are the pixel rows, all others do not exist.
TEST(ConvertPalToRgb, AShortPaletteIsReadIntoThePixelsButNotBehindThem) {
    const MemoryWatch watch;
    imgdes source = {};
    TestImage destination(4, 2, 24);
    const GuardedBytes block(sizeof(BITMAPINFOHEADER) + 4 * 4 + 8);
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    *header = {sizeof(BITMAPINFOHEADER), 4, 2, 1, 8, BI_RGB, 8, 0, 0, 4, 4};
    ASSERT_EQ(setupimgdes(header, &source), 0);
    source.palette[3] = {1, 2, 3, 4};
    const std::uint8_t pixels[] = {3, 4, 5, 6, 255, 0, 3, 5};
    std::memcpy(source.bits, pixels, sizeof pixels);
    ASSERT_EQ(convertpaltorgb(&source, destination), 0);
    const std::vector<unsigned> wanted = {0, 0, 0x030201, 0x0300FF, 0x030201, 0x050403, 0x0300FF, 0};
    EXPECT_EQ(areaPixels(destination, 4, 2).pixels, wanted);
}
