#include <gtest/gtest.h>

#include <set>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// Loads a file; the detail of what is wrong with it, or 0. Damage at random is what the fuzz targets try.
int detailOf(const Bytes& file, imgdes* image) {
    const int result = loadpngfrombuffer(GuardedBytes(file).data(), image);
    return result == ERR_PNG ? pnggeterror() : result;
}

Chunk greyHeader(std::uint32_t width, std::uint32_t height) {
    return headerChunk(width, height, 8, 0);
}

// A file with one of each chunk that is read, its data in several chunks.
Bytes fullFile(unsigned type) {
    Random random(1);
    Picture picture = randomPicture(random, 19, 13, 8, type);
    picture.interlaced = type == 3;
    return fileOf(picture, random,
                  {{"gAMA", random.bytes(4)},
                   {"sBIT", Bytes(3, 5)},
                   {"pHYs", random.bytes(9)},
                   {"oFFs", random.bytes(9)},
                   {"tEXt", asBytes("Title") + Bytes{0} + asBytes("text")},
                   {"PLTE", random.bytes(768)},
                   {"tRNS", random.bytes(6)},
                   {"bKGD", random.bytes(6)}},
                  100);
}

}  // namespace

TEST(DamagedPng, CutAtEveryLengthItIsRefused) {
    for (const unsigned type : {2u, 3u}) {
        const Bytes file = fullFile(type);
        TestImage image(19, 13, type == 3 ? 8 : 24);
        for (std::size_t n = 0; n + 4 < file.size(); n++)
            ASSERT_EQ(detailOf(slice(file, 0, n), image), n < 8 ? -110 : -113) << n;
        EXPECT_EQ(detailOf(slice(file, 0, file.size() - 4), image), 0) << "no checksum of IEND";
    }
}

TEST(DamagedPng, MemoryThatTheDecompressorLacksHasADetailOfItsOwn) {
    TestImage image(19, 13, 8);
    std::set<int> seen;
    failEveryAllocation([&] { return detailOf(fullFile(3), image); },
                        [&](int, int detail, MemoryWatch&) { seen.insert(detail); });
    EXPECT_EQ(seen, (std::set{ERR_MEMORY, -114}));
}

TEST(DamagedPng, DataTooLongTooShortOrBrokenIsToldApart) {
    const Bytes rows(20, 0), sound = compressed(rows);
    Bytes noEnd = sound, wrongSum = sound, wrongStart = sound;
    noEnd.pop_back();
    wrongSum.back() ^= 1;
    wrongStart[0] = 0;
    const Bytes oneMore = compressed(Bytes(21, 0)), oneRowLess = compressed(Bytes(15, 0));
    const Chunk empty = {"IDAT", {}}, rubbish = {"IDAT", Bytes(40, 0xAB)},
                badRubbish = {"IDAT", Bytes(40), 1};
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
    TestImage image(4, 4, 8);
    for (const auto& c : cases)
        EXPECT_EQ(detailOf(pngFile(greyHeader(4, 4), c.data), image), c.detail) << c.what;
}

// The sum at the stream's end may lie across the borders of what is read in one piece, at every 128 KB.
TEST(DamagedPng, TheSumOfTheDataIsHeldAgainstItWhereverItLies) {
    Random random(4);
    TestImage image(4, 4, 8);
    const auto check = [&](std::uint32_t width, std::size_t chunkSize) {
        const Bytes sound =
            compressed(Bytes{0} + random.bytes(width), 0);  // stored: one size up, one byte more
        for (std::size_t wrong = 0; wrong <= 4; wrong++) {
            Bytes data = sound;
            if (wrong) data[data.size() - wrong] ^= 1;
            EXPECT_EQ(detailOf(pngFile(greyHeader(width, 1), dataChunks(data, chunkSize)), image),
                      wrong ? -115 : 0)
                << width << " pixels, chunks of " << chunkSize << ", byte " << wrong;
        }
    };
    check(3, 1);
    for (std::uint32_t width = 131040; width < 131080; width++)
        for (const std::size_t chunkSize : {1000000u, 8192u}) check(width, chunkSize);
}

TEST(DamagedPng, RowsInFrontOfTheFaultAreThere) {
    Bytes rows;
    for (std::uint8_t y = 0; y < 4; y++) rows = rows + Bytes{0, 1, 2, 3, y};
    Bytes data = compressed(rows, 0);  // stored, so that the last row can be hit
    data.resize(data.size() - 4 - 3);
    TestImage image(4, 4, 8);
    EXPECT_EQ(detailOf(pngFile(greyHeader(4, 4), {{"IDAT", data}}), image), -112);
    for (int y = 0; y < 4; y++) EXPECT_EQ(image.pixel(2, y), y < 3 ? 3u : 0u) << y;
}

TEST(DamagedPng, HugeSizesAreRefusedForWantOfMemoryOrData) {
    const Chunk data = {"IDAT", compressed(Bytes(100))};
    for (const std::uint32_t size : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0x40000000u})
        for (const unsigned type : {0u, 2u, 6u}) {
            TestImage image(4, 4, type ? 24 : 8);
            EXPECT_EQ(detailOf(pngFile(headerChunk(size, 1, 16, type), {data}), image), ERR_MEMORY) << size;
            EXPECT_EQ(detailOf(pngFile(headerChunk(1, size, 8, type, type == 2), {data}), image), -112)
                << size;
        }
}

TEST(DamagedPng, DataMissingBelowTheAreaIsLookedForNearbyOnly) {
    TestImage image(4, 4, 8);
    const Chunk nearly = {"IDAT", compressed(Bytes(60000000))}, much = {"IDAT", compressed(Bytes(80000000))};
    EXPECT_EQ(detailOf(pngFile(greyHeader(59, 1000000), {nearly}), image), 0);
    EXPECT_EQ(detailOf(pngFile(greyHeader(59, 1000001), {nearly}), image), -112);
    EXPECT_EQ(detailOf(pngFile(greyHeader(59, 0x7FFFFFFF), {much}), image), 0);
}
