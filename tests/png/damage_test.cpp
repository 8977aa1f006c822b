#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/damage.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

// Asks a file everything there is to ask, and gives up the program where an answer cannot be.
extern "C" int replay_png(const std::uint8_t* data, std::size_t size);

namespace {

// A file with one of each chunk that is read, its data in three chunks.
Bytes fullFile(Random& random, unsigned depth, unsigned type, bool interlaced) {
    Picture picture = randomPicture(random, 19, 13, depth, type);
    picture.interlaced = interlaced;
    const Bytes data = compressed(filteredRows(picture, [&](auto&&...) { return random.below(5); }));
    std::vector<Chunk> chunks = {headerChunk(19, 13, depth, type, interlaced),
                                 {"gAMA", random.bytes(4)},
                                 {"sBIT", Bytes(type == 3 ? 3 : picture.channels(), 5)},
                                 {"pHYs", random.bytes(9)},
                                 {"oFFs", random.bytes(9)},
                                 {"tEXt", asBytes("Title") + Bytes{0} + asBytes("text")}};
    if (type == 3) chunks.push_back({"PLTE", random.bytes(3u << std::min(depth, 8u))});
    for (const char* colour : {"tRNS", "bKGD"}) chunks.push_back({colour, random.bytes(type == 2 ? 6 : 2)});
    for (const Chunk& chunk : dataChunks(data, data.size() / 3 + 1)) chunks.push_back(chunk);
    chunks.push_back({"IEND", {}});
    return pngFile(chunks);
}

// Reads a file in every way there is. Returns the detail, 0 for none, that loading came to.
int readEveryWay(const Bytes& bytes, unsigned type, unsigned depth) {
    TestImage image(30, 30, type == 2 || type == 6 ? 24 : depth == 1 ? 1 : 8);
    const GuardedBytes file(bytes);
    const MemoryWatch watch;
    replay_png(bytes.data(), bytes.size());
    const int result = loadpngfrombuffer(file.data(), image);
    EXPECT_EQ(watch.live(), 0);
    return result == ERR_PNG ? pnggeterror() : result;
}

}  // namespace

TEST(DamagedPng, CutAtEveryLengthItIsRefused) {
    Random random(1);
    for (const unsigned type : {2u, 3u}) {
        const Bytes file = fullFile(random, 8, type, type == 3);
        for (std::size_t n = 0; n + 4 < file.size(); n++)
            ASSERT_EQ(readEveryWay(slice(file, 0, n), type, 8), n < 8 ? -110 : -113) << n;
        EXPECT_EQ(readEveryWay(slice(file, 0, file.size() - 4), type, 8), 0) << "no checksum of IEND";
    }
}

// Half of the files get right checksums again, so that the damage reaches the decompressor and the filters; a
// quarter of the damage goes to the header.
TEST(DamagedPng, TwelveThousandMutationsGiveListedCodesAndHarmNothing) {
    const struct {
        unsigned type, depth;
    } kinds[] = {{0, 1}, {0, 4}, {0, 16}, {2, 8}, {3, 1}, {3, 2}, {3, 8}, {4, 8}, {6, 16}};
    Random random(2);
    std::set<int> seen;
    int loaded = 0;
    for (int round = 0; round < 12000; round++) {
        const auto kind = kinds[random.below(9)];
        Bytes file = fullFile(random, kind.depth, kind.type, random.oneIn(2));
        for (unsigned n = 1 + random.below(4); n > 0; n--)
            damage(file, random.below(random.oneIn(4) ? 33 : static_cast<std::uint32_t>(file.size())),
                   random);
        if (round % 2) repairCrcs(file);
        file = file + random.bytes(4);  // that the questions' details come from
        const int detail = readEveryWay(file, kind.type, kind.depth);
        loaded += detail == 0;
        seen.insert(detail);
        if (HasFailure()) FAIL() << "round " << round;
    }
    EXPECT_GT(loaded, 100);
    for (const int detail : {-100, -102, -103, -104, -105, -106, -107, -108, -110, -111, -112, -113, -115})
        EXPECT_TRUE(seen.count(detail)) << detail << " never came up";
    for (const int code : {0, ERR_MEMORY, ERR_BITS, -109, -114}) seen.erase(code);
    EXPECT_EQ(seen.size(), 13u) << "an unlisted code, the first of which is " << *seen.begin();
}

TEST(DamagedPng, MemoryThatTheDecompressorLacksHasADetailOfItsOwn) {
    Random random(3);
    const GuardedBytes file(fullFile(random, 8, 3, true));
    TestImage image(19, 13, 8);
    std::set<int> seen;
    failEveryAllocation([&] { return loadpngfrombuffer(file.data(), image); },
                        [&](int n, int result, MemoryWatch&) {
                            const int detail = result == ERR_PNG ? pnggeterror() : result;
                            EXPECT_TRUE(detail == ERR_MEMORY || detail == -114) << "allocation " << n;
                            seen.insert(detail);
                        });
    EXPECT_EQ(seen.size(), 2u);
}

namespace {

// A 4x4 grey file with the given rows, compressed, and data chunks in front of IEND.
Bytes greyFile(const std::vector<Chunk>& data, std::uint32_t width = 4, std::uint32_t height = 4) {
    std::vector<Chunk> chunks = {headerChunk(width, height, 8, 0)};
    chunks.insert(chunks.end(), data.begin(), data.end());
    chunks.push_back({"IEND", {}});
    return pngFile(chunks);
}

int detailOf(const Bytes& file, TestImage& image) {
    const int result = loadpngfrombuffer(GuardedBytes(file).data(), image);
    EXPECT_TRUE(result == 0 || result == ERR_PNG) << result;
    return result ? pnggeterror() : 0;
}

}  // namespace

TEST(DamagedPng, DataTooLongTooShortOrBrokenIsToldApart) {
    const Bytes rows(20, 0), sound = compressed(rows);
    Bytes noEnd = sound, wrongSum = sound, wrongStart = sound;
    noEnd.pop_back();
    wrongSum.back() ^= 1;
    wrongStart[0] = 0;
    const Bytes oneMore = compressed(Bytes(21, 0)), oneRowLess = compressed(Bytes(15, 0));
    const Chunk empty = {"IDAT", {}}, rubbish = {"IDAT", Bytes(40, 0xAB)};
    Chunk badRubbish = rubbish;
    badRubbish.crcError = 1;
    const struct {
        const char* what;
        std::vector<Chunk> data;
        int detail;
    } cases[] = {{"sound", {{"IDAT", sound}}, 0},
                 {"empty chunks between", {empty, {"IDAT", sound}, empty}, 0},
                 {"no data chunk", {}, -112},
                 {"only empty ones", {empty, empty}, -112},
                 {"a byte more", {{"IDAT", oneMore}}, -112},
                 {"a row less", {{"IDAT", oneRowLess}}, -112},
                 {"no last byte", {{"IDAT", noEnd}}, -112},
                 {"wrong sum of the data", {{"IDAT", wrongSum}}, -115},
                 {"not compressed at all", {{"IDAT", wrongStart}}, -115},
                 {"wrong checksum", {{"IDAT", sound, 1}}, -111},
                 {"bytes behind the data", {{"IDAT", sound + Bytes(9, 7)}}, 0},
                 {"a chunk behind the data", {{"IDAT", sound}, rubbish}, 0},
                 {"a broken chunk behind the data", {{"IDAT", sound}, badRubbish}, 0},
                 {"another chunk in between",
                  {{"IDAT", slice(sound, 0, 5)}, {"abCD", {}}, {"IDAT", slice(sound, 5, sound.size() - 5)}},
                  -112}};
    for (const auto& c : cases) {
        TestImage image(4, 4, 8);
        EXPECT_EQ(detailOf(greyFile(c.data), image), c.detail) << c.what;
    }
}

// The sum at the stream's end may lie across the borders of what is read in one piece, at every 128 KB.
TEST(DamagedPng, TheSumOfTheDataIsHeldAgainstItWhereverItLies) {
    Random random(4);
    std::vector<std::uint32_t> widths = {3};
    for (std::uint32_t width = 131040; width < 131080; width++) widths.push_back(width);
    for (const std::uint32_t width : widths)
        for (const std::size_t chunkSize : {1000000u, 8192u, 1u})
            for (std::size_t wrong = 0; wrong <= 4; wrong++) {
                if (chunkSize == 1 && width > 3) continue;
                Bytes data =
                    compressed(Bytes{0} + random.bytes(width), 0);  // stored: one size up, one byte more
                if (wrong) data[data.size() - wrong] ^= 1;
                TestImage image(4, 4, 8);
                EXPECT_EQ(detailOf(greyFile(dataChunks(data, chunkSize), width, 1), image), wrong ? -115 : 0)
                    << width << " pixels, chunks of " << chunkSize << ", byte " << wrong;
            }
}

TEST(DamagedPng, RowsInFrontOfTheFaultAreThere) {
    Bytes rows;
    for (std::uint8_t y = 0; y < 4; y++) rows = rows + Bytes{0, 1, 2, 3, y};
    Bytes data = compressed(rows, 0);  // stored, so that the last row can be hit
    data.resize(data.size() - 4 - 3);
    TestImage image(4, 4, 8);
    EXPECT_EQ(detailOf(greyFile({{"IDAT", data}}), image), -112);
    for (int y = 0; y < 4; y++) EXPECT_EQ(image.pixel(2, y), y < 3 ? 3u : 0u) << y;
}

TEST(DamagedPng, HugeSizesAreRefusedForWantOfMemoryOrData) {
    for (const std::uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0x40000000u})
        for (const unsigned type : {0u, 2u, 6u}) {
            std::vector<Chunk> chunks = {
                headerChunk(size, 1, 16, type), {"IDAT", compressed(Bytes(100))}, {"IEND", {}}};
            TestImage image(4, 4, type ? 24 : 8);
            EXPECT_EQ(loadpngfrombuffer(GuardedBytes(pngFile(chunks)).data(), image), ERR_MEMORY) << size;
            chunks[0] = headerChunk(1, size, 8, type, type == 2);
            EXPECT_EQ(loadpngfrombuffer(GuardedBytes(pngFile(chunks)).data(), image), ERR_PNG) << size;
            EXPECT_EQ(pnggeterror(), -112);
        }
}

TEST(DamagedPng, DataMissingBelowTheAreaIsLookedForNearbyOnly) {
    TestImage image(4, 4, 8);
    const Chunk nearly = {"IDAT", compressed(Bytes(60000000))}, much = {"IDAT", compressed(Bytes(80000000))};
    EXPECT_EQ(detailOf(greyFile({nearly}, 59, 1000000), image), 0);
    EXPECT_EQ(detailOf(greyFile({nearly}, 59, 1000001), image), -112);
    EXPECT_EQ(detailOf(greyFile({much}, 59, 0x7FFFFFFF), image), 0);
}
