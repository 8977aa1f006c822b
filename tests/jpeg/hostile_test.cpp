// Damaged and hostile streams: a listed result, nothing leaked, nothing outside the area touched, no hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "tests/jpeg/stream_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

constexpr int listedCodes[] = {0,           ERR_OPEN,     ERR_MEMORY,
                               ERR_NO_DATA, ERR_BAD_JPEG, ERR_TRUNCATED,
                               ERR_BITS,    ERR_RANGE,    ERR_SOURCE_BUFFER};

bool isListed(int code) {
    return std::find(std::begin(listedCodes), std::end(listedCodes), code) != std::end(listedCodes);
}

Bytes sample(Random& random, const char* sampling, bool progressive, unsigned restart = 0,
             unsigned width = 37, unsigned height = 29) {
    CoefPicture picture = makePicture(width, height, sampling);
    randomiseBlocks(picture, random, false);
    StreamPlan plan = progressive ? progressiveScans(picture) : oneScan(picture);
    plan.restartInterval = restart;
    return encode(picture, plan, random);
}

// An image whose border must stay as it is.
class Framed {
 public:
    explicit Framed(unsigned bits) : image_(44, 40, bits) {
        std::memset(image_.image.bits, 0xA5, image_.image.header->biSizeImage);
        setimagearea(image_, 3, 4, 40, 36);
    }
    operator imgdes*() { return image_; }
    bool borderIsUntouched() const {
        const unsigned want = image_.bitsPerPixel() == 8 ? 0xA5 : 0xA5A5A5;
        for (int y = 0; y < 40; y++)
            for (int x = 0; x < 44; x++) {
                const bool inside = x >= 3 && x <= 40 && y >= 4 && y <= 36;
                if (!inside && image_.pixel(x, y) != want) return false;
            }
        return true;
    }

 private:
    TestImage image_;
};

int loadFramed(const Bytes& stream, unsigned bits) {
    const GuardedBytes source(stream);
    Framed image(bits);
    const int code = loadjpgfrombuffer(source.data(), image);
    EXPECT_TRUE(isListed(code)) << code;
    EXPECT_TRUE(image.borderIsUntouched());
    JpegInfo info;
    EXPECT_TRUE(isListed(jpeginfofrombuffer(source.data(), &info)));
    return code;
}

std::size_t positionOf(const Bytes& stream, std::uint8_t marker) {
    for (std::size_t i = 0; i + 1 < stream.size(); i++)
        if (stream[i] == 0xFF && stream[i + 1] == marker) return i;
    return 0;
}

}  // namespace

TEST(JpegHostile, CutAtEveryLength) {
    Random random(1);
    for (const bool progressive : {false, true}) {
        const Bytes stream = sample(random, "21,11,11", progressive, progressive ? 3 : 0);
        const std::size_t firstScan = positionOf(stream, 0xDA);
        std::size_t secondScan = firstScan + 2;
        while (progressive && !(stream[secondScan] == 0xFF && stream[secondScan + 1] == 0xC4)) secondScan++;
        for (std::size_t n = 100; n < stream.size(); n++) {
            SCOPED_TRACE("cut to " + std::to_string(n) + " of " + std::to_string(stream.size()));
            const int code = loadFramed(Bytes(stream.begin(), stream.begin() + static_cast<int>(n)), 24);
            const int detail = jpeggeterror();
            if (n < firstScan + 2)
                EXPECT_EQ(code, ERR_BAD_JPEG);
            else if (progressive ? n < secondScan : n < stream.size() - 2)
                EXPECT_EQ(code, ERR_TRUNCATED);
            else
                EXPECT_EQ(code, 0);
            if (HasFailure()) {
                FAIL() << "detail " << detail;
            }
        }
    }
}

TEST(JpegHostile, ACutSequentialFileKeepsWhatWasDecoded) {
    Random random(2);
    CoefPicture picture = makePicture(64, 64, "11,11,11");
    randomiseBlocks(picture, random, false);
    Bytes stream = encode(picture, oneScan(picture), random);
    stream.resize(stream.size() * 3 / 4);
    const GuardedBytes source(stream);
    TestImage image(64, 64, 24);
    std::memset(image.image.bits, 0xA5, image->header->biSizeImage);
    EXPECT_EQ(loadjpgfrombuffer(source.data(), image), ERR_TRUNCATED);
    const PlainPlanes planes = decodePlainly(picture);
    int x = 0, y = 0;
    while (y < 64 && image.pixel(x, y) == plainPixel(planes, Colours::ycbcr, static_cast<unsigned>(x),
                                                     static_cast<unsigned>(y))) {
        x = (x + 1) % 64;
        if (x == 0) y++;
    }
    EXPECT_GE(y, 32) << "rows above the cut";
    EXPECT_EQ(x % 8, 0) << "whole blocks of the row that was cut";
    const int left = x, band = y / 8;
    for (; y < 64; y++)
        for (x = y / 8 == band ? left : 0; x < 64; x++)
            ASSERT_EQ(image.pixel(x, y), 0xA5A5A5u) << "behind the cut at " << x << "," << y;
}

TEST(JpegHostile, ACutBelowTheLastWantedRowIsNoError) {
    Random random(3);
    CoefPicture picture = makePicture(64, 640, "11,11,11");
    randomiseBlocks(picture, random, false);
    Bytes stream = encode(picture, oneScan(picture), random);
    stream.resize(stream.size() / 2);
    const GuardedBytes source(stream);
    TestImage image(64, 64, 24);
    EXPECT_EQ(loadjpgfrombuffer(source.data(), image), 0);
    TestImage whole(64, 640, 24);
    EXPECT_EQ(loadjpgfrombuffer(source.data(), whole), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -101);
    for (int y = 0; y < 64; y++) EXPECT_EQ(std::memcmp(image.row(y), whole.row(y), 192), 0) << y;
}

TEST(JpegHostile, MutatedStreamsGiveAListedCode) {
    Random random(4);
    std::vector<std::pair<Bytes, unsigned>> seeds;
    for (const bool progressive : {false, true}) {
        seeds.push_back({sample(random, "22,11,11", progressive), 24});
        seeds.push_back({sample(random, "11", progressive, 4), 8});
        seeds.push_back({sample(random, "21,11,12,21", progressive, 2), 24});
    }
    CoefPicture picture = makePicture(30, 30, "21,11,11");
    randomiseBlocks(picture, random, true);
    seeds.push_back({encode(picture, separateScans(picture), random), 24});
    int loaded = 0;
    for (int round = 0; round < 14000; round++) {
        auto [stream, bits] = seeds[random.below(static_cast<unsigned>(seeds.size()))];
        const std::size_t headers = positionOf(stream, 0xDA) + 20;
        const unsigned flips = 1 + random.below(4);
        for (unsigned i = 0; i < flips; i++) {
            const std::size_t reach = random.oneIn(2) ? headers : stream.size();
            std::uint8_t& byte = stream[random.below(static_cast<unsigned>(reach))];
            byte = random.oneIn(3)   ? 0xFF
                   : random.oneIn(2) ? random.byte()
                                     : byte ^ static_cast<std::uint8_t>(1 << random.below(8));
        }
        if (random.oneIn(8))
            stream.resize(std::max<std::size_t>(100, random.below(static_cast<unsigned>(stream.size()))));
        loaded += loadFramed(stream, bits) == 0;
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(loaded, 1000);
    EXPECT_LT(loaded, 13000);
}

TEST(JpegHostile, EveryFailedAllocationIsReportedAndNothingLeaks) {
    Random random(5);
    for (const bool progressive : {false, true}) {
        const Bytes stream = sample(random, "21,11,11", progressive);
        const GuardedBytes source(stream);
        TestImage image(37, 29, 24);
        const int steps = failEveryAllocation([&] { return loadjpgfrombuffer(source.data(), image); },
                                              [&](int n, int code, const MemoryWatch& watch) {
                                                  EXPECT_EQ(code, ERR_MEMORY) << "allocation " << n;
                                                  EXPECT_EQ(watch.live(), 0) << "allocation " << n;
                                              });
        EXPECT_GE(steps, 5);
        JpegInfo info;
        failEveryAllocation([&] { return jpeginfofrombuffer(source.data(), &info); },
                            [&](int, int code, const MemoryWatch& watch) {
                                EXPECT_EQ(code, ERR_MEMORY);
                                EXPECT_EQ(watch.live(), 0);
                            });
    }
}

// A header that claims a huge picture costs nothing by itself.
TEST(JpegHostile, HugeClaimsAreRefusedAtOnce) {
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
        const std::size_t at = positionOf(stream, c.progressive ? 0xC2 : 0xC1) + 5;
        const unsigned claim[] = {c.height >> 8, c.height, c.width >> 8, c.width};
        for (unsigned i = 0; i < 4; i++) stream[at + i] = static_cast<std::uint8_t>(claim[i]);
        stream.resize(positionOf(stream, 0xDA) + 14 + 10);
        const GuardedBytes source(stream);
        TestImage image(4, 32767, 24);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(loadjpgfrombuffer(source.data(), image), c.want) << c.width << "x" << c.height;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
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
            picture.components[0].at(y % 7, y)[1] = 2;
        StreamPlan plan = oneScan(picture);
        plan.progressive = true;
        plan.scans = {{{0}, 0, 0, 0, 0}, {{0}, 1, 63, 0, 1}, {{0}, 1, 63, 1, 0}};
        Bytes stream = encode(picture, plan, random);
        stream.resize(stream.size() - 2);
        const std::uint8_t scanMarker[] = {0xFF, 0xDA};
        const Bytes last(std::find_end(stream.begin(), stream.end(), scanMarker, scanMarker + 2),
                         stream.end());
        Bytes repeated;
        for (int i = 0; i < 10000; i++) repeated.insert(repeated.end(), last.begin(), last.end());
        const GuardedBytes source(stream + repeated);
        TestImage image(side, side, 8);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(loadjpgfrombuffer(source.data(), image), ERR_BAD_JPEG);
        EXPECT_EQ(jpeggeterror(), -113);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        EXPECT_LT(seconds.count(), 10) << (costly ? "costly" : "cheap");
    }
}

TEST(JpegHostile, CorpusFilesLoadOrAreRefusedAsTheyShould) {
    for (const std::string& name : corpusFiles("jpeg", ".jpeg")) {
        SCOPED_TRACE(name);
        JpegInfo info;
        ASSERT_EQ(jpeginfo(name.c_str(), &info), 0);
        TestImage image(info.width, info.height, info.vbitcount);
        const int code = loadjpg(name.c_str(), image);
        const bool cut = name.find("default.truncated") != std::string::npos;
        EXPECT_EQ(code, cut ? ERR_TRUNCATED : 0);
        const bool stopsEarly = name.find("truncated") != std::string::npos;
        EXPECT_EQ(jpeggeterror(), stopsEarly ? -101 : 0);
    }
}
