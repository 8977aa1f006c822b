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
            const UINT height = UINT(destination->header->biHeight);
            std::uint8_t* p = destination->bits + destination->rowbytes * (height - 1 - y) + 3 * x;
            *p = std::uint8_t(*p + amount);
        }
    return code;
}

}  // namespace

TEST(RgbDetour, TheAreaIsChangedAndTheWholePictureRequantised) {
    Random random(330);
    for (int round = 0; round < 200; round++) {
        auto [source, destination] = Pair(random, 8, 8, 40, 30);
        source->palcolors = random.between(0, 256);
        destination->imgkind = 5;
        Grid<Colour> picture(std::min(source.width(), destination.width()),
                             std::min(source.height(), destination.height()));
        const auto inArea = [&from = source](int x, int y) {
            return x >= int(from->left) && x <= int(from->right) && y >= int(from->top) &&
                   y <= int(from->bottom);
        };
        for (int y = 0; y < picture.height; y++)
            for (int x = 0; x < picture.width; x++) {
                Colour& colour = picture.at(x, y) = colourAt(source, x, y);
                if (inArea(x, y)) colour.blue = std::uint8_t(colour.blue + 37);
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
        ASSERT_EQ(paletteColours(destination.image, 256), palette);
        imgdes record = area;
        record.palcolors = 256;
        record.imgkind = 4;
        EXPECT_EQ(std::memcmp(&record, &destination.image, sizeof record), 0) << "only the grey bit goes";
        EXPECT_EQ(source.bytes(), sourceBytes);
        EXPECT_EQ(std::memcmp(&sourceRecord, &source.image, sizeof(imgdes)), 0);
        EXPECT_EQ(seen.calls, 1);
        EXPECT_EQ(std::memcmp(&seen.source, &seen.destination, sizeof(imgdes)), 0) << "in place";
        EXPECT_EQ(seen.sourceBits, 24u);
        EXPECT_EQ(orn32::viargb_(addToBlue, source, destination, 37, &seen, -99), -99);
        EXPECT_EQ(destination.bytes(), expected) << "the operation failed";
    }
}

TEST(RgbDetour, IsTakenByAllThatWorksOnPixelValuesOfAPaletteImage) {
    Random random(334);
    const auto tables = random.bytes(768);
    const auto applyLut = [&](int, imgdes* source, imgdes* destination) {
        return orn32::applylut_(&tables[0], &tables[256], &tables[512], source, destination);
    };
    const std::function<int(int, imgdes*, imgdes*)> operations[] = {dilate, erode, medianfilter, pixellize,
                                                                    applyLut};
    for (const auto& run : operations) {
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

TEST(ApplyLut, EachChannelGoesThroughItsTable) {
    Random random(332);
    for (int round = 0; round < 300; round++) {
        const bool rgb = random.oneIn(2);
        auto [source, destination] = Pair(random, rgb ? 24 : 8, rgb ? 24 : 8, 40, 9);
        source->imgkind = 1;
        const auto redlut = random.bytes(256), greenlut = random.bytes(256), bluelut = random.bytes(256);
        const auto expected = bytesWith(destination, commonPixels(source, destination), [&](unsigned p) {
            if (!rgb) return unsigned{redlut[p]};
            return bluelut[p & 255] | unsigned{greenlut[p >> 8 & 255]} << 8 | unsigned{redlut[p >> 16]} << 16;
        });
        ASSERT_EQ(orn32::applylut_(redlut.data(), greenlut.data(), bluelut.data(), source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination);
    }
}
