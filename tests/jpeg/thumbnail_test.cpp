// Small pictures: stored thumbnails and reduced decoding.
#include <gtest/gtest.h>

#include <algorithm>

#include "process/resize.h"
#include "tests/jpeg/plain_jpeg.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

Bytes streamWith(const Bytes& segments, const CoefPicture& picture, Random& random,
                 StreamPlan (*scans)(const CoefPicture&) = oneScan) {
    StreamPlan plan = scans(picture);
    plan.segments = segments;
    return encode(picture, plan, random);
}

// Red, green and blue of each colour.
Bytes triples(const std::vector<unsigned>& colours) {
    Bytes bytes;
    for (const unsigned colour : colours)
        for (const int c : {2, 1, 0}) bytes.push_back(std::uint8_t(channel(colour, c)));
    return bytes;
}

Colours coloursOf(std::size_t components) {
    return components == 1 ? Colours::grey : components == 3 ? Colours::ycbcr : Colours::ycck;
}

}  // namespace

TEST(JpegStoredThumbnail, IsScaledIntoTheAreaInItsShapeWithItsPalette) {
    struct {
        unsigned areaWidth, areaHeight, width, height;
    } const cases[] = {{40, 40, 40, 30},     {80, 60, 80, 60},  {40, 15, 20, 15}, {100, 60, 80, 60},
                       {300, 300, 160, 120}, {300, 60, 80, 60}, {41, 31, 41, 30}, {1, 100, 1, 0}};
    Random random(1);
    const CoefPicture picture = randomPicture(random, 160, 120, "21,11,11");
    for (const auto& [kind, bits, isGrey] : {std::tuple{0x10u, 24u, false},  // stands for one of JFIF itself
                                             {0x13u, 24u, false},
                                             {0x11u, 8u, false},
                                             {0x11u, 8u, true}}) {
        TestImage stored(80, 60, bits);
        stored.randomise(random);
        if (!isGrey) stored.randomisePalette(random);
        const Grid pixels = wholePicture(stored);
        const Bytes indices(pixels.pixels.begin(), pixels.pixels.end());
        const Bytes contents =
            bits == 24 ? triples(pixels.pixels) : triples(paletteColours(stored.image)) + indices;
        const Bytes junk = segment(0xE1, Bytes(65000));  // much before it, more than is read at once
        const Bytes segments = kind == 0x13   ? junk + junk + jfxx(kind, 80, 60, contents)
                               : kind == 0x10 ? jfif(0, 80, 60, contents)
                                              : jfxx(kind, 80, 60, contents);
        const GuardedBytes source(streamWith(segments, picture, random));
        const TempFile file(".jpg");
        writeFile(file.name(), Bytes(source.data(), source.data() + source.size()));
        for (const auto& c : cases) {
            SCOPED_TRACE(std::to_string(c.areaWidth) + "x" + std::to_string(c.areaHeight));
            TestImage image(c.areaWidth + 7, c.areaHeight + 5, bits);
            image.randomise(random);
            TestImage want(image);
            setimagearea(image, 3, 2, c.areaWidth + 2, c.areaHeight + 1);
            const auto load = [&] {
                switch (random.below(3)) {
                    case 0:
                        return loadjpgthumbnail(file.name(), image, 0);
                    case 1:
                        return loadjpgthumbnailW(file.wideName(), image, 0);
                    default:
                        return loadjpgthumbnailfrombuffer(source.data(), image, 0);
                }
            };
            ASSERT_EQ(load(), c.height ? 0 : ERR_RANGE);
            EXPECT_EQ(std::pair(image->right, image->bottom), std::pair(c.areaWidth + 2, c.areaHeight + 1));
            setimagearea(want, 3, 2, 2 + c.width, 1 + c.height);
            ASSERT_TRUE(!c.height || orn32::resizeimage_(stored, want, 0) == 0);
            EXPECT_EQ(image.bytes(), want.bytes());
            if (!c.height || bits == 24) continue;
            EXPECT_EQ(paletteColours(image.image), paletteColours(stored.image));
            EXPECT_EQ(std::pair(image->palcolors, image->imgkind & 1), std::pair(256, UINT{isGrey}));
        }
        TestImage wrong(30, 20, 32 - bits);
        EXPECT_EQ(loadjpgthumbnailfrombuffer(source.data(), wrong, 0), ERR_BITS);
    }
}

// Every reduction, from none to a single pixel, picks the nearest samples.
TEST(JpegThumbnail, WithoutAStoredOneThePictureIsSampled) {
    Random random(4);
    struct {
        const char* name;
        Bytes segments;
        int mode;
    } const starts[] = {{"none", {}, 0},
                        {"not wanted", jfif(0, 8, 6), 1},
                        {"JPEG-coded", jfxx(0x10, 8, 6), 0},
                        {"unknown extension", jfif(0, 8, 6) + jfxx(0x12, 8, 6), 0},
                        {"no width", jfif(0, 8, 6) + jfxx(0x11, 0, 6, Bytes(800)), 0}};
    constexpr const char* samplings[] = {"11", "11,11,11", "21,11,11", "22,11,11"};
    constexpr StreamPlan (*scans[])(const CoefPicture&) = {oneScan, progressiveScans, separateScans};
    for (unsigned round = 0; round < 300; round++) {
        const std::string sampling = random.oneIn(2) ? samplings[random.below(4)] : randomSampling(random);
        const auto& start = starts[round % 5];
        const unsigned side = random.oneIn(2) ? 150 : 40;
        const CoefPicture picture =
            randomPicture(random, 1 + random.below(side), 1 + random.below(side), sampling, random.oneIn(4));
        const std::size_t n = picture.components.size();
        TestImage image(side + 20, side + 20, n == 1 ? 8 : 24);
        image.randomArea(random);
        const unsigned aw = unsigned(image.areaWidth()), ah = unsigned(image.areaHeight());
        unsigned width = aw, height = picture.height * aw / picture.width;
        if (picture.width * ah / picture.height < aw)
            width = picture.width * ah / picture.height, height = ah;
        width = std::min(width, picture.width), height = std::min(height, picture.height);
        const GuardedBytes source(streamWith(start.segments, picture, random, scans[random.below(3)]));
        const int code = loadjpgthumbnailfrombuffer(source.data(), image, start.mode);
        SCOPED_TRACE(std::string(start.name) + ", " + sampling + ", " + std::to_string(picture.width) + "x" +
                     std::to_string(picture.height) + " into " + image.describe());
        ASSERT_EQ(code, width && height ? 0 : ERR_RANGE);
        if (code) continue;
        const PlainPlanes planes = decodePlainly(picture);
        const Grid want(int(aw), int(ah), [&](unsigned x, unsigned y) {
            if (x >= width || y >= height) return 0u;
            return plainPixel(planes, coloursOf(n), x * picture.width / width, y * picture.height / height);
        });
        ASSERT_EQ(areaPixels(image, int(aw), int(ah)).pixels, want.pixels);
    }
}

// A load shows whole MCUs, all of them if only the end mark is missing, and leaves the rest as it was; a
// reduced one has samples of that.
TEST(JpegThumbnail, OfACutFileHasTheSamplesThatALoadShows) {
    Random random(6);
    int cuts = 0;
    for (unsigned round = 0; round < 300; round++) {
        const CoefPicture picture =
            randomPicture(random, 1 + random.below(70), 1 + random.below(70), randomSampling(random));
        Bytes stream = streamWith({}, picture, random);
        const std::size_t scan = find(stream, 0xDA);
        const bool isMarkMissing = random.oneIn(3);
        stream.resize(isMarkMissing ? stream.size() - 2
                                    : scan + 14 + random.below(unsigned(stream.size() - scan - 14)));
        const GuardedBytes source(stream);
        const std::size_t n = picture.components.size();
        const unsigned bits = n == 1 ? 8 : 24;
        TestImage whole(picture.width, picture.height, bits), reduced(picture.width, picture.height, bits);
        for (TestImage* image : {&whole, &reduced})
            std::memset(image->image.bits, 0xA5, image->image.header->biSizeImage);
        reduced->right = random.below(picture.width);
        const unsigned width = unsigned(reduced.areaWidth()), height = picture.height * width / picture.width;
        if (height == 0) continue;
        const int code = loadjpgfrombuffer(source.data(), whole);
        const int reducedCode = loadjpgthumbnailfrombuffer(source.data(), reduced, 1);
        SCOPED_TRACE("round " + std::to_string(round) + ", " + whole.describe() + " into " +
                     reduced.describe());
        ASSERT_TRUE(reducedCode == code || reducedCode == 0) << reducedCode << " and " << code;
        ASSERT_TRUE(!isMarkMissing || code == 0) << code;
        const PlainPlanes planes = decodePlainly(picture);
        for (unsigned y = 0; y < picture.height; y++)
            for (unsigned x = 0; x < picture.width; x++) {
                const unsigned have = whole.pixel(int(x), int(y));
                ASSERT_TRUE(have == plainPixel(planes, coloursOf(n), x, y) ||
                            (code != 0 && have == (n == 1 ? 0xA5 : 0xA5A5A5)))
                    << x << "," << y;
            }
        for (unsigned y = 0; y < height; y++)
            for (unsigned x = 0; x < width; x++)
                ASSERT_EQ(reduced.pixel(int(x), int(y)),
                          whole.pixel(int(x * picture.width / width), int(y * picture.height / height)))
                    << x << "," << y;
        cuts += reducedCode == ERR_TRUNCATED;
    }
    EXPECT_GT(cuts, 80);
}

TEST(JpegStoredThumbnail, ACutOneIsATruncation) {
    Random random(5);
    Bytes stream = streamWith({}, randomPicture(random, 40, 40, "21,11,11"), random);
    const Bytes claims = jfxx(0x13, 250, 250);
    stream.insert(stream.begin() + 2, claims.begin(), claims.end());
    TestImage image(40, 40, 24);
    EXPECT_EQ(loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 0), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -101);
    EXPECT_EQ(loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 1), 0);
}
