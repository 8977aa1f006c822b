#include <gtest/gtest.h>

#include <array>

#include "core/bits.h"
#include "orn32.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// The copy, pixel by pixel through a picture of its own.
void copyPlainly(const TestImage& from, TestImage& to) {
    const int width = std::min(from.areaWidth(), to.areaWidth());
    const int height = std::min(from.areaHeight(), to.areaHeight());
    std::vector<unsigned> pixels;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            pixels.push_back(
                from.pixel(static_cast<int>(from.image.left) + x, static_cast<int>(from.image.top) + y));
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            to.setPixel(static_cast<int>(to.image.left) + x, static_cast<int>(to.image.top) + y,
                        pixels[static_cast<std::size_t>(y * width + x)]);
}

}  // namespace

TEST(CopyImage, CopiesTheCommonAreaAndNothingElse) {
    Random random(1);
    for (int round = 0; round < 2000; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        TestImage from(1 + random.below(70), 1 + random.below(9), bits);
        TestImage to(1 + random.below(70), 1 + random.below(9), bits);
        from.randomise(random);
        to.randomise(random);
        from.randomArea(random);
        to.randomArea(random);
        TestImage expected(to);
        copyPlainly(from, expected);
        ASSERT_EQ(copyimagebits(from, to), 0);
        ASSERT_EQ(to.bytes(), expected.bytes()) << from.describe() << " to " << to.describe();
    }
}

TEST(CopyImage, OverlappingAreasOfOneImageCopyAsIfThroughASeparateBuffer) {
    Random random(2);
    for (int round = 0; round < 2000; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        TestImage image(1 + random.below(70), 1 + random.below(12), bits);
        image.randomise(random);
        image.randomArea(random);
        const TestImage source(image);
        imgdes from = image.image;
        image.randomArea(random);
        TestImage expected(image);
        copyPlainly(source, expected);
        ASSERT_EQ(copyimagebits(&from, image), 0);
        ASSERT_EQ(image.bytes(), expected.bytes()) << source.describe() << " to " << image.describe();
    }
}

TEST(CopyImage, ReportsWhatDoesNotFitTogetherAndChangesNothing) {
    Random random(3);
    TestImage eight(9, 9, 8), true24(9, 9, 24), grey16(9, 9, 16);
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
    eight->imgkind = 0;
    copyimagepalette(one, eight);
    EXPECT_EQ(eight->palcolors, 2);
}

TEST(Bits, GatherAndPlaceTouchOnlyTheirRun) {
    Random random(5);
    for (int round = 0; round < 20000; round++) {
        const unsigned bit = random.below(8), count = 1 + random.below(80);
        const unsigned sourceBytes = (bit + count + 7) / 8, runBytes = (count + 7) / 8;
        const GuardedBytes source(random.bytes(sourceBytes));
        GuardedBytes run(runBytes);
        orn32::gatherBits(run.data(), source.data(), bit, count);
        const auto bitOf = [](const std::uint8_t* p, unsigned i) { return p[i / 8] >> (7 - i % 8) & 1; };
        for (unsigned i = 0; i < runBytes * 8; i++)
            ASSERT_EQ(bitOf(run.data(), i), i < count ? bitOf(source.data(), bit + i) : 0)
                << "bit " << i << " of " << count << " from " << bit;

        const unsigned to = random.below(8);
        const unsigned targetBytes = (to + count + 7) / 8;
        const auto old = random.bytes(targetBytes);
        GuardedBytes target(old);
        orn32::placeBits(target.data(), to, run.data(), count);
        for (unsigned i = 0; i < targetBytes * 8; i++) {
            const bool inside = i >= to && i < to + count;
            ASSERT_EQ(bitOf(target.data(), i), inside ? bitOf(run.data(), i - to) : bitOf(old.data(), i))
                << "bit " << i << " of " << count << " at " << to;
        }
    }
}
