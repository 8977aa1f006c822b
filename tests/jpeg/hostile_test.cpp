// Damaged and hostile streams: the result, and what was decoded stays.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

Bytes sample(Random& random, const char* sampling, bool progressive, unsigned restart = 0,
             unsigned width = 37, unsigned height = 29) {
    CoefPicture picture = randomPicture(random, width, height, sampling);
    StreamPlan plan = progressive ? progressiveScans(picture) : oneScan(picture);
    plan.restartInterval = restart;
    return encode(picture, plan, random);
}

}  // namespace

TEST(JpegHostile, CutAtEveryLength) {
    Random random(1);
    for (const bool progressive : {false, true}) {
        const Bytes stream = sample(random, "21,11,11", progressive, progressive ? 3 : 0);
        const std::size_t firstScan = find(stream, 0xDA);
        const std::size_t enough = progressive ? find(stream, 0xC4, 3) : stream.size() - 2;
        for (std::size_t n = 100; n < stream.size(); n++) {
            const GuardedBytes source(slice(stream, 0, n));
            TestImage image(37, 29, 24);
            const int want = n < firstScan + 2 ? ERR_BAD_JPEG : n < enough ? ERR_TRUNCATED : 0;
            ASSERT_EQ(loadjpgfrombuffer(source.data(), image), want)
                << "cut to " << n << " of " << stream.size() << ", detail " << jpeggeterror();
        }
    }
}

// Whole blocks stay, and what is below the last wanted row is not missed.
TEST(JpegHostile, ACutSequentialFileKeepsWhatWasDecoded) {
    Random random(2);
    CoefPicture picture = randomPicture(random, 64, 256, "11,11,11");
    Bytes stream = encode(picture, oneScan(picture), random);
    stream.resize(stream.size() * 2 / 3);
    const GuardedBytes source(stream);
    TestImage image(64, 256, 24), top(64, 64, 24);
    std::memset(image.image.bits, 0xA5, image->header->biSizeImage);
    EXPECT_EQ(loadjpgfrombuffer(source.data(), image), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -101);
    const auto have = wholePicture(image).pixels, want = plainPixels(picture);
    bool cut = false;
    for (unsigned block = 0; block < 256; block++) {
        bool decoded = true, untouched = true;
        for (unsigned i = 0; i < 64; i++) {
            const unsigned at = (block / 8 * 8 + i / 8) * 64 + block % 8 * 8 + i % 8;
            decoded &= have[at] == want[at];
            untouched &= have[at] == 0xA5A5A5;
        }
        cut |= !decoded;
        EXPECT_TRUE(cut ? untouched && block >= 128 : decoded) << "block " << block;
    }
    EXPECT_EQ(loadjpgfrombuffer(source.data(), top), 0);
    for (int y = 0; y < 64; y++) EXPECT_EQ(std::memcmp(image.row(y), top.row(y), 192), 0) << y;
}

// A header that claims a huge picture costs nothing by itself.
TEST(JpegHostile, HugeClaimsAreRefused) {
    struct {
        unsigned width, height;
        bool progressive;
        int want;
    } const cases[] = {{65535, 65535, true, ERR_RANGE},  {65535, 65535, false, ERR_RANGE},
                       {32768, 8, false, ERR_RANGE},     {8, 32768, true, ERR_RANGE},
                       {32767, 32767, true, ERR_MEMORY}, {32767, 32767, false, ERR_TRUNCATED},
                       {0, 8, false, ERR_RANGE},         {8, 0, false, ERR_RANGE}};
    Random random(6);
    for (const auto& c : cases) {
        Bytes stream = sample(random, "11,11,11", c.progressive, 0, 16, 16);
        const std::size_t at = find(stream, c.progressive ? 0xC2 : 0xC1) + 5;
        const unsigned claim[] = {c.height >> 8, c.height, c.width >> 8, c.width};
        for (unsigned i = 0; i < 4; i++) stream[at + i] = std::uint8_t(claim[i]);
        stream.resize(find(stream, 0xDA) + 14 + 10);
        const GuardedBytes source(stream);
        TestImage image(4, 32767, 24);
        EXPECT_EQ(loadjpgfrombuffer(source.data(), image), c.want) << c.width << "x" << c.height;
    }
}

// Refinements of the same coefficients, again and again: of none, so that rows are passed over; of one in
// every row, so that each of its blocks has to be looked at.
TEST(JpegHostile, ScansWithoutEndAreNotFollowed) {
    constexpr unsigned side = 2000;
    Random random(7);
    for (const bool costly : {false, true}) {
        CoefPicture picture = makePicture(side, side, "11");
        for (auto& quantisers : picture.quant) quantisers.fill(1);
        for (unsigned y = 0; costly && y < picture.components[0].down; y++)
            picture.components[0].blocks[y * picture.components[0].across + y % 7][1] = 2;
        StreamPlan plan = oneScan(picture);
        plan.progressive = true;
        plan.scans = {{{0}, 0, 0, 0, 0}, {{0}, 1, 63, 0, 1}, {{0}, 1, 63, 1, 0}};
        Bytes stream = encode(picture, plan, random);
        const std::uint8_t scanMarker[] = {0xFF, 0xDA};
        const Bytes last(std::find_end(stream.begin(), stream.end(), scanMarker, scanMarker + 2),
                         stream.end() - 2);
        stream.resize(stream.size() - 2);
        for (int i = 0; i < 10000; i++) stream.insert(stream.end(), last.begin(), last.end());
        TestImage image(side, side, 8);
        EXPECT_EQ(loadjpgfrombuffer(GuardedBytes(stream).data(), image), ERR_BAD_JPEG) << costly;
        EXPECT_EQ(jpeggeterror(), -113) << costly;
    }
}

TEST(JpegHostile, CorpusFilesLoadOrAreRefusedAsTheyShould) {
    for (const std::string& name : corpusFiles("jpeg", ".jpeg")) {
        SCOPED_TRACE(name);
        JpegInfo info;
        ASSERT_EQ(jpeginfo(name.c_str(), &info), 0);
        TestImage image(info.width, info.height, info.vbitcount);
        const bool isCut = name.find("default.truncated") != std::string::npos;
        EXPECT_EQ(loadjpg(name.c_str(), image), isCut ? ERR_TRUNCATED : 0);
        EXPECT_EQ(jpeggeterror(), name.find("truncated") != std::string::npos ? -101 : 0);
    }
}
