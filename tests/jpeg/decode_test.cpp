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

CoefPicture anyPicture(Random& random, const char* sampling, bool wild) {
    return randomPicture(random, 1 + random.below(70), 1 + random.below(70), sampling, wild);
}

}  // namespace

TEST(JpegDecode, EverySamplingAndEveryKindOfScanIsExact) {
    const std::pair<const char*, StreamPlan (*)(const CoefPicture&)> kinds[] = {
        {"one scan", oneScan},
        {"separate scans", separateScans},
        {"first alone", firstAloneScans},
        {"progressive", progressiveScans}};
    Random random(1);
    for (const char* sampling : samplings)
        for (int round = 0; round < 16; round++) {
            Case c;
            c.picture = anyPicture(random, sampling, round / 4 == 3);
            const auto& [kind, scans] = kinds[round % 4];
            c.plan = scans(c.picture);
            if (random.oneIn(2)) c.plan.restartInterval = 1 + random.below(5);
            if (random.oneIn(3)) c.plan.adobeTransform = random.between(0, 2);
            c.plan.wideQuant = random.oneIn(2);
            c.name =
                std::string(sampling) + " " + kind + " restart " + std::to_string(c.plan.restartInterval);
            ASSERT_NO_FATAL_FAILURE(expectExact(c, random));
        }
}

// What is kept for each block of a plane must not push the blocks of the next one off their alignment.
TEST(JpegDecode, ProgressivePlanesOfOddNumbersOfBlocksAreExact) {
    Random random(5);
    for (const char* sampling : {"11,11,11", "22,11,11", "11,11,11,11"})
        for (const unsigned side : {1u, 8u, 24u, 41u}) {
            Case c;
            c.picture = randomPicture(random, side, side, sampling);
            c.plan = progressiveScans(c.picture);
            c.name = std::string(sampling) + " of side " + std::to_string(side);
            ASSERT_NO_FATAL_FAILURE(expectExact(c, random));
        }
}

TEST(JpegDecode, QuantisersOf16BitsCutTheirProducts) {
    Random random(2);
    for (int round = 0; round < 20; round++) {
        Case c;
        c.picture = anyPicture(random, "21,11,11", true);
        for (auto& table : c.picture.quant)
            for (auto& q : table) q = static_cast<std::uint16_t>(random.between(1, 65535));
        c.plan = oneScan(c.picture);
        c.plan.wideQuant = true;
        c.name = "wide";
        ASSERT_NO_FATAL_FAILURE(expectExact(c, random));
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
            c.picture = anyPicture(random, sampling, false);
            c.plan = oneScan(c.picture);
            c.name = "option " + std::to_string(one.option);
            const std::size_t n = c.picture.components.size();
            const Colours want = n == 1 ? Colours::grey : n == 3 ? one.three : one.four;
            ASSERT_NO_FATAL_FAILURE(expectExact(c, random, one.option, &want));
        }
}

TEST(JpegDecode, GreyPicturesGetTheGreyPalette) {
    Random random(4);
    CoefPicture picture = anyPicture(random, "11", false);
    const Bytes stream = encode(picture, oneScan(picture), random);
    const GuardedBytes source(stream);
    TestImage image(10, 10, 8);
    image.randomisePalette(random);
    ASSERT_EQ(loadjpgfrombuffer(source.data(), image), 0);
    EXPECT_EQ(isgrayscaleimage(image), 1);
    EXPECT_EQ(image->imgkind & 1, 1u);
}

// More than one read buffer long, and with a thumbnail.
TEST(JpegDecode, FilesLoadLikeBuffers) {
    Random random(5);
    CoefPicture picture = randomPicture(random, 600, 400, "22,11,11", true);
    StreamPlan plan = oneScan(picture);
    plan.segments = jfif(0, 20, 10, random.bytes(600));
    const Bytes stream = encode(picture, plan, random);
    ASSERT_GT(stream.size(), 65536u);
    const TempFile file(".jpg");
    writeFile(file.name(), stream);
    const GuardedBytes source(stream);
    const auto pixels = [](auto load, auto from, auto... mode) {
        TestImage image(600, 400, 24);
        EXPECT_EQ(load(from, image, mode...), 0);
        return image.bytes();
    };
    const Bytes whole = pixels(loadjpgfrombuffer, source.data());
    const Bytes thumbnail = pixels(loadjpgthumbnailfrombuffer, source.data(), 0);
    EXPECT_NE(whole, thumbnail);
    EXPECT_EQ(pixels(loadjpg, file.name()), whole);
    EXPECT_EQ(pixels(loadjpgW, file.wideName()), whole);
    EXPECT_EQ(pixels(loadjpgthumbnail, file.name(), 0), thumbnail);
    EXPECT_EQ(pixels(loadjpgthumbnailW, file.wideName(), 0), thumbnail);
    TestImage image(20, 10, 24);
    EXPECT_EQ(loadjpg("no such file.jpg", image), ERR_OPEN);
    EXPECT_EQ(loadjpgthumbnail("no such file.jpg", image, 0), ERR_OPEN);
}

// Restart markers and the ends of scans at every position against the borders of the read buffer.
TEST(JpegDecode, NothingIsLostWhereTheReadBufferEnds) {
    Random random(6);
    for (const bool progressive : {false, true}) {
        Case c;
        c.picture = randomPicture(random, 256, 640, "11,11,11", true);
        c.plan = progressive ? progressiveScans(c.picture) : oneScan(c.picture);
        c.plan.restartInterval = 1;
        for (unsigned shift = 0; shift < 24; shift++) {
            c.plan.segments = segment(0xE1, Bytes(shift, 0));
            c.name = std::string(progressive ? "progressive" : "sequential") + " shifted by " +
                     std::to_string(shift);
            ASSERT_NO_FATAL_FAILURE(expectExact(c, random));
        }
    }
}
