// The segments in front of a written picture: settings and thumbnails.
#include <gtest/gtest.h>

#include "process/resize.h"
#include "tests/jpeg/saved.h"

using namespace test;

namespace {

// What a save writes behind SOI, or the JFIF segment with such a resolution, four bytes, and units.
Bytes startOf(TestImage& image) {
    const Bytes file = Saved(image, 50, 0).bytes();
    return {file.begin() + 2, file.begin() + 20};
}
Bytes jfifSegment(std::uint8_t units, const Bytes& resolution) {
    return Bytes{0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, units} + resolution + Bytes{0, 0};
}

struct Thumbnail {
    int kind = 0, width = 0, height = 0;
    unsigned length = 0;
    Bytes data;
};

// The extension segment, which comes second; kind 0 where there is none.
Thumbnail thumbnailOf(const Bytes& file) {
    if (file.at(20) != 0xFF || file.at(21) != 0xE0) return {};
    const unsigned length = file.at(22) << 8 | file.at(23);
    EXPECT_EQ(Bytes(file.begin() + 24, file.begin() + 29), (Bytes{'J', 'F', 'X', 'X', 0}));
    EXPECT_EQ(file.at(22 + length), 0xFF) << "no marker behind the segment";
    EXPECT_EQ(file.at(23 + length), 0xDB);
    return {file.at(29), file.at(30), file.at(31), length,
            Bytes(file.begin() + 32, file.begin() + 22 + length)};
}

}  // namespace

TEST(JpegResolution, IsWrittenOnceAndRevertsAfterTheSaveThatReachesItsHeader) {
    TestImage image(8, 8, 24), wrong(8, 8, 1);
    jpegsetxyresolution(300, 0x1234, 2);
    EXPECT_EQ(savejpg("unused.jpg", wrong, 50), ERR_BITS);
    EXPECT_EQ(savejpg("no such folder\\a.jpg", image, 50), ERR_CREATE);
    EXPECT_EQ(startOf(image), jfifSegment(2, {0x01, 0x2C, 0x12, 0x34}));
    EXPECT_EQ(startOf(image), jfifSegment(0, {0, 1, 0, 1}));
}

TEST(JpegResolution, ValuesOutOfRangeAreIgnoredEachByItself) {
    TestImage image(8, 8, 8);
    jpegsetxyresolution(300, 70000, 5);
    jpegsetxyresolution(65536, 65535, 3);
    EXPECT_EQ(startOf(image), jfifSegment(0, {0x01, 0x2C, 0xFF, 0xFF}));
}

TEST(JpegThumbnailSize, IsOneTo255) {
    EXPECT_EQ(jpegsetthumbnailsize(0), ERR_ARGUMENT);
    EXPECT_EQ(jpegsetthumbnailsize(256), ERR_ARGUMENT);
    EXPECT_EQ(jpegsetthumbnailsize(0xFFFFFFFF), ERR_ARGUMENT);
    EXPECT_EQ(jpegsetthumbnailsize(255), 0);
    EXPECT_EQ(jpegsetthumbnailsize(1), 0);
    TestImage image(20, 20, 24);
    EXPECT_EQ(thumbnailOf(Saved(image, 50, 0x10).bytes()).width, 1);
    EXPECT_EQ(thumbnailOf(Saved(image, 50, 0x10).bytes()).width, 1);  // it stays
    EXPECT_EQ(jpegsetthumbnailsize(64), 0);
}

TEST(JpegThumbnail, KeepsTheShapeOfTheAreaWithTheLongerSideAsSet) {
    struct {
        unsigned width, height;
        int thumbnailWidth, thumbnailHeight;
    } const cases[] = {{200, 100, 64, 32}, {100, 200, 32, 64}, {50, 50, 64, 64}, {3, 2, 64, 42},
                       {300, 3, 64, 1},    {3, 300, 1, 64},    {1, 1, 64, 64},   {64, 64, 64, 64}};
    for (const auto& c : cases) {
        for (const unsigned bits : {8u, 24u}) {
            TestImage image(c.width + 5, c.height + 5, bits);
            setimagearea(image, 2, 1, 1 + c.width, c.height);
            for (const UINT options : {0x10u, 0x11u, 0x12u}) {
                const Thumbnail have = thumbnailOf(Saved(image, 50, options).bytes());
                EXPECT_EQ(have.width, c.thumbnailWidth) << c.width << "x" << c.height;
                EXPECT_EQ(have.height, c.thumbnailHeight) << c.width << "x" << c.height;
                EXPECT_EQ(have.kind, bits == 8 ? 0x11 : 0x13);
            }
        }
    }
}

// Grey ones are indices behind the palette, others red, green and blue.
TEST(JpegThumbnail, IsTheReducedAreaFromTheTop) {
    Random random(1);
    for (const auto& [bits, grey] : {std::pair{24u, false}, {8u, true}, {8u, false}}) {
        TestImage image(150, 90, bits), reduced(64, 32, bits);
        image.randomise(random);
        image.randomisePalette(random);
        image->imgkind = grey;
        setimagearea(image, 7, 5, 134, 68);
        ASSERT_EQ(orn32::resizeimage_(image, reduced, 1), 0);
        const Thumbnail have = thumbnailOf(Saved(image, 50, 0x10).bytes());
        EXPECT_EQ(have.kind, grey ? 0x11 : 0x13);
        EXPECT_EQ(have.length, grey ? 10 + 768 + 64u * 32 : 10 + 64u * 32 * 3);
        Bytes want;
        const auto append = [&](RGBQUAD c) { want.insert(want.end(), {c.rgbRed, c.rgbGreen, c.rgbBlue}); };
        for (int i = 0; grey && i < 256; i++) append(image->palette[i]);
        for (int i = 0; i < 64 * 32; i++) {
            const std::uint8_t* p = reduced.row(i / 64) + i % 64 * static_cast<int>(bits / 8);
            if (grey)
                want.push_back(*p);
            else
                append(bits == 8 ? image->palette[*p] : RGBQUAD{p[0], p[1], p[2], 0});
        }
        EXPECT_EQ(have.data, want);
    }
}
