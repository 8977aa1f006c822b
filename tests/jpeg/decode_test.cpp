// Decoded pixels against the plain second opinion.
#include <gtest/gtest.h>

#include "tests/jpeg/stream_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

Colours coloursOf(const CoefPicture& picture, const StreamPlan& plan) {
    switch (picture.components.size()) {
        case 1:
            return Colours::grey;
        case 3:
            return plan.adobeTransform == 0 ? Colours::rgb : Colours::ycbcr;
        default:
            return plan.adobeTransform == 0 ? Colours::cmyk : Colours::ycck;
    }
}

struct Case {
    CoefPicture picture;
    StreamPlan plan;
    std::string name;
};

// Loads into a random area of an image that may be larger or smaller than the picture: the picture's top-left
// part must be there, and nothing else may have changed.
void expectExact(const Case& c, Random& random, UINT option = 0, const Colours* forced = nullptr) {
    const GuardedBytes source(encode(c.picture, c.plan, random));
    const PlainPlanes planes = decodePlainly(c.picture);
    const Colours colours = forced ? *forced : coloursOf(c.picture, c.plan);
    const unsigned bits = colours == Colours::grey ? 8 : 24;
    const unsigned width = 1 + random.below(c.picture.width + 20);
    const unsigned height = 1 + random.below(c.picture.height + 20);
    TestImage image(width, height, bits, random.oneIn(2)), before(width, height, bits);
    image.randomise(random);
    std::memcpy(before.image.bits, image.image.bits, image.image.header->biSizeImage);
    if (!random.oneIn(3)) image.randomArea(random);
    ASSERT_EQ(loadjpgfrombufferex(source.data(), image, option), 0)
        << c.name << " detail " << jpeggeterror() << " " << image.describe();
    for (unsigned y = 0; y < height; y++)
        for (unsigned x = 0; x < width; x++) {
            const unsigned px = x - image->left, py = y - image->top;
            const bool inside =
                x <= image->right && y <= image->bottom && px < c.picture.width && py < c.picture.height;
            const int ix = static_cast<int>(x), iy = static_cast<int>(y);
            const unsigned want = inside ? plainPixel(planes, colours, px, py) : before.pixel(ix, iy);
            ASSERT_EQ(image.pixel(ix, iy), want)
                << c.name << " " << c.picture.width << "x" << c.picture.height << " at " << x << "," << y
                << " of " << image.describe();
        }
}

const char* const samplings[] = {"11",       "22",       "13",       "41",          "11,11,11",
                                 "21,11,11", "22,11,11", "12,11,11", "41,11,11",    "24,11,11",
                                 "14,11,11", "22,21,11", "11,22,11", "31,11,11",    "21,12,11",
                                 "32,11,21", "13,11,12", "21,21,21", "11,11,11,11", "22,11,11,22"};

CoefPicture randomPicture(Random& random, const std::string& sampling, bool wild) {
    CoefPicture picture = makePicture(1 + random.below(70), 1 + random.below(70), sampling);
    randomiseBlocks(picture, random, wild);
    return picture;
}

}  // namespace

TEST(JpegDecode, EverySamplingAndEveryKindOfScanIsExact) {
    Random random(1);
    for (const char* sampling : samplings)
        for (int round = 0; round < 16; round++) {
            Case c;
            c.picture = randomPicture(random, sampling, round / 4 == 3);
            const int kind = round % 4;
            c.plan = kind == 0   ? oneScan(c.picture)
                     : kind == 1 ? separateScans(c.picture)
                     : kind == 2 ? firstAloneScans(c.picture)
                                 : progressiveScans(c.picture);
            if (random.oneIn(2)) c.plan.restartInterval = 1 + random.below(5);
            if (random.oneIn(3)) c.plan.adobeTransform = random.between(0, 2);
            c.plan.wideQuant = random.oneIn(2);
            const char* kinds[] = {"one scan", "separate scans", "first alone", "progressive"};
            c.name = std::string(sampling) + " " + kinds[kind] + " restart " +
                     std::to_string(c.plan.restartInterval);
            expectExact(c, random);
            if (HasFatalFailure()) return;
        }
}

// What is kept for each block of a plane must not push the blocks of the next one off their alignment.
TEST(JpegDecode, ProgressivePlanesOfOddNumbersOfBlocksAreExact) {
    Random random(5);
    for (const char* sampling : {"11,11,11", "22,11,11", "11,11,11,11"})
        for (const unsigned side : {1u, 8u, 24u, 41u}) {
            Case c;
            c.picture = makePicture(side, side, sampling);
            randomiseBlocks(c.picture, random, false);
            c.plan = progressiveScans(c.picture);
            c.name = std::string(sampling) + " of side " + std::to_string(side);
            expectExact(c, random);
            if (HasFatalFailure()) return;
        }
}

TEST(JpegDecode, QuantisersOf16BitsCutTheirProducts) {
    Random random(2);
    for (int round = 0; round < 20; round++) {
        Case c;
        c.picture = randomPicture(random, "21,11,11", true);
        for (auto& table : c.picture.quant)
            for (auto& q : table) q = static_cast<std::uint16_t>(random.between(1, 65535));
        c.plan = oneScan(c.picture);
        c.plan.wideQuant = true;
        c.name = "wide";
        expectExact(c, random);
        if (HasFatalFailure()) return;
    }
}

TEST(JpegDecode, TheOptionChoosesTheConversion) {
    struct {
        UINT option;
        Colours three, four;
    } const cases[] = {{0, Colours::ycbcr, Colours::ycck},
                       {JPEG_COLOR_YCBCR, Colours::ycbcr, Colours::ycbcr},
                       {JPEG_COLOR_RGB, Colours::rgb, Colours::rgb},
                       {JPEG_COLOR_CMYK, Colours::cmyk, Colours::cmyk},
                       {JPEG_COLOR_YCCK, Colours::ycbcr, Colours::ycck},
                       {0x84, Colours::ycbcr, Colours::ycck},
                       {0x85, Colours::ycbcr, Colours::ycbcr},
                       {0x01, Colours::ycbcr, Colours::ycck}};
    Random random(3);
    for (const auto& one : cases)
        for (const char* sampling : {"11", "21,11,11", "11,11,11,11"}) {
            Case c;
            c.picture = randomPicture(random, sampling, false);
            c.plan = oneScan(c.picture);
            c.name = "option " + std::to_string(one.option);
            const std::size_t n = c.picture.components.size();
            const Colours want = n == 1 ? Colours::grey : n == 3 ? one.three : one.four;
            expectExact(c, random, one.option, &want);
            if (HasFatalFailure()) return;
        }
}

TEST(JpegDecode, GreyPicturesGetTheGreyPalette) {
    Random random(4);
    CoefPicture picture = randomPicture(random, "11", false);
    const Bytes stream = encode(picture, oneScan(picture), random);
    const GuardedBytes source(stream);
    TestImage image(10, 10, 8);
    image.randomisePalette(random);
    ASSERT_EQ(loadjpgfrombuffer(source.data(), image), 0);
    EXPECT_EQ(isgrayscaleimage(image), 1);
    EXPECT_EQ(image->imgkind & 1, 1u);
    TestImage wrong(10, 10, 24);
    EXPECT_EQ(loadjpgfrombuffer(source.data(), wrong), ERR_BITS);
}

TEST(JpegDecode, FilesLoadLikeBuffers) {
    Random random(5);
    CoefPicture picture = makePicture(600, 400, "22,11,11");
    randomiseBlocks(picture, random, true);
    const Bytes stream = encode(picture, oneScan(picture), random);
    ASSERT_GT(stream.size(), 65536u) << "more than one read buffer long";
    const TempFile file(".jpg");
    writeFile(file.name(), stream);
    const GuardedBytes source(stream);
    TestImage narrow(600, 400, 24), wide(600, 400, 24), buffer(600, 400, 24);
    ASSERT_EQ(loadjpg(file.name(), narrow), 0);
    ASSERT_EQ(loadjpgW(file.wideName(), wide), 0);
    ASSERT_EQ(loadjpgfrombuffer(source.data(), buffer), 0);
    EXPECT_EQ(narrow.bytes(), buffer.bytes());
    EXPECT_EQ(wide.bytes(), buffer.bytes());
    EXPECT_EQ(loadjpg("no such file.jpg", narrow), ERR_OPEN);
}

// Restart markers and the ends of scans at every position against the borders of the read buffer.
TEST(JpegDecode, NothingIsLostWhereTheReadBufferEnds) {
    Random random(6);
    for (const bool progressive : {false, true}) {
        Case c;
        c.picture = makePicture(256, 640, "11,11,11");
        randomiseBlocks(c.picture, random, true);
        c.plan = progressive ? progressiveScans(c.picture) : oneScan(c.picture);
        c.plan.restartInterval = 1;
        for (unsigned shift = 0; shift < 24; shift++) {
            c.plan.segments = segment(0xE1, Bytes(shift, 0));
            c.name = std::string(progressive ? "progressive" : "sequential") + " shifted by " +
                     std::to_string(shift);
            const Bytes stream = encode(c.picture, c.plan, random);
            ASSERT_GT(stream.size(), 100000u);
            TestImage image(256, 640, 24);
            ASSERT_EQ(loadjpgfrombuffer(GuardedBytes(stream).data(), image), 0)
                << c.name << " " << jpeggeterror();
            const PlainPlanes planes = decodePlainly(c.picture);
            for (unsigned i = 0; i < 256 * 640; i += 37)
                ASSERT_EQ(image.pixel(static_cast<int>(i % 256), static_cast<int>(i / 256)),
                          plainPixel(planes, Colours::ycbcr, i % 256, i / 256))
                    << c.name << " pixel " << i;
        }
    }
}
