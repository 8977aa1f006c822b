#include <gtest/gtest.h>

#include <filesystem>
#include <map>

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

int load(const Bytes& file, imgdes* image) {
    return loadpngfrombuffer(GuardedBytes(file).data(), image);
}

// Loading a picture's file draws it in the area, and nothing else changes.
void expectLoaded(Picture& picture, const Bytes& file, TestImage& image) {
    TestImage expected(image);
    expected.draw(picture.width, picture.height, [&](int x, int y) { return picture.dibPixel(x, y); });
    ASSERT_EQ(load(file, image), 0) << pnggeterror();
    ASSERT_EQ(expected.bytes(), image.bytes())
        << picture.width << "x" << picture.height << " type " << picture.type << " depth " << picture.depth
        << " interlaced " << picture.interlaced << " into " << image.describe();
}

std::vector<Chunk> randomPalette(Random& random, const Kind& kind) {
    if (kind.type != 3) return {};
    return {{"PLTE", random.bytes(3u << kind.depth)}};
}

}  // namespace

TEST(LoadPng, EveryKindOfPixelsLandsInTheAreaAndNothingElseChanges) {
    Random random(1);
    MemoryWatch watch;
    for (int round = 0; round < 3000 && !HasFatalFailure(); round++) {
        const Kind kind = kinds[random.below(15)];
        const unsigned most = random.oneIn(2) ? 9 : 100;  // Adam7's passes, and rows long enough for vectors
        Picture picture =
            randomPicture(random, 1 + random.below(most), 1 + random.below(40), kind.depth, kind.type);
        TestImage image(random, most + 10, 45, picture.dibBits());
        expectLoaded(picture, fileOf(picture, random, randomPalette(random, kind), 1 + random.below(200)),
                     image);
    }
}

TEST(LoadPng, LargePicturesOfEveryKindComeThrough) {
    Random random(2);
    const auto check = [&](const Kind& kind, unsigned width, unsigned height, bool interlaced) {
        Picture picture = randomPicture(random, width, height, kind.depth, kind.type);
        picture.interlaced = interlaced;
        TestImage image(width, height, picture.dibBits());
        expectLoaded(picture, fileOf(picture, random, randomPalette(random, kind)), image);
    };
    for (const Kind& kind : kinds)
        for (const bool interlaced : {false, true}) check(kind, 701, 211, interlaced);
    check({0, 8}, 1999, 1111, false);  // larger than the caches are taken to be
}

TEST(LoadPng, EveryFileOfTheCorpusLoadsOrIsRefusedForItsFlaw) {
    // The damaged files of PngSuite, and what is wrong with them.
    const std::map<std::string, int> damaged = {
        {"xs1n0g01", -110}, {"xs2n0g01", -110}, {"xs4n0g01", -110}, {"xs7n0g01", -110}, {"xcrn0g04", -110},
        {"xlfn0g04", -110}, {"xhdn0g08", -111}, {"xc1n0g08", -104}, {"xc9n2c08", -104}, {"xd0n2c08", -103},
        {"xd3n2c08", -103}, {"xd9n2c08", -103}, {"xcsn0g01", -111}, {"xdtn0g01", -112}};
    const std::vector<std::string> files = corpusFiles("png", ".png");
    if (files.empty()) GTEST_SKIP() << "no corpus";
    EXPECT_EQ(files.size(), 175u);
    std::size_t refused = 0;
    for (const std::string& name : files) {
        SCOPED_TRACE(name);
        const Bytes file = readFile(name);
        const auto flaw = damaged.find(std::filesystem::path(name).stem().string());
        if (flaw == damaged.end()) {
            Picture picture = decoded(file);
            TestImage image(picture.width, picture.height, picture.dibBits());
            expectLoaded(picture, file, image);
            continue;
        }
        refused++;
        PngInfo info = {};
        pnginfo(name.c_str(), &info);
        TestImage image(32, 32, info.dibbits ? info.dibbits : 8);
        EXPECT_EQ(load(file, image), ERR_PNG);
        EXPECT_EQ(pnggeterror(), flaw->second);
    }
    EXPECT_EQ(refused, damaged.size());
}

TEST(LoadPng, WhatCannotBeOpenedIsSaid) {
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
            SCOPED_TRACE("type " + std::to_string(kind.type) + ", depth " + std::to_string(kind.depth) +
                         " into " + std::to_string(bits) + " bits");
            EXPECT_EQ(load(fileOf(picture, random), image), ERR_BITS);
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
        SCOPED_TRACE("type " + std::to_string(kind.type) + ", depth " + std::to_string(kind.depth));
        ASSERT_EQ(load(fileOf(picture, random), image), 0);
        EXPECT_EQ(image->imgkind, kind.type == 2 ? 6u : 7u);
        EXPECT_EQ(image->palcolors, fresh->palcolors);
        EXPECT_EQ(std::memcmp(image->palette, fresh->palette, fresh->palcolors * sizeof(RGBQUAD)), 0);
    }
}

namespace {

// A 9x9 file with the given palette.
Bytes paletteFile(const std::vector<Chunk>& palette) {
    Random random(7);
    Picture picture = randomPicture(random, 9, 9, 8, 3);
    return fileOf(picture, random, palette);
}

int loadColours(const Bytes& colours, imgdes* image) {
    return load(paletteFile({{"PLTE", colours}}), image);
}

}  // namespace

TEST(LoadPng, PaletteEntriesAreCountedByTheChunkAndBoundByTheImage) {
    Random random(7);
    for (const auto& [bytes, count] : {std::pair{3, 1}, {30, 10}, {32, 10}, {2, 0}, {768, 256}, {900, 256}}) {
        const Bytes colours = random.bytes(bytes);
        TestImage image(9, 9, 8, true);
        ASSERT_EQ(loadColours(colours, image), 0);
        EXPECT_EQ(image->palcolors, count) << bytes;
        EXPECT_EQ(image->imgkind, 0u);
        for (int i = 0; i < count; i++) {
            const Colour want = {colours[3 * i + 2], colours[3 * i + 1], colours[3 * i]};
            const RGBQUAD& q = image->palette[i];
            EXPECT_EQ((Colour{q.rgbBlue, q.rgbGreen, q.rgbRed}), want) << i;
            EXPECT_EQ(q.rgbReserved, 0);
            EXPECT_EQ(image.sectionColour(i), want) << i;
        }
    }
    TestImage none(9, 9, 8);
    ASSERT_EQ(load(paletteFile({}), none), 0);
    EXPECT_EQ(none->palcolors, 0);
    EXPECT_EQ(none->imgkind, 0u);
}

TEST(LoadPng, ADescribedBitmapWithFewColoursKeepsItsPixelsFromThePalette) {
    Bytes block(40 + 4 * 4 + 12 * 9);
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    *header = {40, 9, 9, 1, 8, 0, 0, 0, 0, 4, 0};
    imgdes image;
    ASSERT_EQ(setupimgdes(header, &image), 0);
    const Bytes file = paletteFile({{"PLTE", Bytes(768, 9)}});
    ASSERT_EQ(load(file, &image), 0);
    EXPECT_EQ(image.palcolors, 4);
    Picture picture = decoded(file);
    for (unsigned y = 0; y < 9; y++)
        for (unsigned x = 0; x < 9; x++) ASSERT_EQ(image.bits[12 * (8 - y) + x], picture.dibPixel(x, y));
}

TEST(LoadPng, AGreyRampInAPaletteSetsTheGreyMark) {
    Bytes ramp;
    for (int i = 0; i < 256; i++) ramp.insert(ramp.end(), 3, static_cast<std::uint8_t>(i));
    TestImage image(9, 9, 8);
    image->imgkind = 0;
    ASSERT_EQ(loadColours(ramp, image), 0);
    EXPECT_EQ(image->imgkind, 1u);
    std::swap(ramp[10], ramp[100]);
    ASSERT_EQ(loadColours(ramp, image), 0);
    EXPECT_EQ(image->imgkind, 0u);
}

TEST(LoadPng, ARecordWithoutAPalettePointerKeepsItsColourFields) {
    TestImage image(9, 9, 8);
    RGBQUAD* palette = std::exchange(image->palette, nullptr);
    image->palcolors = 77;
    EXPECT_EQ(loadColours(Bytes(768, 5), image), 0);
    EXPECT_EQ(image->palcolors, 77);
    image->palette = palette;
}
