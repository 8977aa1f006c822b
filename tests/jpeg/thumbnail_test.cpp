// Small pictures: stored thumbnails and reduced decoding.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/jpeg/stream_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

Bytes streamWith(const Bytes& segments, const CoefPicture& picture, Random& random,
                 bool progressive = false) {
    StreamPlan plan = progressive ? progressiveScans(picture) : oneScan(picture);
    plan.segments = segments;
    return encode(picture, plan, random);
}

unsigned bgr(const std::uint8_t* rgb) {
    return static_cast<unsigned>(rgb[2] | rgb[1] << 8 | rgb[0] << 16);
}

}  // namespace

TEST(JpegThumbnail, AStoredOneIsScaledIntoTheAreaInItsShape) {
    Random random(1);
    const Bytes pixels = random.bytes(80 * 60 * 3);
    const CoefPicture picture = randomPicture(random, 160, 120, "21,11,11");
    const GuardedBytes source(streamWith(jfif(0, 80, 60, pixels), picture, random));
    struct {
        unsigned areaWidth, areaHeight, width, height;
    } const cases[] = {{40, 40, 40, 30},     {80, 60, 80, 60},  {40, 15, 20, 15}, {100, 60, 80, 60},
                       {300, 300, 160, 120}, {300, 60, 80, 60}, {1, 100, 1, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.areaWidth) + "x" + std::to_string(c.areaHeight));
        TestImage image(c.areaWidth + 7, c.areaHeight + 5, 24);
        std::memset(image.image.bits, 0xA5, image->header->biSizeImage);
        setimagearea(image, 3, 2, c.areaWidth + 2, c.areaHeight + 1);
        ASSERT_EQ(loadjpgthumbnailfrombuffer(source.data(), image, 0), c.height ? 0 : ERR_RANGE);
        EXPECT_EQ(image->right, c.areaWidth + 2);
        EXPECT_EQ(image->bottom, c.areaHeight + 1);
        for (int y = 0; y < image.height(); y++)
            for (int x = 0; x < image.width(); x++) {
                const int px = x - 3, py = y - 2;
                const bool inside =
                    px >= 0 && py >= 0 && px < static_cast<int>(c.width) && py < static_cast<int>(c.height);
                const unsigned have = image.pixel(x, y);
                if (!inside) {
                    ASSERT_EQ(have, 0xA5A5A5u) << x << "," << y;
                } else if (c.width == 80) {
                    ASSERT_EQ(have, bgr(&pixels[3u * static_cast<unsigned>(80 * py + px)]));
                }
            }
        if (c.height) {
            EXPECT_EQ(image.pixel(3, 2), bgr(&pixels[0]));
        }
    }
}

TEST(JpegThumbnail, APaletteOneBringsItsPalette) {
    Random random(2);
    Bytes palette = random.bytes(768);
    const Bytes pixels = random.bytes(30 * 20);
    const CoefPicture picture = randomPicture(random, 160, 120, "21,11,11");
    for (const bool grey : {false, true}) {
        if (grey)
            for (unsigned i = 0; i < 768; i++) palette[i] = static_cast<std::uint8_t>(i / 3);
        const GuardedBytes source(streamWith(jfxx(0x11, 30, 20, palette + pixels), picture, random));
        TestImage image(30, 20, 8);
        ASSERT_EQ(loadjpgthumbnailfrombuffer(source.data(), image, 0), 0);
        for (unsigned i = 0; i < 256; i++) {
            const RGBQUAD& q = image->palette[i];
            EXPECT_EQ(static_cast<unsigned>(q.rgbBlue | q.rgbGreen << 8 | q.rgbRed << 16),
                      bgr(&palette[3 * i]))
                << i;
        }
        EXPECT_EQ(image->palcolors, 256);
        EXPECT_EQ(image->imgkind & 1, grey ? 1u : 0u);
        for (int i = 0; i < 600; i++)
            EXPECT_EQ(image.pixel(i % 30, i / 30), pixels[static_cast<unsigned>(i)]);
        TestImage wrong(30, 20, 24);
        EXPECT_EQ(loadjpgthumbnailfrombuffer(source.data(), wrong, 0), ERR_BITS);
    }
}

TEST(JpegThumbnail, WithoutAStoredOneThePictureIsSampled) {
    Random random(3);
    struct {
        const char* name;
        Bytes segments;
        int mode;
    } const cases[] = {{"none", {}, 0},
                       {"not wanted", jfif(0, 8, 6), 1},
                       {"JPEG-coded", jfxx(0x10, 8, 6), 0},
                       {"unknown extension", jfif(0, 8, 6) + jfxx(0x12, 8, 6), 0},
                       {"no width", jfif(0, 8, 6) + jfxx(0x11, 0, 6, Bytes(800)), 0}};
    const CoefPicture picture = randomPicture(random, 400, 200, "21,11,11");
    const PlainPlanes planes = decodePlainly(picture);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const GuardedBytes source(streamWith(c.segments, picture, random));
        TestImage image(100, 100, 24);
        ASSERT_EQ(loadjpgthumbnailfrombuffer(source.data(), image, c.mode), 0);
        for (int y = 0; y < 100; y++)
            for (int x = 0; x < 100; x++)
                ASSERT_EQ(image.pixel(x, y), y < 50 ? plainPixel(planes, Colours::ycbcr, 4 * x, 4 * y) : 0)
                    << x << "," << y;
    }
}

// Every reduction, from none to a single pixel, picks the nearest samples.
TEST(JpegThumbnail, EveryReductionPicksTheRightPixels) {
    Random random(4);
    const char* const samplings[] = {"11",       "11,11,11", "21,11,11",   "22,11,11",
                                     "41,11,11", "12,21,11", "22,11,11,22"};
    for (int round = 0; round < 120; round++) {
        const char* sampling = samplings[random.below(7)];
        CoefPicture picture = randomPicture(random, 1 + random.below(150), 1 + random.below(150), sampling);
        const Bytes stream = streamWith({}, picture, random, random.oneIn(3));
        const unsigned n = static_cast<unsigned>(picture.components.size());
        TestImage image(1 + random.below(170), 1 + random.below(170), n == 1 ? 8 : 24);
        image.randomArea(random);
        const unsigned aw = image->right - image->left + 1, ah = image->bottom - image->top + 1;
        unsigned width = aw, height = picture.height * aw / picture.width;
        if (picture.width * ah / picture.height < aw) {
            width = picture.width * ah / picture.height;
            height = ah;
        }
        width = std::min(width, picture.width);
        height = std::min(height, picture.height);
        const int code = loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 0);
        SCOPED_TRACE(std::string(sampling) + " " + std::to_string(picture.width) + "x" +
                     std::to_string(picture.height) + " into " + image.describe());
        ASSERT_EQ(code, width && height ? 0 : ERR_RANGE);
        if (code) continue;
        const PlainPlanes planes = decodePlainly(picture);
        const Colours colours = n == 1 ? Colours::grey : n == 3 ? Colours::ycbcr : Colours::ycck;
        for (unsigned y = 0; y < ah; y++)
            for (unsigned x = 0; x < aw; x++) {
                const unsigned want =
                    x < width && y < height
                        ? plainPixel(planes, colours, x * picture.width / width, y * picture.height / height)
                        : 0;
                ASSERT_EQ(image.pixel(static_cast<int>(image->left + x), static_cast<int>(image->top + y)),
                          want)
                    << x << "," << y;
            }
    }
}

TEST(JpegThumbnail, ACutOneIsATruncation) {
    Random random(5);
    Bytes stream = streamWith({}, randomPicture(random, 40, 40, "21,11,11"), random);
    const Bytes claims = jfxx(0x13, 250, 250);
    stream.insert(stream.begin() + 2, claims.begin(), claims.end());
    TestImage image(40, 40, 24);
    EXPECT_EQ(loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 0), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -101);
    EXPECT_EQ(loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 1), 0);
}
