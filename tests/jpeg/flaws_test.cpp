// What is refused, and with which codes; and oddities that load all the same.
#include <gtest/gtest.h>

#include <functional>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

void eraseSegment(Bytes& stream, std::uint8_t marker, unsigned number = 1) {
    const auto at = stream.begin() + static_cast<std::ptrdiff_t>(find(stream, marker, number));
    stream.erase(at, at + 2 + (at[2] << 8 | at[3]));
}

void insert(Bytes& stream, std::size_t at, const Bytes& what) {
    stream.insert(stream.begin() + static_cast<std::ptrdiff_t>(at), what.begin(), what.end());
}

// What is wrong with a stream of 40 x 40 pixels. Markers are sought from the start.
struct Flaw {
    const char* name;
    bool progressive;
    int detail;  // of ERR_BAD_JPEG
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
    {"lossless frame", false, -110, change(sof1, 1, 0xC3)},
    {"arithmetic coding", false, -110, change(sof1, 1, 0xC9)},
    {"no frame", false, -110, erase(sof1)},
    {"12 bits", false, -100, change(sof1, 4, 12)},
    {"two components", false, -109, change(sof1, 9, 2)},
    {"no components", false, -109, change(sof1, 9, 0)},
    {"H of 0", false, -106, change(sof1, 11, 0x01)},
    {"V of 0", false, -106, change(sof1, 14, 0x10)},
    {"H of 5", false, -106, change(sof1, 11, 0x51)},
    {"11 blocks", false, -107, change(sof1, 11, 0x91)},
    {"quantiser slot 4", false, -106, change(sof1, 12, 4)},
    {"no quantiser", false, -106, erase(dqt)},
    {"quantiser behind the scan only", false, -106,
     [](Bytes& s) {
         const std::size_t at = find(s, dqt);
         const Bytes table = slice(s, at, 69);
         eraseSegment(s, dqt);
         s = s + table;
     }},
    {"DC slot 4", false, -106, change(sos, 6, 0x40)},
    {"AC slot 15", false, -106, change(sos, 8, 0x0F)},
    {"AC slot without a table", false, -106, change(sos, 8, 0x01)},
    {"no DC table", false, -106, erase(dht)},
    {"over-subscribed Huffman table", false, -105, change(dht, 5, 3)},
    {"Huffman table of 257 codes", false, -105, [](Bytes& s) { s[find(s, dht) + 20]++; }},
    {"scan of no components", false, -106, change(sos, 4, 0)},
    {"scan of more components than the frame", false, -106, change(sos, 4, 4)},
    {"second frame between scans", true, -110,
     insertBefore(dht, segment(sof2, {8, 0, 40, 0, 40, 1, 1, 0x11, 0}), 3)},
    {"Ss behind Se", true, -113, change(sos, 7, 6, 2)},
    {"Se of 64", true, -113, change(sos, 8, 64, 2)},
    {"DC scan with Se", true, -113, change(sos, 12, 1)},
    {"Al not below Ah", true, -113, change(sos, 13, 0x11)},
    {"Al of 14", true, -113, change(sos, 13, 0x0E)},
    {"AC scan of several components", true, -113,
     [](Bytes& s) { change(sos, 11, 1)(s), change(sos, 12, 5)(s); }},
};

// What is passed over, though one kind leaves its detail.
const Flaw oddities[] = {
    {"none", false, 0, [](Bytes&) {}},
    {"end behind the first scan", true, 0,
     [](Bytes& s) {
         s.resize(find(s, dht, 3));
         s = s + Bytes{0xFF, 0xD9};
     }},
    {"no end mark", false, 0, [](Bytes& s) { s.resize(s.size() - 2); }},
    {"no end mark, progressive", true, -101, [](Bytes& s) { s.resize(s.size() - 2); }},
    {"rubbish between segments", false, 0,
     insertBefore(sof1, {1, 2, 3, 0xFF, 0xFF, 0xFF, 0x01, 0xFF, 0xD4, 0xFF, 0xC8, 0, 2, 9})},
    {"segment of length 0", false, 0, insertBefore(sof1, {0xFF, 0xE9, 0, 0})},
};

Bytes sampleStream(bool progressive, CoefPicture& picture, unsigned restart = 0) {
    Random random(99);
    picture = randomPicture(random, 40, 40, "11,11,11");
    StreamPlan plan = progressive ? progressiveScans(picture) : oneScan(picture);
    plan.restartInterval = restart;
    return encode(picture, plan, random);
}

Bytes codes(std::uint8_t kind, const Bytes& counts, const Bytes& symbols) {
    return segment(0xC4, Bytes{kind} + counts + Bytes(16 - counts.size()) + symbols);
}

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
    const auto expectCodes = [](const Flaw& flaw, int code) {
        CoefPicture picture;
        Bytes stream = sampleStream(flaw.progressive, picture);
        flaw.make(stream);
        TestImage image(40, 40, 24);
        EXPECT_EQ(load(stream, image), code) << flaw.name;
        EXPECT_EQ(jpeggeterror(), flaw.detail) << flaw.name;
    };
    for (const Flaw& flaw : flaws) expectCodes(flaw, ERR_BAD_JPEG);
    for (const Flaw& oddity : oddities) expectCodes(oddity, 0);
}

TEST(JpegFlaws, TheImageMustSuitTheFrame) {
    CoefPicture picture;
    const Bytes source = sampleStream(false, picture);
    TestImage eight(40, 40, 8), one(40, 40, 1), big(40, 40, 24);
    EXPECT_EQ(load(source, eight), ERR_BITS);
    EXPECT_EQ(load(source, one), ERR_BITS);
    big->bottom = 40;
    EXPECT_EQ(load(source, big), ERR_RANGE);
    EXPECT_EQ(loadjpgfrombuffer(nullptr, big), ERR_RANGE) << "the image comes first";
}

// Any marker does, whatever its number, and what stands in front of it is passed over.
TEST(JpegFlaws, DecodingResumesAtTheNextMarker) {
    CoefPicture picture;
    Bytes stream = sampleStream(false, picture, 5);
    stream[find(stream, 0xD1) + 1] = 0xD6;
    insert(stream, find(stream, 0xD2), Bytes{0x12, 0xFF, 0x00, 0xFF});
    expectLoads(stream, picture);
}

// Huffman tables stay usable for later scans.
TEST(JpegFlaws, TablesOfAnEarlierScanStillCount) {
    Random random(7);
    CoefPicture picture = randomPicture(random, 20, 20, "11,11,11");
    picture.components[2].blocks = picture.components[1].blocks;
    Bytes stream = encode(picture, separateScans(picture), random);
    const std::size_t second = find(stream, 0xDA, 2), third = find(stream, 0xC4, 5);
    Bytes again = slice(stream, second, third - second);
    stream.resize(third);
    again[5] = 3;
    expectLoads(stream + again + Bytes{0xFF, 0xD9}, picture);
}

TEST(JpegFlaws, PlanesThatNeverComeAreMissed) {
    Random random(8);
    CoefPicture picture = randomPicture(random, 20, 20, "11,11,11");
    Bytes stream = encode(picture, separateScans(picture), random);
    stream.resize(find(stream, 0xC4, 5));
    TestImage image(20, 20, 24);
    EXPECT_EQ(load(stream + Bytes{0xFF, 0xD9}, image), ERR_NO_DATA);
    EXPECT_EQ(load(stream, image), ERR_TRUNCATED);
}

TEST(JpegFlaws, ACodeThatDoesNotExistIsATruncation) {
    CoefPicture picture;
    Bytes stream = sampleStream(false, picture);
    const std::size_t data = find(stream, 0xDA) + 14;
    for (std::size_t i = data + 40; i + 2 < stream.size(); i += 2) {
        stream[i] = 0xFF;
        stream[i + 1] = 0x00;
    }
    eraseSegment(stream, 0xC4, 2);
    insert(stream, find(stream, 0xDA), codes(0x10, {0, 1}, {0x01}));
    TestImage image(40, 40, 24);
    EXPECT_EQ(load(stream, image), ERR_TRUNCATED);
    EXPECT_EQ(jpeggeterror(), -105);
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
        Bytes stream = frame + c.table + scan + entropyCoded({all}, {}) + Bytes{0xFF, 0xD9};
        stream.resize(std::max<std::size_t>(stream.size(), 100), 0);
        TestImage image(16, 8, 8);
        ASSERT_EQ(load(stream, image), 0) << c.bits << " " << jpeggeterror();
        EXPECT_EQ(std::pair(image.pixel(0, 0), image.pixel(8, 0)), std::pair(128u, c.second)) << c.bits;
    }
}
