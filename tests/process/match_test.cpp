#include "tests/process/plain_quantiser.h"

using namespace test;

// Each row is read before the row above it is written, and no earlier.
TEST(MatchColors, PixelsGetTheIndexOfThePlainMatch) {
    Random random(320);
    for (int round = 0; round < 1500; round++) {
        const bool isOne = random.oneIn(4);
        Pair pair(random, isOne || random.oneIn(3) ? 8 : 24, 8, isOne ? 30 : 60, 30);
        if (isOne) pair.makeOne(random);
        const int count = pair.destination->palcolors = random.oneIn(3) ? 256 : random.between(1, 40);
        const int mode = random.between(0, 3);
        const bool isShort = mode == 1 && random.oneIn(2);
        const auto palette = paletteColours(pair.destination.image, unsigned(count));
        const auto entries = paletteBytes(pair.destination.image);
        const UINT kind = pair.destination->imgkind = random.below(2);
        const auto match = [&](imgdes* s, imgdes* d) {
            return isShort ? matchcolorimage(s, d) : matchcolorimageex(s, d, mode);
        };
        const auto plain = [&](const Grid& rows) {
            return plainMatch(coloursOf(pair.source, rows), palette, mode);
        };
        ASSERT_TRUE(pair.becomes(match, plain, {0, 1})) << "mode " << mode << ", " << count << " colours";
        ASSERT_EQ(paletteBytes(pair.destination.image), entries);
        ASSERT_EQ(pair.destination->imgkind, kind);
    }
}

// 29 leaves under seven children of the root, the eighth missing: the deepest pile of nodes there can be.
TEST(MatchColors, AFullOctreeIsSearchedToItsLastLeaf) {
    Random random(323);
    Pair pair(random, 24, 8, 16, 16);
    std::vector<unsigned> palette;
    for (unsigned depth = 0; depth < 4; depth++)
        for (int child = depth ? 0 : 1; child < 8; child++)
            palette.push_back(byChannel(
                [&](int c) { return (0xF00u >> depth & 0xFF) | (child >> c & 1 ? 0x80u >> depth : 0); }));
    std::memcpy(pair.destination->palette, palette.data(), palette.size() * 4);
    pair.destination->palcolors = int(palette.size());
    for (unsigned i = 0; i < pair.source->header->biSizeImage; i++) pair.source->bits[i] &= 0x7F;
    const auto match = [](imgdes* s, imgdes* d) { return matchcolorimageex(s, d, 0); };
    ASSERT_TRUE(pair.becomes(match, plainMatch(pair.pixels(), palette, 0)));
}
