#include "tests/process/pictures.h"

using namespace test;

namespace {

Grid blocked(const Grid& picture, int block) {
    return {picture.width, picture.height, [&](int x, int y) {
                const int left = x / block * block, top = y / block * block;
                if (left + block > picture.width || top + block > picture.height) return picture.at(x, y);
                return byChannel([&](int c) {
                    int sum = 0;
                    for (int i = 0; i < block * block; i++)
                        sum += channel(picture.at(left + i % block, top + i / block), c);
                    return sum / (block * block);
                });
            }};
}

}  // namespace

// The destination's edges may be swapped; they are measured as they will be put right.
TEST(Pixellize, AgreesWithThePlainVersionOverRandomAreas) {
    Random random(81);
    for (int round = 0; round < 1500; round++) {
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        Pair pair(random, bits, bits, 80, 80);
        if (random.oneIn(4)) pair.destination.image = pair.source.image;
        pair.source->imgkind = pair.destination->imgkind = 1;
        const int limit = std::min({pair.width(), pair.height(), 63}), block = random.between(1, limit + 1);
        const bool isGood = block >= 2 && block <= limit;
        const Grid wanted = isGood ? blocked(pair.pixels(), block) : Grid();
        const auto run = [&](imgdes* s, imgdes* d) {
            imgdes swapped = *d;
            std::swap(swapped.left, swapped.right), std::swap(swapped.top, swapped.bottom);
            const int code = pixellize(block, s, &swapped);
            EXPECT_EQ(swapped.left, code ? d->right : d->left);
            return code;
        };
        ASSERT_TRUE(pair.becomes(run, wanted, isGood ? 0 : ERR_ARGUMENT)) << "block " << block;
        ASSERT_TRUE(!isGood || bits != 8 ||
                    paletteBytes(pair.source.image) == paletteBytes(pair.destination.image));
    }
}
