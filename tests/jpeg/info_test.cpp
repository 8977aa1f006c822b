#include <gtest/gtest.h>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

static_assert(sizeof(JpegInfo) == 40 && sizeof(JpegInfoEx) == 60);

namespace {

const Bytes soi = {0xFF, 0xD8}, eoi = {0xFF, 0xD9};
const Bytes sos = segment(0xDA, {3, 1, 0, 2, 0x11, 3, 0x11, 0, 63, 0});

Bytes frame(std::uint8_t marker, const char* sampling = "21,11,11") {
    return frameSegment(makePicture(0x304, 0x102, sampling), marker);
}

// Sources must be readable for 100 bytes.
Bytes padded(Bytes stream) {
    stream.resize(std::max<std::size_t>(stream.size(), 100), 0);
    return stream;
}

JpegInfoEx infoOf(const Bytes& stream, int wantCode = 0) {
    const GuardedBytes source(padded(stream));
    JpegInfoEx info;
    std::memset(&info, 0xEE, sizeof info);
    EXPECT_EQ(jpeginfofrombufferex(source.data(), &info), wantCode);
    return info;
}

}  // namespace

TEST(JpegInfo, ReadsTheFrame) {
    const GuardedBytes source(padded(soi + frame(0xC2) + sos));
    JpegInfo info, want = {};
    std::memset(&info, 0xEE, sizeof info);
    want.ftype = 2, want.width = 0x304, want.height = 0x102, want.comps = 3, want.precision = 8;
    want.sampfac[0] = 0x21, want.sampfac[1] = want.sampfac[2] = 0x11, want.vbitcount = 24;
    ASSERT_EQ(jpeginfofrombuffer(source.data(), &info), 0);
    EXPECT_EQ(std::memcmp(&info, &want, sizeof info), 0);
    EXPECT_EQ(infoOf(soi + frame(0xC0, "11") + sos).vbitcount, 8u);
}

TEST(JpegInfo, KnowsWhichMarkersAreFrames) {
    for (unsigned code = 0xC0; code <= 0xCF; code++) {
        const bool isFrame = code <= 0xC3 || (code >= 0xC9 && code <= 0xCB);
        const JpegInfoEx info = infoOf(soi + frame(std::uint8_t(code)) + sos);
        EXPECT_EQ(info.ftype, isFrame ? int(code & 15) : -1) << std::hex << code;
    }
}

TEST(JpegInfo, RefusesWithWhatWasFoundSoFar) {
    const Bytes junk = segment(0xE5, {1, 2, 3}) + Bytes{0, 1, 2} + segment(0xFE, {0xFF, 0xDA}) +
                       Bytes{0xFF, 0xFF, 0xFF} + Bytes{0xFF, 0x01, 0xFF, 0xD3, 0xFF, 0x00, 0xFF, 0xD8};
    struct {
        const char* name;
        Bytes stream;
        int code, detail, type;
    } const cases[] = {
        {"unknown segments, rubbish between them", Bytes{1, 2, 3} + soi + junk + frame(0xC2) + sos, 0, 0, 2},
        {"nothing behind the scan marker", soi + Bytes(96 - 17, 0) + frame(0xC0) + Bytes{0xFF, 0xDA}, 0, 0,
         0},
        {"no frame", soi + Bytes{0xFF, 0xDA}, 0, 0, -1},
        {"no image at the start", eoi + soi + frame(0xC0) + sos, ERR_BAD_JPEG, 0, -1},
        {"fill byte at the start", Bytes{0xFF} + soi + frame(0xC0) + sos, ERR_BAD_JPEG, 0, -1},
        {"end before a scan", soi + frame(0xC0) + eoi, ERR_BAD_JPEG, 0, 0},
        {"no scan", soi + frame(0xC2), ERR_BAD_JPEG, -101, 2},
        {"no markers", Bytes(100, 7), ERR_BAD_JPEG, -101, -1},
        {"segment cut", soi + frame(0xC0) + Bytes{0xFF, 0xE1, 0x40}, ERR_BAD_JPEG, -101, 0},
        {"five components", soi + frame(0xC1, "11,11,11,11,11") + sos, ERR_BAD_JPEG, -106, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(infoOf(c.stream, c.code).ftype, c.type);
        EXPECT_EQ(jpeggeterror(), c.detail);
    }
}

TEST(JpegInfo, ShortBuffersAndMissingFilesAreTold) {
    const GuardedBytes source(Bytes(99, 0xFF));
    JpegInfo info = {};
    EXPECT_EQ(jpeginfofrombuffer(source.data(), &info), ERR_SOURCE_BUFFER);
    EXPECT_EQ(jpeginfo("no such file.jpg", &info), ERR_OPEN);
    EXPECT_EQ(jpeginfoW(L"no such file.jpg", &info), ERR_OPEN);
    JpegInfoEx infoEx;
    EXPECT_EQ(jpeginfoex("no such file.jpg", &infoEx), ERR_OPEN);
    EXPECT_EQ(infoEx.ftype, -1);
    EXPECT_EQ(jpeginfoexW(L"no such file.jpg", &infoEx), ERR_OPEN);
}

TEST(JpegInfo, DensityInDotsPerCentimetreCountsAsNone) {
    for (unsigned units = 0; units < 4; units++) {
        const JpegInfoEx info = infoOf(soi + jfif(units) + frame(0xC0) + sos);
        const auto want = units < 2 ? std::tuple(300u, 72u, units) : std::tuple(0u, 0u, 0u);
        EXPECT_EQ(std::tuple(info.xdensity, info.ydensity, info.densunits), want) << units;
    }
}

TEST(JpegInfo, FindsThumbnails) {
    Bytes cut = jfif(0, 40, 30);
    cut.resize(18);
    cut[2] = 0, cut[3] = 16;
    struct {
        const char* name;
        Bytes segments;
        std::array<unsigned, 5> want;  // whether there is one, width, height, bits, kind
    } const cases[] = {
        {"none", jfif(0), {0, 0, 0, 0, 0}},
        {"JFIF", jfif(0, 4, 3), {1, 4, 3, 24, 0x13}},
        {"JFIF without height", jfif(0, 4, 0), {0, 0, 0, 0, 0}},
        {"palette", jfif(0) + jfxx(0x11, 9, 8), {1, 9, 8, 8, 0x11}},
        {"RGB", jfif(0) + jfxx(0x13, 9, 8), {1, 9, 8, 24, 0x13}},
        {"RGB without width", jfif(0) + jfxx(0x13, 0, 8), {0, 0, 8, 24, 0x13}},
        {"JPEG-coded", jfif(0) + jfxx(0x10, 9, 8), {0, 0, 0, 24, 0x10}},
        {"JPEG-coded after JFIF", jfif(0, 4, 3) + jfxx(0x10, 9, 8), {1, 4, 3, 24, 0x10}},
        {"of a kind that does not exist", jfif(0) + jfxx(0x12, 9, 8), {0, 0, 0, 0, 0}},
        {"the first JFIF one counts", jfif(0, 4, 3) + jfif(0, 5, 6), {1, 4, 3, 24, 0x13}},
        {"an extension counts more", jfif(0, 4, 3) + jfxx(0x11, 9, 8), {1, 9, 8, 8, 0x11}},
        {"one that does not fit its segment", cut, {0, 0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const JpegInfoEx info = infoOf(soi + c.segments + frame(0xC0) + sos);
        EXPECT_EQ((std::array<unsigned, 5>{info.thumbnail, info.thumbwidth, info.thumbheight, info.thumbbits,
                                           info.thumbtype}),
                  c.want);
    }
}

// The version's bytes count the wrong way round, and case does not.
TEST(JpegInfo, AdobeSegmentsCountByTheirVersion) {
    struct {
        const char* name;
        std::uint8_t high, low;
        bool counts;
    } const cases[] = {{"Adobe", 0, 100, true},  {"aDOBE", 0, 100, true},   {"Adobf", 0, 100, false},
                       {"Adobe", 100, 0, false}, {"Adobe", 0, 0x63, false}, {"Adobe", 0, 0x80, true},
                       {"Adobe", 1, 0x80, false}};
    Random random(1);
    for (const auto& [name, high, low, counts] : cases) {
        const CoefPicture picture = randomPicture(random, 8, 8, "11,11,11");
        StreamPlan plan = oneScan(picture);
        plan.segments = segment(0xEE, Bytes(name, name + 5) + Bytes{high, low, 0, 0, 0, 0, 0});
        TestImage image(8, 8, 24);
        ASSERT_EQ(loadjpgfrombuffer(GuardedBytes(encode(picture, plan, random)).data(), image), 0);
        EXPECT_EQ(image.pixel(0, 0),
                  plainPixel(decodePlainly(picture), counts ? Colours::rgb : Colours::ycbcr, 0, 0))
            << name << " " << int{high} << "." << int{low};
    }
}
