#include "process/viargb.h"

#include <gtest/gtest.h>

#include "process/lut.h"
#include "process/palette_row.h"
#include "tests/process/plain_quantiser.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

// An operation with every kind of argument: adds to the area's blue, and reports what it was called with.
struct Seen {
    int calls = 0;
    unsigned sourceBits = 0;
    imgdes source = {}, destination = {};
};

int addToBlue(int amount, Seen* seen, int code, imgdes* source, imgdes* destination) {
    seen->calls++;
    seen->source = *source;
    seen->sourceBits = source->header->biBitCount;
    seen->destination = *destination;
    if (const int wrong = checkrange_(destination)) return wrong;
    for (UINT y = destination->top; y <= destination->bottom; y++)
        for (UINT x = destination->left; x <= destination->right; x++) {
            const UINT height = static_cast<UINT>(destination->header->biHeight);
            std::uint8_t* p = destination->bits + destination->rowbytes * (height - 1 - y) + 3 * x;
            *p = static_cast<std::uint8_t>(*p + amount);
        }
    return code;
}

}  // namespace

TEST(RgbDetour, TheAreaIsChangedAndTheWholePictureRequantised) {
    Random random(330);
    for (int round = 0; round < 200; round++) {
        TestImage source(1 + random.below(40), 1 + random.below(30), 8);
        TestImage destination(1 + random.below(40), 1 + random.below(30), 8);
        source.randomise(random);
        paintPalette(source, random);
        source->palcolors = random.between(0, 256);
        destination.randomise(random);
        destination->imgkind = 5;
        source.randomArea(random);
        destination.randomArea(random);

        Grid<Colour> picture(std::min(source.width(), destination.width()),
                             std::min(source.height(), destination.height()));
        const auto inArea = [&](int x, int y) {
            return x >= static_cast<int>(source->left) && x <= static_cast<int>(source->right) &&
                   y >= static_cast<int>(source->top) && y <= static_cast<int>(source->bottom);
        };
        for (int y = 0; y < picture.height; y++)
            for (int x = 0; x < picture.width; x++) {
                Colour& colour = picture.at(x, y) = colourAt(source, x, y);
                if (inArea(x, y)) colour.blue = static_cast<std::uint8_t>(colour.blue + 37);
            }
        auto palette = plainMedianCut(picture, 256);
        palette.resize(256, palette[0]);
        const imgdes area = destination.image;
        setimagearea(destination, 0, 0, 0, 0);
        const auto expected = bytesWith(destination, plainMatch(picture, palette, 2));
        destination.image = area;
        const auto sourceBytes = source.bytes();
        const imgdes sourceRecord = source.image;

        Seen seen;
        ASSERT_EQ(orn32::viargb_(addToBlue, source, destination, 37, &seen, 0), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
        for (unsigned i = 0; i < 256; i++) ASSERT_EQ(paletteColour(destination.image, i), palette[i]) << i;
        imgdes record = area;
        record.palcolors = 256;
        record.imgkind = 4;
        EXPECT_EQ(std::memcmp(&record, &destination.image, sizeof record), 0) << "only the grey bit goes";
        EXPECT_EQ(source.bytes(), sourceBytes);
        EXPECT_EQ(std::memcmp(&sourceRecord, &source.image, sizeof(imgdes)), 0);
        EXPECT_EQ(seen.calls, 1);
        EXPECT_EQ(std::memcmp(&seen.source, &seen.destination, sizeof(imgdes)), 0) << "in place";
        EXPECT_EQ(seen.sourceBits, 24u);
    }
}

TEST(RgbDetour, IsTakenByAllThatWorksOnPixelValuesOfAPaletteImage) {
    Random random(334);
    for (const auto& run : {dilate, erode, medianfilter, pixellize}) {
        TestImage source(20, 16, 8), destination(20, 16, 8), colours(20, 16, 24), expected(20, 16, 8);
        source.randomise(random);
        paintPalette(source, random);
        ASSERT_EQ(convertpaltorgb(source, colours), 0);
        setimagearea(source, 2, 3, 17, 12);
        setimagearea(colours, 2, 3, 17, 12);
        ASSERT_EQ(run(5, colours, colours), 0);
        setimagearea(colours, 0, 0, 19, 15);
        ASSERT_EQ(convertrgbtopalex(256, colours, expected, 2), 0);
        ASSERT_EQ(run(5, source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected.bytes());
        ASSERT_EQ(std::memcmp(destination->palette, expected->palette, 1024), 0);
        ASSERT_EQ(destination->imgkind, 0u);
    }
}

TEST(RgbDetour, WhateverFailsBeforeTheWayBackLeavesTheDestinationUntouched) {
    const auto call = [](int operationCode) {
        TestImage source(8, 8, 8), destination(8, 8, 8);
        if (!source->header || !destination->header) return 1;
        Random random(331);
        source.randomisePalette(random);
        destination.randomise(random);
        const auto before = destination.bytes();
        const imgdes record = destination.image;
        Seen seen;
        const int code = orn32::viargb_(addToBlue, source, destination, 1, &seen, operationCode);
        if (seen.calls == 0 || operationCode) {
            EXPECT_EQ(destination.bytes(), before);
            EXPECT_EQ(std::memcmp(&record, &destination.image, sizeof record), 0);
            EXPECT_EQ(isgrayscaleimage(destination), 1);
        }
        return code;
    };
    EXPECT_EQ(call(-99), -99);
    const int steps = failEveryAllocation([&] { return call(0); },
                                          [](int n, int result, const MemoryWatch& watch) {
                                              EXPECT_EQ(result, n > 2 ? ERR_MEMORY : 1) << n;
                                              EXPECT_EQ(watch.live(), 0) << n;
                                          });
    EXPECT_EQ(steps, 2 + 1 + 1 + 3 + 2);
}

TEST(RgbDetour, BadRecordsAreReportedAndNothingLeaks) {
    const MemoryWatch watch;
    TestImage source(8, 8, 8), destination(8, 8, 8), rgb(8, 8, 24);
    source->imgkind = destination->imgkind = 0;
    imgdes bare = source.image, outside = source.image, unreadable = source.image, noHeader = source.image;
    bare.palette = nullptr;
    outside.right = 8;
    unreadable.bits = nullptr;
    noHeader.header = nullptr;
    const int before = watch.live();
    Seen seen;
    EXPECT_EQ(orn32::viargb_(addToBlue, &bare, destination, 1, &seen, 0), ERR_RANGE);
    EXPECT_EQ(orn32::viargb_(addToBlue, &unreadable, destination, 1, &seen, 0), ERR_BAD_BUFFER);
    EXPECT_EQ(seen.calls, 0);
    EXPECT_EQ(orn32::viargb_(addToBlue, &outside, destination, 1, &seen, 0), ERR_RANGE)
        << "the operation's check";
    EXPECT_EQ(seen.calls, 1);
    EXPECT_EQ(orn32::viargb_(addToBlue, source, rgb, 1, &seen, 0), ERR_BITS);
    EXPECT_EQ(orn32::viargb_(addToBlue, source, &bare, 1, &seen, 0), ERR_RANGE);
    EXPECT_EQ(orn32::viargb_(addToBlue, source, &noHeader, 1, &seen, 0), ERR_RANGE);
    EXPECT_EQ(orn32::viargb_(addToBlue, source, nullptr, 1, &seen, 0), ERR_RANGE);
    EXPECT_EQ(watch.live(), before);
    EXPECT_FALSE(orn32::isColourPaletteImage(&noHeader));
    EXPECT_FALSE(orn32::isColourPaletteImage(nullptr));
    EXPECT_FALSE(orn32::isColourPaletteImage(rgb));
    EXPECT_TRUE(orn32::isColourPaletteImage(source));
}

TEST(ApplyLut, EachChannelGoesThroughItsTable) {
    Random random(332);
    for (int round = 0; round < 300; round++) {
        const bool rgb = random.oneIn(2);
        TestImage source(1 + random.below(40), 1 + random.below(9), rgb ? 24 : 8);
        TestImage destination(1 + random.below(40), 1 + random.below(9), rgb ? 24 : 8);
        source.randomise(random);
        destination.randomise(random);
        source.randomArea(random);
        destination.randomArea(random);
        const auto redlut = random.bytes(256), greenlut = random.bytes(256), bluelut = random.bytes(256);
        const auto expected = bytesWith(destination, commonColours(source, destination), [&](Colour c) {
            if (!rgb) return unsigned{redlut[c.red]};  // through the grey ramp a colour is its index
            return bluelut[c.blue] | unsigned{greenlut[c.green]} << 8 | unsigned{redlut[c.red]} << 16;
        });
        ASSERT_EQ(orn32::applylut_(redlut.data(), greenlut.data(), bluelut.data(), source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
    }
}

TEST(ApplyLut, AColourPaletteImageGetsANewPaletteOfTheMappedColours) {
    TestImage image(16, 16, 8);
    Random random(333);
    image.randomise(random);
    for (int i = 0; i < 256; i++) image->palette[i] = {static_cast<BYTE>(i & 0xF0), 0, 0xFF, 0};
    image->imgkind = 0;
    std::vector<std::uint8_t> inverse(256), same(256);
    for (unsigned i = 0; i < 256; i++)
        inverse[i] = static_cast<std::uint8_t>(255 - i), same[i] = static_cast<std::uint8_t>(i);
    std::vector<unsigned> blues;
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) blues.push_back(255u - colourAt(image, x, y).blue);
    ASSERT_EQ(orn32::applylut_(same.data(), same.data(), inverse.data(), image, image), 0);
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) {
            const Colour c = colourAt(image, x, y);
            EXPECT_EQ(c.blue >> 3, blues[static_cast<std::size_t>(y * 16 + x)] >> 3);
            EXPECT_EQ(c.red, 255);
            EXPECT_EQ(c.green, 0);
        }
    TestImage rgb(16, 16, 24);
    EXPECT_EQ(orn32::applylut_(same.data(), same.data(), same.data(), rgb, image), ERR_BITS);
    EXPECT_EQ(orn32::applylut_(same.data(), same.data(), same.data(), nullptr, image), ERR_RANGE);
}
