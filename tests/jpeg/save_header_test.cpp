// The segments in front of a written picture: settings and thumbnails.
#include <gtest/gtest.h>

#include "process/resize.h"
#include "tests/jpeg/saved.h"
#include "tests/process/pictures.h"

using namespace test;

namespace {

// What a save writes behind SOI, or the JFIF segment with such a resolution, four bytes, and units.
Bytes startOf(TestImage& image) {
    return slice(saved(image, 50, 0), 2, 18);
}
Bytes jfifSegment(std::uint8_t units, const Bytes& resolution) {
    return Bytes{0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, units} + resolution + Bytes{0, 0};
}

struct Thumbnail {
    int kind = 0, width = 0, height = 0;
    Bytes data;
    bool operator==(const Thumbnail&) const = default;
};

// The extension segment, which comes second and is not followed by another one.
Thumbnail thumbnailOf(TestImage& image, UINT options) {
    const Bytes file = saved(image, 50, options);
    const unsigned length = file.at(22) << 8 | file.at(23);
    EXPECT_EQ(slice(file, 20, 2) + slice(file, 24, 5), (Bytes{0xFF, 0xE0, 'J', 'F', 'X', 'X', 0}));
    EXPECT_EQ(slice(file, 22 + length, 2), (Bytes{0xFF, 0xDB}));
    return {file.at(29), file.at(30), file.at(31), slice(file, 32, length - 10)};
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

TEST(JpegThumbnailSize, IsOneTo255AndStays) {
    for (const UINT size : {0u, 256u, 0xFFFFFFFFu}) EXPECT_EQ(jpegsetthumbnailsize(size), ERR_ARGUMENT);
    for (const UINT size : {255u, 1u}) EXPECT_EQ(jpegsetthumbnailsize(size), 0);
    TestImage image(20, 20, 24);
    for (int i = 0; i < 2; i++) EXPECT_EQ(thumbnailOf(image, 0x10).width, 1);
    EXPECT_EQ(jpegsetthumbnailsize(64), 0);
}

// Grey ones are indices behind the palette, others red, green and blue, of the reduced area from the top. The
// longer side is as it was set.
TEST(JpegThumbnail, IsTheReducedAreaInItsShape) {
    struct {
        unsigned width, height, thumbnailWidth, thumbnailHeight;
    } const cases[] = {{200, 100, 64, 32}, {100, 200, 32, 64}, {50, 50, 64, 64}, {3, 2, 64, 42},
                       {300, 3, 64, 1},    {3, 300, 1, 64},    {1, 1, 64, 64},   {64, 64, 64, 64}};
    Random random(1);
    for (const auto& c : cases)
        for (const auto& [bits, isGrey] : {std::pair{24u, false}, {8u, true}, {8u, false}}) {
            TestImage image(c.width + 5, c.height + 5, bits);
            TestImage reduced(c.thumbnailWidth, c.thumbnailHeight, bits);
            image.randomise(random), image.randomisePalette(random);
            image->imgkind = isGrey;
            setimagearea(image, 2, 1, 1 + c.width, c.height);
            ASSERT_EQ(orn32::resizeimage_(image, reduced, 1), 0);
            Thumbnail want = {isGrey ? 0x11 : 0x13, reduced.width(), reduced.height(), {}};
            const auto append = [&](unsigned bgr) {
                for (const unsigned shift : {16, 8, 0}) want.data.push_back(std::uint8_t(bgr >> shift));
            };
            if (isGrey)
                for (const unsigned entry : paletteColours(image.image)) append(entry);
            const Grid pixels = isGrey ? wholePicture(reduced) : coloursOf(reduced, wholePicture(reduced));
            for (const unsigned pixel : pixels.pixels)
                if (isGrey)
                    want.data.push_back(std::uint8_t(pixel));
                else
                    append(pixel);
            for (const UINT options : {0x10u, 0x11u, 0x12u})
                EXPECT_EQ(thumbnailOf(image, options), want) << image.describe() << ", options " << options;
        }
}
