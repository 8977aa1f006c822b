#include <gtest/gtest.h>

#include <numeric>

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

// Encodes into so much room, pixels and room ending at unreadable pages. Empty: refused.
Bytes encoded(unsigned codeSize, const Bytes& pixels, std::size_t room) {
    GifCodeParams params = {{1, 2, 3, 4}, codeSize};
    const GuardedBytes source(pixels), target(room);
    const UINT n = GifEncode(&params, source.data(), pixels.size(), target.data(), room);
    EXPECT_EQ(params.reserved[0] + params.reserved[3], 5u);
    return {target.data(), target.data() + n};
}

// Checks a decode of any data against the second implementation, bytes behind the pixels included.
void checkDecode(const Bytes& data, std::size_t room, const std::string& what) {
    const AnyDecode want(data, room);
    Bytes wantPixels = want.pixels;
    wantPixels.resize(room, 0xEE);
    const GuardedBytes source(data), target(Bytes(room, 0xEE));
    EXPECT_EQ(GifDecode(nullptr, source.data(), data.size(), target.data(), room), want.consumed) << what;
    ASSERT_TRUE(std::equal(wantPixels.begin(), wantPixels.end(), target.data()))
        << what << ", " << want.pixels.size() << " pixels wanted";
}

}  // namespace

TEST(GifEncode, WritesWhatThePlainEncoderWritesIntoExactlyTheRoomThatItTakes) {
    Random random(1);
    int clears = 0;
    for (int round = 0; round < 300; round++) {
        const unsigned codeSize = random.below(12);
        const std::size_t n = random.oneIn(4) ? random.below(200000) : random.below(300);
        const Bytes pixels = somePixels(random, random.oneIn(4) ? 8 : codeSize, n);  // some above the size
        const PlainEncoder plain(codeSize, pixels);
        const Bytes& want = plain.bytes();
        clears += plain.clears();
        for (const std::size_t room : {want.size(), want.size() + 9})
            ASSERT_TRUE(encoded(codeSize, pixels, room) == want)
                << "code size " << codeSize << ", " << n << " pixels, round " << round;
        for (const std::size_t less : {1, 2, 3, 4, 1 + static_cast<int>(random.below(want.size()))})
            ASSERT_EQ(encoded(codeSize, pixels, want.size() - less).size(), 0u) << less << " bytes less";
    }
    EXPECT_GT(clears, 100);
}

TEST(GifEncode, KnownStreams) {
    // 9 bits each: clear 1 0000 0000, all ones 1 1111 1111, end 1 0000 0001
    EXPECT_EQ(encoded(8, {}, 300), (Bytes{8, 4, 0x00, 0xFF, 0x07, 0x04, 0, ';'}));
    // 224 pixels that form no string: with clear and end, 226 codes fill 255 bytes, and an empty block
    // follows.
    Bytes pixels(224);
    std::iota(pixels.begin(), pixels.end(), std::uint8_t{0});
    const Bytes data = encoded(8, pixels, 300);
    ASSERT_EQ(data.size(), 1u + 256 + 3);
    EXPECT_EQ(slice(data, 257, 3), (Bytes{0, 0, ';'}));
    for (const unsigned codeSize : {12u, 0xFFFFFFFFu}) EXPECT_TRUE(encoded(codeSize, {1, 2}, 300).empty());
}

TEST(GifDecode, DecodesSoundDataDamagedDataAndNoiseLikeThePlainDecoder) {
    Random random(6);
    for (int round = 0; round < 1000; round++) {
        const std::string what = ", round " + std::to_string(round);
        const unsigned codeSize = 2 + random.below(8);
        const std::size_t n = 1 + random.below(random.oneIn(20) ? 100000 : 3000);
        const Bytes pixels = somePixels(random, codeSize, n);
        Bytes data = encoded(codeSize, pixels, 2 * n + 300);
        ASSERT_TRUE(AnyDecode(data, n).pixels == pixels) << "not even the plain decoder" << what;
        for (const std::size_t room : {n, n - 1, n + 40, n / 2}) checkDecode(data, room, "sound" + what);
        const std::size_t size = 1 + random.below(255);
        checkDecode(slice(data, 0, 1) + subBlocks(joinedBlocks(data), size), n, "other blocks" + what);
        for (unsigned i = 1 + random.below(4); i > 0; i--)
            data[1 + random.below(data.size() - 1)] = random.byte();
        if (random.oneIn(4)) data.resize(1 + random.below(data.size()));
        checkDecode(data, n + random.below(200), "damaged" + what);
        const Bytes noise = random.bytes(random.below(1000));
        checkDecode(slice(data, 0, 1) + subBlocks(noise, size), random.below(20000), "noise" + what);
    }
}

TEST(GifDecode, KnownStreams) {
    const struct {
        const char* what;
        Bytes data;
        std::size_t room, consumed;
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
        const AnyDecode plain(c.data, c.room);
        EXPECT_EQ(plain.consumed, c.consumed) << c.what;
        EXPECT_TRUE(!c.consumed || plain.pixels == c.pixels) << c.what;
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
