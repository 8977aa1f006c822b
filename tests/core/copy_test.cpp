#include <gtest/gtest.h>

#include <array>

#include "core/bits.h"
#include "orn32.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

TEST(CopyImage, CopiesTheCommonAreaAsIfThroughASeparateBuffer) {
    Random random(1);
    for (int round = 0; round < 4000; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        TestImage other(random, 70, 12, bits), to(random, 70, 12, bits);
        TestImage& image = random.oneIn(2) ? to : other;
        const TestImage from(image);
        imgdes source = image.image;
        to.randomArea(random);
        TestImage expected(to);
        expected.draw(from.areaWidth(), from.areaHeight(),
                      [&](int x, int y) { return from.areaPixel(x, y); });
        ASSERT_EQ(copyimagebits(&source, to), 0);
        ASSERT_EQ(to.bytes(), expected.bytes()) << from.describe() << " to " << to.describe();
    }
}

TEST(CopyImage, WhatDoesNotFitTogetherChangesNothing) {
    TestImage eight(9, 9, 8), true24(9, 9, 24), grey16(9, 9, 16);
    Random random(3);
    true24.randomise(random);
    const auto before = true24.bytes();
    EXPECT_EQ(copyimage(eight, true24), ERR_BITS);
    EXPECT_EQ(copyimage(grey16, true24), ERR_BITS);
    EXPECT_EQ(copyimage(true24, grey16), ERR_BITS);
    EXPECT_EQ(true24.bytes(), before);
    EXPECT_EQ(true24->palcolors, 0);
}

TEST(CopyImage, AFailedCopyLeavesThePaletteAlone) {
    TestImage from(9, 9, 1), to(9, 9, 1);
    from->palette[1] = {1, 2, 3, 0};
    const MemoryWatch watch(1);
    EXPECT_EQ(copyimage(from, to), ERR_MEMORY);
    EXPECT_EQ(to->palette[1].rgbBlue, 255);
    EXPECT_EQ(copyimage(from, to), 0);
    EXPECT_EQ(to->palette[1].rgbBlue, 1);
}

TEST(CopyImagePalette, CopiesNoMoreEntriesThanTheDestinationsHeaderCounts) {
    TestImage eight(1, 1, 8), one(1, 1, 1), true24(1, 1, 24);
    Random random(4);
    eight.randomisePalette(random);
    copyimagepalette(eight, one);
    EXPECT_EQ(one->palcolors, 2);
    EXPECT_EQ(one->imgkind, 0u);
    EXPECT_EQ(std::memcmp(one->palette, eight->palette, 8), 0);
    copyimagepalette(eight, true24);
    EXPECT_EQ(true24->palcolors, 0);
    copyimagepalette(one, eight);
    EXPECT_EQ(eight->palcolors, 2);
}

TEST(Bits, GatherAndPlaceTouchOnlyTheirRun) {
    Random random(5);
    const auto bitOf = [](const std::uint8_t* p, unsigned i) { return p[i / 8] >> (7 - i % 8) & 1; };
    const auto bytesOf = [](unsigned bits) { return (bits + 7) / 8; };
    for (int round = 0; round < 20000; round++) {
        const unsigned from = random.below(8), to = random.below(8), count = 1 + random.below(80);
        const GuardedBytes source(random.bytes(bytesOf(from + count))), run(bytesOf(count));
        orn32::gatherBits(run.data(), source.data(), from, count);
        for (unsigned i = 0; i < run.size() * 8; i++)
            ASSERT_EQ(bitOf(run.data(), i), i < count ? bitOf(source.data(), from + i) : 0)
                << "bit " << i << " of " << count << " from " << from;
        const auto old = random.bytes(bytesOf(to + count));
        const GuardedBytes target(old);
        orn32::placeBits(target.data(), to, run.data(), count);
        for (unsigned i = 0; i < target.size() * 8; i++)
            ASSERT_EQ(bitOf(target.data(), i),
                      i >= to && i < to + count ? bitOf(run.data(), i - to) : bitOf(old.data(), i))
                << "bit " << i << " of " << count << " at " << to;
    }
}
