// Damaged, odd and hostile streams: the result, and what was decoded stays.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

const Bytes eoi = {0xFF, 0xD9};

void eraseSegment(Bytes& stream, std::uint8_t marker, unsigned number = 1) {
    const auto at = stream.begin() + static_cast<std::ptrdiff_t>(find(stream, marker, number));
    stream.erase(at, at + 2 + (at[2] << 8 | at[3]));
}

void insert(Bytes& stream, std::size_t at, const Bytes& what) {
    stream.insert(stream.begin() + static_cast<std::ptrdiff_t>(at), what.begin(), what.end());
}

Bytes codes(std::uint8_t kind, const Bytes& counts, const Bytes& symbols) {
    return segment(0xC4, Bytes{kind} + counts + Bytes(16 - counts.size()) + symbols);
}

// What is wrong with a stream of 40 x 40 pixels, and what its load returns. Markers are sought from the
// start.
struct Flaw {
    const char* name;
    StreamPlan (*scans)(const CoefPicture&);
    int code, detail;
    std::function<void(Bytes& stream)> make;
};

// A byte behind a marker becomes another; a segment goes; something comes in front of one.
auto change(std::uint8_t marker, std::size_t offset, std::uint8_t value, unsigned number = 1) {
    return [=](Bytes& s) { s[find(s, marker, number) + offset] = value; };
}
auto erase(std::uint8_t marker) {
    return [=](Bytes& s) { eraseSegment(s, marker); };
}
auto insertBefore(std::uint8_t marker, const Bytes& what, unsigned number = 1) {
    return [=](Bytes& s) { insert(s, find(s, marker, number), what); };
}

constexpr std::uint8_t sof1 = 0xC1, sof2 = 0xC2, dht = 0xC4, sos = 0xDA, dqt = 0xDB;

const Flaw flaws[] = {
    {"lossless frame", oneScan, ERR_BAD_JPEG, -110, change(sof1, 1, 0xC3)},
    {"arithmetic coding", oneScan, ERR_BAD_JPEG, -110, change(sof1, 1, 0xC9)},
    {"no frame", oneScan, ERR_BAD_JPEG, -110, erase(sof1)},
    {"12 bits", oneScan, ERR_BAD_JPEG, -100, change(sof1, 4, 12)},
    {"two components", oneScan, ERR_BAD_JPEG, -109, change(sof1, 9, 2)},
    {"no components", oneScan, ERR_BAD_JPEG, -109, change(sof1, 9, 0)},
    {"H of 0", oneScan, ERR_BAD_JPEG, -106, change(sof1, 11, 0x01)},
    {"V of 0", oneScan, ERR_BAD_JPEG, -106, change(sof1, 14, 0x10)},
    {"H of 5", oneScan, ERR_BAD_JPEG, -106, change(sof1, 11, 0x51)},
    {"11 blocks", oneScan, ERR_BAD_JPEG, -107, change(sof1, 11, 0x91)},
    {"quantiser slot 4", oneScan, ERR_BAD_JPEG, -106, change(sof1, 12, 4)},
    {"no quantiser", oneScan, ERR_BAD_JPEG, -106, erase(dqt)},
    {"quantiser behind the scan only", oneScan, ERR_BAD_JPEG, -106,
     [](Bytes& s) {
         const std::size_t at = find(s, dqt);
         const Bytes table = slice(s, at, 69);
         eraseSegment(s, dqt);
         s = s + table;
     }},
    {"DC slot 4", oneScan, ERR_BAD_JPEG, -106, change(sos, 6, 0x40)},
    {"AC slot 15", oneScan, ERR_BAD_JPEG, -106, change(sos, 8, 0x0F)},
    {"AC slot without a table", oneScan, ERR_BAD_JPEG, -106, change(sos, 8, 0x01)},
    {"no DC table", oneScan, ERR_BAD_JPEG, -106, erase(dht)},
    {"over-subscribed Huffman table", oneScan, ERR_BAD_JPEG, -105, change(dht, 5, 3)},
    {"Huffman table of 257 codes", oneScan, ERR_BAD_JPEG, -105, [](Bytes& s) { s[find(s, dht) + 20]++; }},
    {"scan of no components", oneScan, ERR_BAD_JPEG, -106, change(sos, 4, 0)},
    {"scan of more components than the frame", oneScan, ERR_BAD_JPEG, -106, change(sos, 4, 4)},
    {"second frame between scans", progressiveScans, ERR_BAD_JPEG, -110,
     insertBefore(dht, segment(sof2, {8, 0, 40, 0, 40, 1, 1, 0x11, 0}), 3)},
    {"Ss behind Se", progressiveScans, ERR_BAD_JPEG, -113, change(sos, 7, 6, 2)},
    {"Se of 64", progressiveScans, ERR_BAD_JPEG, -113, change(sos, 8, 64, 2)},
    {"DC scan with Se", progressiveScans, ERR_BAD_JPEG, -113, change(sos, 12, 1)},
    {"Al not below Ah", progressiveScans, ERR_BAD_JPEG, -113, change(sos, 13, 0x11)},
    {"Al of 14", progressiveScans, ERR_BAD_JPEG, -113, change(sos, 13, 0x0E)},
    {"AC scan of several components", progressiveScans, ERR_BAD_JPEG, -113,
     [](Bytes& s) { change(sos, 11, 1)(s), change(sos, 12, 5)(s); }},
    {"code that does not exist", oneScan, ERR_TRUNCATED, -105,
     [](Bytes& s) {
         for (std::size_t i = find(s, sos) + 54; i + 2 < s.size(); i += 2) s[i] = 0xFF, s[i + 1] = 0;
         eraseSegment(s, dht, 2);
         insert(s, find(s, sos), codes(0x10, {0, 1}, {0x01}));
     }},
    {"planes that never come", separateScans, ERR_NO_DATA, 0,
     [](Bytes& s) { s.resize(find(s, dht, 5)), s = s + eoi; }},
    {"end of the data before some planes", separateScans, ERR_TRUNCATED, -101,
     [](Bytes& s) { s.resize(find(s, dht, 5)); }},
    // What is passed over, though one kind leaves its detail.
    {"none", oneScan, 0, 0, [](Bytes&) {}},
    {"end behind the first scan", progressiveScans, 0, 0,
     [](Bytes& s) {
         s.resize(find(s, dht, 3));
         s = s + eoi;
     }},
    {"no end mark", oneScan, 0, 0, [](Bytes& s) { s.resize(s.size() - 2); }},
    {"no end mark, progressive", progressiveScans, 0, -101, [](Bytes& s) { s.resize(s.size() - 2); }},
    {"rubbish between segments", oneScan, 0, 0,
     insertBefore(sof1, {1, 2, 3, 0xFF, 0xFF, 0xFF, 0x01, 0xFF, 0xD4, 0xFF, 0xC8, 0, 2, 9})},
    {"segment of length 0", oneScan, 0, 0, insertBefore(sof1, {0xFF, 0xE9, 0, 0})},
};

struct Sample {
    CoefPicture picture;
    Bytes stream;

    explicit Sample(StreamPlan (*scans)(const CoefPicture&), unsigned width = 40, unsigned height = 40,
                    unsigned restart = 0) {
        Random random(99);
        picture = randomPicture(random, width, height, "11,11,11");
        StreamPlan plan = scans(picture);
        plan.restartInterval = restart;
        stream = encode(picture, plan, random);
    }
};

int load(const Bytes& stream, imgdes* image) {
    return loadjpgfrombuffer(GuardedBytes(stream).data(), image);
}

void expectLoads(const Bytes& stream, const CoefPicture& picture) {
    TestImage image(picture.width, picture.height, 24);
    ASSERT_EQ(load(stream, image), 0) << jpeggeterror();
    EXPECT_EQ(wholePicture(image).pixels, plainPixels(picture));
}

}  // namespace

TEST(JpegFlaws, EachHasItsCodes) {
    for (const Flaw& flaw : flaws) {
        Bytes stream = Sample(flaw.scans).stream;
        flaw.make(stream);
        TestImage image(40, 40, 24);
        EXPECT_EQ(load(stream, image), flaw.code) << flaw.name;
        EXPECT_EQ(jpeggeterror(), flaw.detail) << flaw.name;
    }
}

TEST(JpegFlaws, TheImageMustSuitTheFrame) {
    const Bytes stream = Sample(oneScan).stream;
    TestImage eight(40, 40, 8), one(40, 40, 1), big(40, 40, 24);
    big->bottom = 40;
    EXPECT_EQ(load(stream, eight), ERR_BITS);
    EXPECT_EQ(load(stream, one), ERR_BITS);
    EXPECT_EQ(load(stream, big), ERR_RANGE);
    EXPECT_EQ(loadjpgfrombuffer(nullptr, big), ERR_RANGE) << "the image comes first";
}

// Any marker does, whatever its number, and what stands in front of it is passed over.
TEST(JpegFlaws, DecodingResumesAtTheNextMarker) {
    Sample sample(oneScan, 40, 40, 5);
    sample.stream[find(sample.stream, 0xD1) + 1] = 0xD6;
    insert(sample.stream, find(sample.stream, 0xD2), Bytes{0x12, 0xFF, 0x00, 0xFF});
    expectLoads(sample.stream, sample.picture);
}

// Huffman tables stay usable for later scans.
TEST(JpegFlaws, TablesOfAnEarlierScanStillCount) {
    Sample sample(separateScans);
    const std::size_t second = find(sample.stream, sos, 2), third = find(sample.stream, dht, 5);
    Bytes again = slice(sample.stream, second, third - second);
    again[5] = 3;
    sample.picture.components[2].blocks = sample.picture.components[1].blocks;
    expectLoads(slice(sample.stream, 0, third) + again + eoi, sample.picture);
}

// The bits of a value that has no place are not read, whether its code is short or long.
TEST(JpegFlaws, ARunBeyondTheBlockEndsItBeforeItsValue) {
    const Bytes frame = Bytes{0xFF, 0xD8} + segment(0xDB, Bytes{0} + Bytes(64, 64)) +
                        segment(0xC0, {8, 0, 8, 0, 16, 1, 1, 0x11, 0}) + codes(0x00, {1, 1}, {0, 1});
    const Bytes scan = segment(0xDA, {1, 1, 0x00, 0, 63, 0});
    // 00 is a run of 16 zeros, 10 the end of a block. A run of 15 and a value is 01, or a code of 13 bits.
    struct {
        Bytes table;
        const char* bits;
        unsigned second;  // the level of the block that follows
    } const cases[] = {
        {codes(0x10, {0, 3}, {0xF0, 0xF1, 0x00}), "0 00 00 00 01  10 1 10", 136},
        {codes(0x10, {0, 3}, {0xF0, 0xF1, 0x00}), "0 00 00 00 01  0 10", 128},
        {codes(0x10, {0, 3}, {0xF0, 0xF3, 0x00}), "0 00 00 00 01  0 10", 128},
        {codes(0x10, {0, 3}, {0xF0, 0xFE, 0x00}), "0 00 00 00 01  10 1 10", 136},
        {codes(0x10, {0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, {0xF0, 0x11, 0x00, 0xF2}),
         "0 00 00 00 1100000000000  10 1 10", 136},
    };
    for (const auto& c : cases) {
        Symbol all{Symbol::onlyBits, 0, c.bits};
        std::erase(all.bits, ' ');
        Bytes stream = frame + c.table + scan + entropyCoded({all}, {}) + eoi;
        stream.resize(std::max<std::size_t>(stream.size(), 100), 0);
        TestImage image(16, 8, 8);
        ASSERT_EQ(load(stream, image), 0) << c.bits << " " << jpeggeterror();
        EXPECT_EQ(std::pair(image.pixel(0, 0), image.pixel(8, 0)), std::pair(128u, c.second)) << c.bits;
    }
}

TEST(JpegHostile, CutAtEveryLength) {
    for (const bool progressive : {false, true}) {
        const Bytes stream =
            Sample(progressive ? progressiveScans : oneScan, 40, 40, progressive ? 3 : 0).stream;
        const std::size_t firstScan = find(stream, sos);
        const std::size_t enough = progressive ? find(stream, dht, 3) : stream.size() - 2;
        for (std::size_t n = 100; n < stream.size(); n++) {
            TestImage image(40, 40, 24);
            const int want = n < firstScan + 2 ? ERR_BAD_JPEG : n < enough ? ERR_TRUNCATED : 0;
            ASSERT_EQ(load(slice(stream, 0, n), image), want)
                << "cut to " << n << " of " << stream.size() << ", detail " << jpeggeterror();
        }
    }
}

// Whole blocks stay, and what is below the last wanted row is not missed.
TEST(JpegHostile, ACutSequentialFileKeepsWhatWasDecoded) {
    const Sample sample(oneScan, 64, 256);
    const Bytes stream = slice(sample.stream, 0, sample.stream.size() * 2 / 3);
    TestImage image(64, 256, 24), top(64, 64, 24);
    std::memset(image.image.bits, 0xA5, image->header->biSizeImage);
    EXPECT_EQ(load(stream, image), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -101);
    const auto have = wholePicture(image).pixels, want = plainPixels(sample.picture);
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
    EXPECT_EQ(load(stream, top), 0);
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
    for (const auto& c : cases) {
        Bytes stream = Sample(c.progressive ? progressiveScans : oneScan, 16, 16).stream;
        const std::size_t at = find(stream, c.progressive ? 0xC2 : 0xC1) + 5;
        const unsigned claim[] = {c.height >> 8, c.height, c.width >> 8, c.width};
        for (unsigned i = 0; i < 4; i++) stream[at + i] = std::uint8_t(claim[i]);
        stream.resize(find(stream, 0xDA) + 14 + 10);
        TestImage image(4, 32767, 24);
        EXPECT_EQ(load(stream, image), c.want) << c.width << "x" << c.height;
        EXPECT_EQ(loadjpgthumbnailfrombuffer(GuardedBytes(stream).data(), image, 1), c.want)
            << c.width << "x" << c.height << ", reduced";
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
        EXPECT_EQ(load(stream, image), ERR_BAD_JPEG) << costly;
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
