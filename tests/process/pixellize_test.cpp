#include <gtest/gtest.h>

#include <array>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

Grid<unsigned> blocked(const Grid<unsigned>& picture, int block) {
    Grid<unsigned> result = picture;
    for (int y = 0; y < picture.height / block * block; y++)
        for (int x = 0; x < picture.width / block * block; x++) {
            unsigned mean = 0;
            for (unsigned shift = 0; shift < 24; shift += 8) {
                int sum = 0;
                for (int i = 0; i < block * block; i++)
                    sum += int(picture.at(x / block * block + i % block, y / block * block + i / block) >>
                                   shift &
                               255);
                mean |= unsigned(sum / (block * block)) << shift;
            }
            result.at(x, y) = mean;
        }
    return result;
}

}  // namespace

TEST(Pixellize, AgreesWithThePlainVersionOverRandomAreas) {
    Random random(81);
    for (int round = 0; round < 1500; round++) {
        const MemoryWatch watch;
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        auto [source, other] = Pair(random, bits, bits, 80, 80);
        source->imgkind = other->imgkind = 1;
        TestImage& destination = random.oneIn(4) ? source : other;
        const int width = commonWidth(source, destination), height = commonHeight(source, destination);
        const int limit = std::min({width, height, 63}), block = random.between(1, limit + 1);
        auto expected = destination.bytes();
        if (block >= 2 && block <= limit)
            expected = bytesWith(destination, blocked(commonPixels(source, destination), block));
        const int code = pixellize(block, source, destination);
        ASSERT_EQ(code, block >= 2 && block <= limit ? 0 : ERR_ARGUMENT) << block;
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination) << " block " << block;
        ASSERT_TRUE(code || bits != 8 || paletteBytes(source.image) == paletteBytes(destination.image));
    }
}

TEST(Pixellize, TheDestinationsSwappedEdgesAreMeasuredAsTheyWillBePutRight) {
    Random random(84);
    TestImage source(40, 40, 24), destination(40, 40, 24);
    source.randomise(random);
    for (const auto& [left, right] : {std::pair{9u, 0u}, {1u, 0u}, {5u, 4u}, {30u, 2u}}) {
        const int width = int(left - right + 1);
        setimagearea(destination, left, 0, right, 39);
        const auto before = destination.bytes();
        EXPECT_EQ(pixellize(std::max(width + 1, 2), source, destination), width > 39 ? 0 : ERR_ARGUMENT);
        EXPECT_EQ(destination.bytes(), before);
        setimagearea(destination, right, 0, left, 39);
        const auto expected = bytesWith(destination, blocked(commonPixels(source, destination), 2));
        setimagearea(destination, left, 0, right, 39);
        EXPECT_EQ(pixellize(2, source, destination), 0);
        EXPECT_EQ(destination.bytes(), expected);
        EXPECT_EQ(destination->left, right);
    }
    setimagearea(destination, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(pixellize(2, source, destination), ERR_RANGE);
}
