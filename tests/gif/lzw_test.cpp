#include <gtest/gtest.h>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/gif/plain_lzw.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

using namespace test;

static_assert(sizeof(GifCodeParams) == 20);

namespace {

// Pixels of several kinds: noise, runs, few colours, gradients, repeated patterns.
Bytes somePixels(Random& random, unsigned bits, std::size_t n) {
    const unsigned kind = random.below(5), colours = 1u << std::min(bits, 8u);
    const Bytes pattern = random.bytes(1 + random.below(200));
    Bytes pixels(n);
    unsigned value = 0;
    for (std::size_t i = 0; i < n; i++) {
        if (kind == 0 || (kind == 1 && random.oneIn(20))) value = random.byte();
        if (kind == 2) value = random.below(2);
        if (kind == 3) value = static_cast<unsigned>(i / 7) + random.below(3);
        if (kind == 4) value = pattern[i % pattern.size()];
        pixels[i] = static_cast<std::uint8_t>(value % colours);
    }
    return pixels;
}

Bytes encoded(unsigned codeSize, const Bytes& pixels) {
    GifCodeParams params = {{1, 2, 3, 4}, codeSize};
    Bytes data(pixels.size() * 2 + 300);
    data.resize(GifEncode(&params, pixels.data(), static_cast<UINT>(pixels.size()), data.data(),
                          static_cast<UINT>(data.size())));
    EXPECT_EQ(params.reserved[0] + params.reserved[3], 5u);
    return data;
}

// Decodes with room for exactly as many pixels as asked, source and destination ending at unreadable pages.
UINT decoded(const Bytes& data, std::size_t room, Bytes& pixels) {
    const GuardedBytes source(data), target(Bytes(room, 0xEE));
    const UINT consumed = GifDecode(nullptr, source.data(), static_cast<int>(data.size()), target.data(),
                                    static_cast<int>(room));
    pixels.assign(target.data(), target.data() + room);
    return consumed;
}

// Checks a decode of any data against the second implementation, bytes behind the pixels included.
void checkDecode(const Bytes& data, std::size_t room, const std::string& what) {
    const AnyDecode want(data, room);
    Bytes wantPixels = want.pixels, pixels;
    wantPixels.resize(room, 0xEE);
    EXPECT_EQ(decoded(data, room, pixels), want.consumed) << what;
    ASSERT_TRUE(pixels == wantPixels) << what << ", " << want.pixels.size() << " pixels wanted";
}

}  // namespace

TEST(GifEncode, WritesWhatThePlainEncoderWrites) {
    Random random(1);
    int clears = 0;
    for (int round = 0; round < 300; round++) {
        const unsigned codeSize = random.below(12);
        const std::size_t n = random.oneIn(4) ? random.below(200000) : random.below(300);
        const Bytes pixels = somePixels(random, random.oneIn(4) ? 8 : codeSize, n);  // some above the size
        const PlainEncoder want(codeSize, pixels);
        clears += want.clears();
        ASSERT_TRUE(encoded(codeSize, pixels) == want.bytes())
            << "code size " << codeSize << ", " << n << " pixels, round " << round;
    }
    EXPECT_GT(clears, 100);
}

TEST(GifEncode, KnownStreams) {
    // 9 bits each: clear 1 0000 0000, all ones 1 1111 1111, end 1 0000 0001
    EXPECT_EQ(encoded(8, {}), (Bytes{8, 4, 0x00, 0xFF, 0x07, 0x04, 0, ';'}));
    // 224 pixels that form no string: with clear and end, 226 codes fill 255 bytes, and an empty block
    // follows.
    Bytes pixels(224);
    for (std::size_t i = 0; i < pixels.size(); i++) pixels[i] = static_cast<std::uint8_t>(i);
    const Bytes data = encoded(8, pixels);
    ASSERT_EQ(data.size(), 1u + 256 + 3);
    EXPECT_EQ(slice(data, 257, 3), (Bytes{0, 0, ';'}));
    for (const unsigned codeSize : {12u, 0xFFFFFFFFu}) EXPECT_TRUE(encoded(codeSize, {1, 2}).empty());
}

TEST(GifEncode, NeedsExactlyTheRoomThatItsDataTakes) {
    Random random(4);
    for (int round = 0; round < 200; round++) {
        const Bytes pixels = somePixels(random, 8, 1 + random.below(2000));
        const Bytes want = PlainEncoder(8, pixels).bytes();
        GifCodeParams params = {{}, 8};
        const GuardedBytes source(pixels);
        const UINT full = static_cast<UINT>(want.size());
        for (const UINT room : {full, full - 1, full - 2, full - 3, random.below(full), 0u, 1u}) {
            const GuardedBytes target(room);
            const UINT written =
                GifEncode(&params, source.data(), static_cast<UINT>(pixels.size()), target.data(), room);
            ASSERT_EQ(written, room == full ? full : 0) << "room " << room << " of " << full;
            ASSERT_TRUE(!written || std::equal(want.begin(), want.end(), target.data()));
        }
    }
}

TEST(GifDecode, GivesBackWhatWasEncoded) {
    Random random(5);
    for (int round = 0; round < 300; round++) {
        const unsigned codeSize = 2 + random.below(8);
        const std::size_t n = 1 + (random.oneIn(4) ? random.below(100000) : random.below(300));
        const Bytes pixels = somePixels(random, codeSize, n);
        Bytes back;
        const Bytes data = encoded(codeSize, pixels);
        // The end code ends the last block with data, and neither an empty one nor the terminator is read.
        ASSERT_EQ(decoded(data, n, back), AnyDecode(data, n).consumed)
            << "code size " << codeSize << ", " << n;
        ASSERT_TRUE(back == pixels) << "code size " << codeSize << ", " << n << " pixels";
        ASSERT_EQ(decoded(data, n - 1, back), 0u) << "room for one pixel less";
        checkDecode(data, n + 40, "room to spare");
        checkDecode(data, n / 2, "half the room");
        const std::size_t size = 1 + random.below(255);
        const Bytes cut = slice(data, 0, 1) + subBlocks(joinedBlocks(data), size);
        ASSERT_GT(decoded(cut, n, back), 0u) << "blocks of " << size;
        ASSERT_TRUE(back == pixels) << "blocks of " << size;
    }
}

TEST(GifDecode, DecodesDamagedDataAndNoiseLikeThePlainDecoder) {
    Random random(6);
    for (int round = 0; round < 3000; round++) {
        const Bytes noise = Bytes{static_cast<std::uint8_t>(2 + random.below(8))} +
                            subBlocks(random.bytes(random.below(1000)), 1 + random.below(255));
        checkDecode(noise, random.below(20000), "noise " + std::to_string(round));
        const unsigned codeSize = 2 + random.below(8);
        const Bytes pixels = somePixels(random, codeSize, 1 + random.below(5000));
        Bytes data = encoded(codeSize, pixels);
        for (unsigned i = 1 + random.below(4); i > 0; i--)
            data[1 + random.below(static_cast<unsigned>(data.size()) - 1)] = random.byte();
        if (random.oneIn(4)) data.resize(1 + random.below(static_cast<unsigned>(data.size())));
        checkDecode(data, pixels.size() + random.below(200), "round " + std::to_string(round));
    }
}

TEST(GifDecode, KnownStreams) {
    const struct {
        const char* what;
        Bytes data;
        std::size_t room;
        UINT consumed;
        Bytes pixels;
    } cases[] = {
        {"terminator at once", {8, 0}, 0, 1, {}},
        {"no block at all", {8}, 5, 0, {}},
        {"code size 1", {1, 1, 4, 0}, 5, 0, {}},
        {"code size 9: clear 512, pixel 300, end 513", {9, 4, 0x00, 0xB2, 0x14, 0x20, 0}, 1, 5, {44}},
        {"code size 10", {10, 1, 0, 0}, 5, 0, {}},
        // N = 2: clear 4, end 5, strings from 6, codes of 3 bits.
        {"clear 1 6 6 end", {2, 2, 0x8C, 0x5D, 0}, 6, 3, {1, 1, 1, 1, 1}},
        // Without a clear code in front the first string joins pixel 0 and 2.
        {"2 3 end", {2, 2, 0x5A, 0x01, 0}, 2, 3, {2, 3}},
        {"clear, end", {2, 1, 0x2C, 0}, 0, 2, {}},
        {"clear, an early code counts as 0, end", {2, 2, 0x7C, 0x01, 0}, 1, 3, {0}},
        {"end code inside, more data behind", {2, 1, 0x2C, 3, 1, 2, 3, 0}, 0, 2, {}},
        {"block longer than the source", {2, 200, 0x2C, 0}, 5, 0, {}},
    };
    for (const auto& c : cases) {
        Bytes pixels;
        EXPECT_EQ(decoded(c.data, c.room, pixels), c.consumed) << c.what;
        EXPECT_TRUE(!c.consumed || slice(pixels, 0, c.pixels.size()) == c.pixels) << c.what;
        checkDecode(c.data, c.room, c.what);
    }
}

TEST(GifDecode, RefusesUnreadableMemory) {
    const GuardedBytes source(Bytes{8, 0}), target(10);
    GifCodeParams params = {};
    for (const auto& [bytes, room] : {std::pair{3, 10}, {2, 11}, {0, 10}, {-1, 10}, {2, -1}})
        EXPECT_EQ(GifDecode(&params, source.data(), bytes, target.data(), room), 0u) << bytes << " " << room;
    EXPECT_EQ(GifDecode(&params, nullptr, 2, target.data(), 10), 0u);
    EXPECT_EQ(params.codesize, 0u);
    EXPECT_EQ(GifDecode(&params, source.data(), 2, target.data(), 10), 1u);
    EXPECT_EQ(params.codesize, 8u);
}
