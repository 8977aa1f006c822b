#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// A frame of random pixels, as the picture has them and as the stream does.
struct Frame {
    int width, height;
    unsigned codeSize;
    bool interlaced;
    Bytes picture, stream;

    Frame(Random& random, int w, int h, unsigned size)
        : width(w), height(h), codeSize(size), interlaced(random.oneIn(2)), picture(random.bytes(w * h)) {
        for (auto& p : picture) p &= static_cast<std::uint8_t>((1u << codeSize) - 1);
        for (const int y : rowOrder(h, interlaced)) append(stream, slice(picture, y * w, w));
    }
    std::string describe() const {
        return std::to_string(width) + "x" + std::to_string(height) + (interlaced ? " interlaced" : "") +
               " code size " + std::to_string(codeSize);
    }
    // The file up to the image data. The comment makes up the 100 bytes that buffers need.
    GifBuilder start() const {
        return GifBuilder()
            .header(width, height, 0x80 | 7)
            .table(8)
            .comment(std::string(90, 'c'))
            .descriptor(width, height, interlaced ? 0x40 : 0);
    }
    Bytes fileOf(const std::vector<unsigned>& codes) const {
        return start().codes(codeSize, codes).trailer().bytes;
    }
    Bytes file() const { return fileOf(literalCodes(codeSize, stream)); }

    // What an image must hold after the stream's first rows have been stored.
    void drawOn(TestImage& image, int streamRows) const {
        const std::vector<int> order = rowOrder(height, interlaced);
        const int count = std::min({height, streamRows, image.areaHeight()});
        const std::set<int> rows(order.begin(), order.begin() + count);
        image.draw(width, height, [&](int x, int y) -> unsigned {
            return rows.contains(y) ? picture[y * width + x] : image.areaPixel(x, y);
        });
    }
};

// Loads from a buffer that ends at an unreadable page, with every block of working memory guarded likewise.
int loadGuarded(const Bytes& gif, imgdes* image) {
    const GuardedBytes source(gif);
    const MemoryWatch watch;
    const int code = loadgiffrombuffer(source.data(), image);
    EXPECT_EQ(watch.live(), 0);
    return code;
}

// Loads a file of the frame, in which so many of the stream's rows are whole.
void expectRows(const Frame& frame, const Bytes& gif, int rows, int code = 0) {
    TestImage image(frame.width + 7, frame.height, 8), want(frame.width + 7, frame.height, 8);
    frame.drawOn(want, rows);
    EXPECT_EQ(loadGuarded(gif, image), code) << frame.describe();
    EXPECT_TRUE(image.bytes() == want.bytes()) << frame.describe() << ", " << rows << " rows";
    EXPECT_EQ(image->imgkind, code == ERR_LZW_CODE) << "the grey palette is kept after a bad code only";
}

}  // namespace

TEST(GifLoad, StoresTheCommonPartAndNothingElse) {
    Random random(1);
    for (int round = 0; round < 2000; round++) {
        const unsigned bits = random.oneIn(3) ? 1 : 8;
        const Frame frame(random, random.between(1, 70), random.between(1, 30), 2 + random.below(7));
        TestImage image(random, 80, 40, bits, random.oneIn(10));
        TestImage want(image);
        frame.drawOn(want, frame.height);
        const std::string what = image.describe() + " frame " + frame.describe();
        ASSERT_EQ(loadGuarded(frame.file(), image), 0) << what;
        ASSERT_EQ(image.bytes(), want.bytes()) << what;
        ASSERT_EQ(image->palcolors, bits == 1 ? 2 : 256);
        ASSERT_EQ(image->palette[1].rgbGreen, 2);
        ASSERT_EQ(image->imgkind & 1, 0u);
    }
}

TEST(GifLoad, FollowsTheCodesWidthWhereNoClearCodeComes) {
    Random random(2);
    for (unsigned codeSize = 1; codeSize <= 8; codeSize++) {
        const Frame frame(random, 160, 120, codeSize);
        std::vector<unsigned> codes;
        for (const std::uint8_t p : frame.stream) {
            // Without any, with a few, right behind one another.
            if (codeSize % 3 == 1 && random.oneIn(5000)) codes.push_back(1u << codeSize);
            if (codeSize % 3 == 2 && random.oneIn(300)) codes.insert(codes.end(), 2, 1u << codeSize);
            codes.push_back(p);
        }
        codes.push_back((1u << codeSize) + 1);
        expectRows(frame, frame.fileOf(codes), 120);
    }
}

TEST(GifLoad, ReadsBlocksOfAnySizeAcrossThePiecesOfAFile) {
    Random random(3);
    const Frame frame(random, 500, 400, 8);
    const Bytes data = packed(8, literalCodes(8, frame.stream));
    TestImage image(500, 400, 8), want(500, 400, 8);
    frame.drawOn(want, 400);
    for (const std::size_t size : {1u, 2u, 127u, 254u, 255u}) {
        const TempFile file(".gif");
        writeFile(file.name(), frame.start().put(8).raw(subBlocks(data, size)).trailer().bytes);
        image.randomise(random);
        EXPECT_EQ(loadgif(file.name(), image), 0) << size;
        EXPECT_EQ(image.bytes(), want.bytes()) << size;
    }
}

TEST(GifLoad, StringCodesAreRefusedAfterTheRowsBefore) {
    Random random(4);
    for (int round = 0; round < 300; round++) {
        const Frame frame(random, random.between(1, 60), random.between(2, 20), 2 + random.below(7));
        std::vector<unsigned> codes = literalCodes(frame.codeSize, frame.stream);
        const unsigned clear = 1u << frame.codeSize;
        const auto bad = codes.begin() + 2 + random.below(codes.size() - 3);
        *bad = clear + 2 + random.below(clear - 2);
        const auto pixelsBefore =
            std::count_if(codes.begin(), bad, [&](unsigned code) { return code < clear; });
        expectRows(frame, frame.fileOf(codes), static_cast<int>(pixelsBefore) / frame.width, ERR_LZW_CODE);
    }
}

TEST(GifLoad, TheEndCodeAndTheTerminatorEndAFrameEarlyWithoutAnError) {
    Random random(5);
    const Frame frame(random, 20, 10, 8);
    std::vector<unsigned> codes = literalCodes(8, slice(frame.stream, 0, 119));  // most of the sixth row
    expectRows(frame, frame.fileOf(codes), 5);
    codes.pop_back();
    expectRows(frame, frame.fileOf(codes), 5);
}

TEST(GifLoad, TruncatedDataGivesTheRowsBeforeAndThePalette) {
    Random random(6);
    const Frame frame(random, 23, 17, 8);
    const Bytes whole = frame.file();
    const std::size_t start = frame.start().bytes.size() + 1;
    for (std::size_t length = start; length < whole.size() - 1; length++) {
        const std::size_t blocks = (length - start + 255) / 256;  // length bytes
        const std::size_t codes = (length - start - blocks) * 8 / 9;
        const int rows = static_cast<int>((codes - (codes + 254) / 255) / 23);
        expectRows(frame, slice(whole, 0, length), rows, rows < 17 ? ERR_TRUNCATED : 0);
    }
}

TEST(GifLoad, ChecksTheImageAndTheCodeSize) {
    Random random(7);
    const Frame frame(random, 5, 5, 4);
    const Bytes good = frame.file();
    TestImage true24(9, 9, 24), grey16(9, 9, 16), eight(9, 9, 8);
    EXPECT_EQ(loadGuarded(good, true24), ERR_BITS);
    EXPECT_EQ(loadGuarded(good, grey16), ERR_BITS);
    EXPECT_EQ(loadGuarded(good, nullptr), ERR_RANGE);
    EXPECT_EQ(loadGuarded(Bytes(200, 'x'), true24), ERR_BAD_GIF) << "the file is looked at first";
    setimagearea(eight, 0, 0, 9, 9);
    EXPECT_EQ(loadGuarded(good, eight), ERR_RANGE);
    setimagearea(eight, 8, 8, 0, 0);
    EXPECT_EQ(loadGuarded(good, eight), 0) << "swapped edges";
    for (unsigned codeSize = 0; codeSize < 256; codeSize++)
        EXPECT_EQ(loadGuarded(frame.start().put(codeSize, 1, 0, 0).trailer().bytes, eight),
                  codeSize >= 1 && codeSize <= 8 ? 0 : ERR_BAD_GIF)
            << codeSize;
    const auto before = eight.bytes();
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}, {0, 65535}, {65535, 0}}) {
        GifBuilder gif;
        gif.header(0, 0).comment(std::string(90, 'c')).descriptor(width, height).data(8, Bytes(400, 7));
        EXPECT_EQ(loadGuarded(gif.trailer().bytes, eight), 0) << width << "x" << height;
        EXPECT_EQ(eight.bytes(), before) << width << "x" << height << " draws nothing";
    }
}

TEST(GifLoad, FramesLoadThroughTheirRecords) {
    const GuardedBytes source(richGif());
    GifGlobalInfo global;
    GifFrameInfo frames[3];
    ASSERT_EQ(gifinfoallframesfrombuffer(source.data(), &global, frames, 3), 0);
    for (int k = 0; k < 3; k++) {
        TestImage image(12, 9, frames[k].dibbits);
        ASSERT_EQ(loadgifframefrombuffer(source.data(), image, &global, &frames[k]), 0) << k;
        EXPECT_EQ(image->palcolors, k == 2 ? 2 : 16) << k;
        EXPECT_EQ(image->palette[1].rgbRed, 100 * k + 1) << k;
    }
    TestImage image(12, 9, 8), first(12, 9, 8), true24(3, 3, 24);
    loadgiffrombuffer(source.data(), first);
    loadgifframefrombuffer(source.data(), image, &global, &frames[1]);
    EXPECT_NE(image.bytes(), first.bytes()) << "interlaced, the same stream of pixels";
    loadgifframefrombuffer(source.data(), image, &global, &frames[0]);
    EXPECT_EQ(image.bytes(), first.bytes());
    EXPECT_EQ(loadgifframe("no such file.gif", image, &global, frames), ERR_OPEN);
    EXPECT_EQ(loadgifframe("no such file.gif", true24, &global, frames), ERR_BITS);
    EXPECT_EQ(loadgifframefrombuffer(source.data(), image, nullptr, frames), ERR_RANGE);
    EXPECT_EQ(loadgifframefrombuffer(GuardedBytes(99).data(), image, &global, frames), ERR_SOURCE_BUFFER);
}

TEST(GifLoad, TheGreyMarkFollowsThePalette) {
    Bytes greys;
    for (unsigned i = 0; i < 256; i++) greys.insert(greys.end(), 3, static_cast<std::uint8_t>(i));
    TestImage image(2, 2, 8);
    const auto kind = [&](GifBuilder start) {
        start.comment(std::string(90, 'c')).descriptor(1, 1).data(8, {0}).trailer();
        EXPECT_EQ(loadGuarded(start.bytes, image), 0);
        return image->imgkind;
    };
    EXPECT_EQ(kind(GifBuilder().header(1, 1, 0x87).raw(greys)), 1u);
    EXPECT_EQ(kind(GifBuilder().header(1, 1, 0x87).table(8)), 0u);
    EXPECT_EQ(kind(GifBuilder().header(1, 1)), 1u) << "no table at all";
    EXPECT_EQ(image->palcolors, 256);
    EXPECT_EQ(image->palette[200].rgbGreen, 200);
}
