#include <gtest/gtest.h>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

struct Kind {
    unsigned type, depth;
};
const Kind kinds[] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                      {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};

Bytes fileOf(Picture& picture, Random& random, std::size_t dataSize = 8192) {
    const Bytes rows = filteredRows(
        picture, [&](auto&&...) { return random.oneIn(50) ? random.below(256) : random.below(5); });
    std::vector<Chunk> chunks = {
        headerChunk(picture.width, picture.height, picture.depth, picture.type, picture.interlaced)};
    if (picture.type == 3) chunks.push_back({"PLTE", random.bytes(3u << picture.depth)});
    for (Chunk& chunk : dataChunks(compressed(rows), dataSize)) chunks.push_back(chunk);
    chunks.push_back({"IEND", {}});
    return pngFile(chunks);
}

std::string describe(const Picture& p) {
    return std::to_string(p.width) + "x" + std::to_string(p.height) + " type " + std::to_string(p.type) +
           " depth " + std::to_string(p.depth) + (p.interlaced ? " interlaced" : "");
}

// What loading has to leave in an image.
void expectPicture(Picture& picture, const TestImage& before, const TestImage& after) {
    const int width = std::min(after.areaWidth(), static_cast<int>(picture.width));
    const int height = std::min(after.areaHeight(), static_cast<int>(picture.height));
    TestImage expected(before);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            expected.setPixel(static_cast<int>(after.image.left) + x, static_cast<int>(after.image.top) + y,
                              picture.dibPixel(static_cast<unsigned>(x), static_cast<unsigned>(y)));
    ASSERT_EQ(expected.bytes(), after.bytes()) << describe(picture) << " into " << after.describe();
}

}  // namespace

TEST(LoadPng, EveryKindOfPixelsLandsInTheAreaAndNothingElseChanges) {
    Random random(1);
    MemoryWatch watch;
    for (int round = 0; round < 3000; round++) {
        const Kind kind = kinds[random.below(15)];
        const unsigned most = random.oneIn(2) ? 9 : 100;  // Adam7's passes, and rows long enough for vectors
        Picture picture =
            randomPicture(random, 1 + random.below(most), 1 + random.below(40), kind.depth, kind.type);
        picture.interlaced = random.oneIn(2);
        const GuardedBytes file(fileOf(picture, random, 1 + random.below(200)));
        TestImage image(1 + random.below(most + 10), 1 + random.below(45), picture.dibBits());
        image.randomise(random);
        const TestImage before(image);
        image.randomArea(random);
        ASSERT_EQ(loadpngfrombuffer(file.data(), image), 0) << describe(picture) << " " << pnggeterror();
        expectPicture(picture, before, image);
        if (HasFatalFailure()) return;
    }
}

TEST(LoadPng, LargePicturesOfEveryKindComeThrough) {
    Random random(2);
    const auto check = [&](const Kind& kind, unsigned width, unsigned height, bool interlaced) {
        Picture picture = randomPicture(random, width, height, kind.depth, kind.type);
        picture.interlaced = interlaced;
        const GuardedBytes file(fileOf(picture, random));
        TestImage image(width, height, picture.dibBits()), before(width, height, picture.dibBits());
        ASSERT_EQ(loadpngfrombuffer(file.data(), image), 0) << describe(picture);
        expectPicture(picture, before, image);
    };
    for (const Kind& kind : kinds)
        for (const bool interlaced : {false, true}) check(kind, 701, 211, interlaced);
    check({0, 8}, 1999, 1111, false);  // larger than the caches are taken to be
}

TEST(LoadPng, NarrowWideAndBufferFormsReadTheSame) {
    Random random(4);
    Picture picture = randomPicture(random, 30, 20, 8, 3);
    const Bytes bytes = fileOf(picture, random);
    const GuardedBytes buffer(bytes);
    TempFile file(".png");
    writeFile(file.name(), bytes);
    const auto check = [&](auto load, auto loadPalette, auto source) {
        TestImage image(30, 20, 8), before(30, 20, 8);
        ASSERT_EQ(load(source, image), 0);
        expectPicture(picture, before, image);
        RGBQUAD palette[256];
        ASSERT_EQ(loadPalette(source, palette), 256);
        EXPECT_EQ(std::memcmp(palette, image->palette, sizeof palette), 0);
    };
    check(loadpng, loadpngpalette, file.name());
    check(loadpngW, loadpngpaletteW, file.wideName());
    check(loadpngfrombuffer, loadpngpalettefrombuffer, buffer.data());
    TestImage image(30, 20, 8);
    EXPECT_EQ(loadpng("no such file.png", image), ERR_OPEN);
    EXPECT_EQ(loadpngpaletteW(L"no such file.png", image->palette), ERR_OPEN);
    EXPECT_EQ(loadpngfrombuffer(nullptr, image), ERR_OPEN);
}

TEST(LoadPng, AnImageOfOtherBitsIsRefusedBeforeAnythingIsStored) {
    Random random(5);
    for (const Kind& kind : kinds)
        for (const unsigned bits : {1u, 8u, 16u, 24u}) {
            Picture picture = randomPicture(random, 9, 9, kind.depth, kind.type);
            if (picture.dibBits() == bits) continue;
            TestImage image(9, 9, bits);
            const Bytes before = image.bytes();
            const imgdes record = image.image;
            EXPECT_EQ(loadpngfrombuffer(GuardedBytes(fileOf(picture, random)).data(), image), ERR_BITS);
            EXPECT_EQ(image.bytes(), before);
            EXPECT_EQ(std::memcmp(&record, &image.image, sizeof record), 0);
        }
}

TEST(LoadPng, GreyFilesGiveTheGreyPaletteAndColourFilesNone) {
    Random random(6);
    for (const Kind kind : {Kind{0, 1}, Kind{0, 8}, Kind{4, 16}, Kind{2, 8}}) {
        Picture picture = randomPicture(random, 9, 9, kind.depth, kind.type);
        TestImage image(9, 9, picture.dibBits(), true), fresh(9, 9, picture.dibBits());
        image.randomisePalette(random);
        image->imgkind |= 6;
        ASSERT_EQ(loadpngfrombuffer(GuardedBytes(fileOf(picture, random)).data(), image), 0);
        const bool grey = kind.type != 2;
        EXPECT_EQ(image->imgkind, grey ? 7u : 6u);
        EXPECT_EQ(image->palcolors, fresh->palcolors);
        const std::size_t n = static_cast<std::size_t>(fresh->palcolors) * sizeof(RGBQUAD);
        EXPECT_EQ(std::memcmp(image->palette, fresh->palette, n), 0) << describe(picture);
    }
}

namespace {

// A 9x9 file with the given palette.
Bytes paletteFile(Random& random, const std::vector<Chunk>& palette) {
    Picture picture = randomPicture(random, 9, 9, 8, 3);
    std::vector<Chunk> chunks = {headerChunk(9, 9, 8, 3)};
    chunks.insert(chunks.end(), palette.begin(), palette.end());
    chunks.push_back({"IDAT", compressed(filteredRows(picture, [](auto&&...) { return 0u; }))});
    chunks.push_back({"IEND", {}});
    return pngFile(chunks);
}

int loadColours(Random& random, const Bytes& colours, imgdes* image) {
    return loadpngfrombuffer(GuardedBytes(paletteFile(random, {{"PLTE", colours}})).data(), image);
}

}  // namespace

TEST(LoadPng, PaletteEntriesAreCountedByTheChunkAndBoundByTheImage) {
    Random random(7);
    const struct {
        std::size_t chunkBytes;
        int colours;
    } cases[] = {{3, 1}, {30, 10}, {32, 10}, {2, 0}, {768, 256}, {900, 256}};
    for (const auto& c : cases) {
        const Bytes colours = random.bytes(c.chunkBytes);
        TestImage image(9, 9, 8);
        ASSERT_EQ(loadColours(random, colours, image), 0);
        EXPECT_EQ(image->palcolors, c.colours) << c.chunkBytes;
        EXPECT_EQ(image->imgkind, 0u);
        for (std::size_t i = 0; i < static_cast<std::size_t>(c.colours); i++) {
            const RGBQUAD& q = image->palette[i];
            EXPECT_EQ((Bytes{q.rgbRed, q.rgbGreen, q.rgbBlue}), slice(colours, 3 * i, 3)) << i;
            EXPECT_EQ(q.rgbReserved, 0);
        }
    }
    TestImage none(9, 9, 8);
    ASSERT_EQ(loadpngfrombuffer(GuardedBytes(paletteFile(random, {})).data(), none), 0);
    EXPECT_EQ(none->palcolors, 0);
    EXPECT_EQ(none->imgkind, 0u);
}

TEST(LoadPng, ADescribedBitmapWithFewColoursKeepsItsPixelsFromThePalette) {
    Random random(8);
    std::vector<std::uint8_t> block(40 + 4 * 4 + 12 * 9);
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    *header = {40, 9, 9, 1, 8, 0, 0, 0, 0, 4, 0};
    imgdes image;
    ASSERT_EQ(setupimgdes(header, &image), 0);
    const Bytes file = paletteFile(random, {{"PLTE", random.bytes(768)}});
    ASSERT_EQ(loadpngfrombuffer(GuardedBytes(file).data(), &image), 0);
    EXPECT_EQ(image.palcolors, 4);
    Picture picture = decoded(file);
    for (unsigned y = 0; y < 9; y++)
        for (unsigned x = 0; x < 9; x++) ASSERT_EQ(image.bits[12 * (8 - y) + x], picture.dibPixel(x, y));
}

TEST(LoadPng, AGreyRampInAPaletteSetsTheGreyMark) {
    Random random(9);
    Bytes ramp;
    for (int i = 0; i < 768; i++) ramp.push_back(static_cast<std::uint8_t>(i / 3));
    TestImage image(9, 9, 8);
    image.randomisePalette(random);
    ASSERT_EQ(loadColours(random, ramp, image), 0);
    EXPECT_EQ(image->imgkind, 1u);
    std::swap(ramp[10], ramp[100]);
    ASSERT_EQ(loadColours(random, ramp, image), 0);
    EXPECT_EQ(image->imgkind, 0u);
}

TEST(LoadPng, ARecordWithoutAPalettePointerKeepsItsColourFields) {
    Random random(10);
    TestImage image(9, 9, 8);
    RGBQUAD* palette = image->palette;
    image->palette = nullptr;
    image->palcolors = 77;
    EXPECT_EQ(loadColours(random, random.bytes(768), image), 0);
    EXPECT_EQ(image->palcolors, 77);
    image->palette = palette;
}

TEST(LoadPng, ColoursReachADibSection) {
    Random random(11);
    const Bytes colours = random.bytes(768);
    TestImage image(9, 9, 8, true);
    ASSERT_NE(image->hbitmap, nullptr);
    ASSERT_EQ(loadColours(random, colours, image), 0);
    const HDC dc = CreateCompatibleDC(nullptr);
    const HGDIOBJ old = SelectObject(dc, image->hbitmap);
    RGBQUAD table[256];
    EXPECT_EQ(GetDIBColorTable(dc, 0, 256, table), 256u);
    SelectObject(dc, old);
    DeleteDC(dc);
    EXPECT_EQ(table[200].rgbRed, colours[600]);
    EXPECT_EQ(table[200].rgbBlue, colours[602]);
}
