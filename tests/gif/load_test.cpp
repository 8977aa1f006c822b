#include <gtest/gtest.h>

#include <cstring>

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
    bool interlaced;
    unsigned codeSize;
    Bytes picture, stream;

    Frame(Random& random, int w, int h, unsigned size) : width(w), height(h), codeSize(size) {
        interlaced = random.oneIn(2);
        picture = random.bytes(static_cast<std::size_t>(w * h));
        for (auto& p : picture) p = static_cast<std::uint8_t>(p & ((1u << codeSize) - 1));
        for (const int y : rowOrder(h, interlaced))
            stream.insert(stream.end(), picture.begin() + y * w, picture.begin() + (y + 1) * w);
    }
    std::string describe() const {
        return std::to_string(width) + "x" + std::to_string(height) + (interlaced ? " interlaced" : "") +
               " code size " + std::to_string(codeSize);
    }
    GifBuilder builder() const {
        GifBuilder gif;
        gif.header(width, height, 0x80 | 7).table(8).comment(std::string(90, 'c'));
        gif.descriptor(width, height, interlaced ? 0x40 : 0);
        return gif;
    }
    unsigned at(int x, int y) const { return picture[static_cast<std::size_t>(y * width + x)]; }
};

// What the image must hold after the stream's first rows have been stored.
void drawPlainly(const Frame& frame, TestImage& image, int streamRows) {
    const int width = std::min(frame.width, image.areaWidth());
    const int height = std::min(frame.height, image.areaHeight());
    const std::vector<int> order = rowOrder(frame.height, frame.interlaced);
    for (int i = 0; i < std::min(height, streamRows); i++) {
        const int y = order[static_cast<std::size_t>(i)];
        if (y >= height) continue;
        for (int x = 0; x < width; x++)
            image.setPixel(static_cast<int>(image->left) + x, static_cast<int>(image->top) + y,
                           frame.at(x, y));
    }
}

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
    const unsigned width = static_cast<unsigned>(frame.width) + 7,
                   height = static_cast<unsigned>(frame.height);
    TestImage image(width, height, 8), want(width, height, 8);
    drawPlainly(frame, want, rows);
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
        TestImage image(1 + random.below(80), 1 + random.below(40), bits, random.oneIn(10));
        image.randomise(random);
        image.randomArea(random);
        TestImage want(image);
        drawPlainly(frame, want, frame.height);
        const std::string what = image.describe() + " frame " + frame.describe();
        const Bytes gif = frame.builder().data(frame.codeSize, frame.stream).trailer().bytes;
        ASSERT_EQ(loadGuarded(gif, image), 0) << what;
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
        expectRows(frame, frame.builder().codes(codeSize, codes).trailer().bytes, 120);
    }
}

TEST(GifLoad, ReadsBlocksOfAnySizeAcrossThePiecesOfAFile) {
    Random random(3);
    const Frame frame(random, 500, 400, 8);
    const Bytes data = packed(8, literalCodes(8, frame.stream));
    TestImage want(500, 400, 8);
    drawPlainly(frame, want, 400);
    for (const std::size_t size : {1u, 2u, 127u, 254u, 255u}) {
        const TempFile file(".gif");
        writeFile(file.name(), frame.builder().raw({8}).raw(subBlocks(data, size)).trailer().bytes);
        TestImage image(500, 400, 8);
        EXPECT_EQ(loadgif(file.name(), image), 0) << size;
        EXPECT_EQ(image.bytes(), want.bytes()) << size;
        EXPECT_EQ(loadgifW(file.wideName(), image), 0) << size;
    }
}

TEST(GifLoad, StringCodesAreRefusedAfterTheRowsBefore) {
    Random random(4);
    for (int round = 0; round < 300; round++) {
        const Frame frame(random, random.between(1, 60), random.between(2, 20), 2 + random.below(7));
        std::vector<unsigned> codes = literalCodes(frame.codeSize, frame.stream);
        const unsigned clear = 1u << frame.codeSize;
        const std::size_t at = 2 + random.below(static_cast<unsigned>(codes.size()) - 3);
        const auto pixelsBefore =
            std::count_if(codes.begin(), codes.begin() + static_cast<std::ptrdiff_t>(at),
                          [&](unsigned code) { return code < clear; });
        codes[at] = clear + 2 + random.below(clear - 2);
        expectRows(frame, frame.builder().codes(frame.codeSize, codes).trailer().bytes,
                   static_cast<int>(pixelsBefore) / frame.width, ERR_LZW_CODE);
    }
}

TEST(GifLoad, TheEndCodeAndTheTerminatorEndAFrameEarlyWithoutAnError) {
    Random random(5);
    const Frame frame(random, 20, 10, 8);
    std::vector<unsigned> codes = literalCodes(8, slice(frame.stream, 0, 119));  // most of the sixth row
    expectRows(frame, frame.builder().codes(8, codes).trailer().bytes, 5);
    codes.pop_back();
    expectRows(frame, frame.builder().codes(8, codes).trailer().bytes, 5);
}

TEST(GifLoad, TruncatedDataGivesTheRowsBeforeAndThePalette) {
    Random random(6);
    const Frame frame(random, 23, 17, 8);
    const Bytes whole = frame.builder().data(8, frame.stream).bytes;
    const std::size_t start = frame.builder().bytes.size() + 1;
    for (std::size_t length = start; length < whole.size(); length++) {
        const std::size_t blocks = (length - start + 255) / 256;  // length bytes
        const std::size_t codes = (length - start - blocks) * 8 / 9;
        const std::size_t pixels = codes - (codes + 254) / 255;
        const int rows = static_cast<int>(pixels / 23);
        expectRows(frame, slice(whole, 0, length), rows, rows < 17 ? ERR_TRUNCATED : 0);
    }
}

TEST(GifLoad, ChecksTheImageAndTheCodeSize) {
    Random random(7);
    const Frame frame(random, 5, 5, 4);
    const Bytes good = frame.builder().data(4, frame.stream).trailer().bytes;
    TestImage true24(9, 9, 24), grey16(9, 9, 16), eight(9, 9, 8);
    EXPECT_EQ(loadGuarded(good, true24), ERR_BITS);
    EXPECT_EQ(loadGuarded(good, grey16), ERR_BITS);
    EXPECT_EQ(loadGuarded(good, nullptr), ERR_RANGE);
    EXPECT_EQ(loadGuarded(Bytes(200, 'x'), true24), ERR_BAD_GIF) << "the file is looked at first";
    setimagearea(eight, 0, 0, 9, 9);
    EXPECT_EQ(loadGuarded(good, eight), ERR_RANGE);
    setimagearea(eight, 8, 8, 0, 0);
    EXPECT_EQ(loadGuarded(good, eight), 0) << "swapped edges";
    for (unsigned codeSize = 0; codeSize < 256; codeSize++) {
        Bytes bytes = frame.builder().bytes;
        bytes.push_back(static_cast<std::uint8_t>(codeSize));
        append(bytes, {1, 0, 0, ';'});
        EXPECT_EQ(loadGuarded(bytes, eight), codeSize >= 1 && codeSize <= 8 ? 0 : ERR_BAD_GIF) << codeSize;
    }
}

TEST(GifLoad, ZeroSizesDrawNothing) {
    TestImage image(9, 9, 8);
    const auto before = image.bytes();
    for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}, {0, 65535}, {65535, 0}}) {
        GifBuilder gif;
        gif.header(0, 0).comment(std::string(90, 'c')).descriptor(width, height).data(8, Bytes(400, 7));
        EXPECT_EQ(loadGuarded(gif.trailer().bytes, image), 0) << width << "x" << height;
        EXPECT_EQ(image.bytes(), before) << width << "x" << height;
    }
}

TEST(GifLoad, FramesLoadThroughTheirRecords) {
    const GuardedBytes source(richGif());
    const TempFile file(".gif");
    writeFile(file.name(), richGif());
    GifGlobalInfo global;
    GifFrameInfo frames[3];
    ASSERT_EQ(gifinfoallframesfrombuffer(source.data(), &global, frames, 3), 0);
    for (int k = 0; k < 3; k++) {
        const unsigned bits = static_cast<unsigned>(frames[k].dibbits);
        TestImage a(12, 9, bits), b(12, 9, bits), c(12, 9, bits);
        EXPECT_EQ(loadgifframefrombuffer(source.data(), a, &global, &frames[k]), 0) << k;
        EXPECT_EQ(loadgifframe(file.name(), b, &global, &frames[k]), 0) << k;
        EXPECT_EQ(loadgifframeW(file.wideName(), c, &global, &frames[k]), 0) << k;
        EXPECT_TRUE(a.bytes() == b.bytes() && a.bytes() == c.bytes()) << k;
        RGBQUAD palette[256];
        const int colours = loadgifframepalettefrombuffer(source.data(), palette, k);
        EXPECT_EQ(a->palcolors, colours);
        EXPECT_EQ(std::memcmp(a->palette, palette, static_cast<unsigned>(colours) * sizeof(RGBQUAD)), 0);
    }
    TestImage image(12, 9, 8), true24(3, 3, 24);
    EXPECT_EQ(loadgifframe("no such file.gif", image, &global, frames), ERR_OPEN);
    EXPECT_EQ(loadgifframe("no such file.gif", true24, &global, frames), ERR_BITS);
    EXPECT_EQ(loadgifframe(file.name(), image, nullptr, frames), ERR_RANGE);
    EXPECT_EQ(loadgifframefrombuffer(GuardedBytes(99).data(), image, &global, frames), ERR_SOURCE_BUFFER);
}

TEST(GifLoad, RecordsOfTheCallersOwnMakingDoNoHarm) {
    const GuardedBytes source(richGif());
    Random random(8);
    GifGlobalInfo global;
    GifFrameInfo good;
    ASSERT_EQ(gifinfoframefrombuffer(source.data(), nullptr, &global, &good, 1), 0);
    for (int round = 0; round < 20000; round++) {
        const MemoryWatch watch;
        GifFrameInfo frame = good;
        for (int i = random.between(1, 3); i > 0; i--) {
            const unsigned value = random.oneIn(2) ? random.below(200) : random.next();
            std::memcpy(reinterpret_cast<char*>(&frame) + 4 * random.below(16), &value, 4);
        }
        if (frame.width > 1000000) frame.width = 1000000;  // only to save time
        const bool bit = random.oneIn(2);
        TestImage image(12, 9, bit ? 1 : 8);
        const int code = loadgifframefrombuffer(source.data(), image, &global, &frame);
        ASSERT_TRUE(code == 0 || code == ERR_BAD_GIF || code == ERR_LZW_CODE || code == ERR_TRUNCATED ||
                    code == ERR_MEMORY)
            << code;
        ASSERT_GE(image->palcolors, 0);
        ASSERT_LE(image->palcolors, bit ? 2 : 256);
    }
}

TEST(GifLoad, TheGreyMarkFollowsThePalette) {
    Bytes greys;
    for (unsigned i = 0; i < 256; i++) append(greys, Bytes(3, static_cast<std::uint8_t>(i)));
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
