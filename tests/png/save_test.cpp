#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/failing_writes.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// The file that savepngtobuffer makes, without what its block has behind IEND.
Bytes saved(imgdes* image, int options) {
    void* buffer = nullptr;
    EXPECT_EQ(savepngtobuffer(&buffer, image, options), 0);
    const Bytes block = taken(buffer), end = {'I', 'E', 'N', 'D'};
    std::size_t at = 8;
    while (slice(block, at + 4, 4) != end) at += 12 + fromBigEndian32(&block[at]);
    return slice(block, 0, at + 12);
}

// The data of a file's chunks of one type.
std::vector<Bytes> find(const Bytes& file, const std::string& type) {
    std::vector<Bytes> found;
    for (const Chunk& chunk : chunksOf(file))
        if (chunk.type == type) found.push_back(chunk.data);
    return found;
}

std::string typesOf(const Bytes& file) {
    std::string types;
    for (const Chunk& chunk : chunksOf(file)) types += chunk.type + " ";
    return types;
}

Bytes resolution(std::uint32_t x, std::uint32_t y, std::uint8_t unit) {
    return bigEndian32(x) + bigEndian32(y) + Bytes{unit};
}

}  // namespace

TEST(SavePng, AllOptionsSaveExactlyTheAreaOfEveryKindOfImageByTheFilterAskedFor) {
    Random random(1);
    std::set<unsigned> best;
    for (int round = 0; round < 2000; round++) {
        TestImage image(random, 60, 30, std::array{1u, 8u, 24u}[random.below(3)]);
        const std::uint32_t range = 1 + random.below(256);  // narrow ones make equals of filters
        std::for_each_n(image->bits, image->header->biSizeImage, [&](auto& b) { b = 100 + b % range; });
        const bool colours = random.oneIn(2);
        if (colours) image.randomisePalette(random);
        const int options = random.oneIn(3)    ? random.between(0, 1)
                            : random.oneIn(10) ? static_cast<int>(random.next())
                                               : random.between(-20, 40);
        const std::string what = image.describe() + " options " + std::to_string(options);
        const Bytes file = saved(image, options);
        Picture picture = decoded(file);
        ASSERT_EQ(picture.width, static_cast<unsigned>(image.areaWidth()));
        ASSERT_EQ(picture.height, static_cast<unsigned>(image.areaHeight()));
        ASSERT_EQ(picture.interlaced, (options & 1) != 0) << what;
        for (int y = 0; y < image.areaHeight(); y++)
            for (int x = 0; x < image.areaWidth(); x++)
                ASSERT_EQ(picture.dibPixel(x, y), image.areaPixel(x, y)) << what << " at " << x << "," << y;
        const bool samples = image.bitsPerPixel() == 24 || (image.bitsPerPixel() == 8 && !colours);
        const bool adaptive = samples && (options == 0 || options == 1);
        const unsigned filter = samples && options >= 2 && options <= 11 ? options / 2 - 1 : 0;
        ASSERT_EQ(rowsOf(file), filteredRows(picture,
                                             [&](auto&&... row) {
                                                 return adaptive ? *best.insert(plainBestFilter(row...)).first
                                                                 : filter;
                                             }))
            << what;
    }
    EXPECT_EQ(best.size(), 5u);
}

TEST(SavePng, KindAndPaletteFollowTheImage) {
    Random random(2);
    TestImage rgb(5, 5, 24), grey(5, 5, 8), colours(5, 5, 8), bits(5, 5, 1);
    colours.randomisePalette(random);
    colours->palcolors = 10;
    bits->imgkind = 1;
    Bytes palette;
    for (int i = 0; i < 10; i++) {
        const RGBQUAD& q = colours->palette[i];
        palette = palette + Bytes{q.rgbRed, q.rgbGreen, q.rgbBlue};
    }
    const struct {
        TestImage& image;
        Chunk header;
        Bytes palette;
    } cases[] = {{rgb, headerChunk(5, 5, 8, 2), {}},
                 {grey, headerChunk(5, 5, 8, 0), {}},
                 {colours, headerChunk(5, 5, 8, 3), palette},
                 {bits, headerChunk(5, 5, 1, 3), {0, 0, 0, 255, 255, 255}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.image.describe());
        const Bytes file = saved(c.image, 0);
        EXPECT_EQ(typesOf(file), c.palette.empty() ? "IHDR pHYs IDAT IEND " : "IHDR PLTE pHYs IDAT IEND ");
        EXPECT_EQ(find(file, "IHDR").at(0), c.header.data);
        EXPECT_TRUE(c.palette.empty() || find(file, "PLTE").at(0) == c.palette);
    }
    for (const auto& [count, bytes] : {std::pair{300, 768u}, {-1, 0u}}) {
        colours->palcolors = count;
        EXPECT_EQ(find(saved(colours, 0), "PLTE").at(0).size(), bytes) << count;
    }
}

TEST(SavePng, DataChunksHold8192BytesButForTheLast) {
    Random random(5);
    TestImage image(300, 400, 24);
    image.randomise(random);
    const std::vector<Bytes> data = find(saved(image, 0), "IDAT");
    EXPECT_GT(data.size(), 40u);
    for (const Bytes& chunk : data) EXPECT_EQ(chunk.size() == 8192, &chunk != &data.back());
    EXPECT_GT(data.back().size(), 0u);
}

// A row more is a byte or two of data more: sooner or later a height fills the chunk exactly.
TEST(SavePng, DataThatFillsItsLastChunkIsNotFollowedByAnEmptyOne) {
    Random random(6);
    TestImage image(1, 9000, 8);
    for (int tries = 0; tries < 200; tries++) {
        image.randomise(random);
        for (UINT low = 2000, high = 8999; low <= high;) {
            setimagearea(image, 0, 0, 0, (low + high) / 2);
            const std::vector<Bytes> data = find(saved(image, 2), "IDAT");
            if (data[0].size() == 8192 && (data.size() == 1 || data[1].empty())) {
                EXPECT_EQ(data.size(), 1u);
                return;
            }
            (data.size() == 1 ? low : high) = data.size() == 1 ? image->bottom + 1 : image->bottom - 1;
        }
    }
    FAIL() << "no height met the border";
}

TEST(SavePng, ResolutionIsForOneSuccessfulSaveOnly) {
    TestImage image(60, 60, 24);
    Random random(8);
    image.randomise(random);
    const TempFile file(".png");
    const unsigned whole = saved(image, 1).size();
    const Bytes standard = resolution(11812, 11812, 1);
    const auto next = [&] { return find(saved(image, 0), "pHYs").at(0); };
    EXPECT_EQ(next(), standard);
    pngsetxyresolution(3000, 4000, 0);
    EXPECT_EQ(savepng("no folder/x.png", image, 0), ERR_CREATE);
    for (const unsigned fits : {0u, whole - 1}) {
        const FullDisk disk(fits);
        ASSERT_EQ(savepng(file.name(), image, 1), ERR_WRITE) << fits << " of " << whole;
        ASSERT_EQ(pnggeterror(), -117) << fits;
    }
    const auto check = [](int n, int result, MemoryWatch&) {
        EXPECT_EQ(result, ERR_MEMORY) << "allocation " << n;
        EXPECT_EQ(pnggeterror(), -114) << "allocation " << n;
    };
    EXPECT_GT(failEveryAllocation([&] { return savepng(file.name(), image, 1); }, check), 5);
    EXPECT_EQ(find(readFile(file.name()), "pHYs").at(0), resolution(3000, 4000, 0))
        << "failed saves use up nothing";
    EXPECT_EQ(next(), standard);
    for (const int unit : {1, 2, 255, -1}) {
        pngsetxyresolution(7, -1, unit);
        EXPECT_EQ(next(), resolution(7, 0xFFFFFFFF, 1)) << unit;
    }
    pngsetxyresolution(1, 2, 0);
    pngsetxyresolution(3, 4, 1);
    EXPECT_EQ(next(), resolution(3, 4, 0)) << "the unit stays until the save";
    EXPECT_EQ(next(), standard);
}

TEST(SavePng, FilesByEitherNameHoldTheSameBytesAndClearTheDetailCode) {
    TestImage image(50, 40, 24);
    const Bytes want = saved(image, 1);
    const TempFile file(".png"), wide(".png");
    PngInfo info;
    EXPECT_EQ(pnginfofrombuffer("not a PNG", &info), ERR_PNG);
    EXPECT_EQ(savepng("no folder/x.png", image, 0), ERR_CREATE);
    EXPECT_EQ(pnggeterror(), -110) << "writing has not begun";
    ASSERT_EQ(savepng(file.name(), image, 1), 0);
    EXPECT_EQ(pnggeterror(), 0);
    EXPECT_EQ(readFile(file.name()), want);
    ASSERT_EQ(savepngW(wide.wideName(), image, 1), 0);
    EXPECT_EQ(readFile(wide.name()), want);
}

TEST(SavePng, ImagesThatCannotBeSavedLeaveNoFile) {
    const TempFile file(".png");
    TestImage grey16(3, 3, 16), image(3, 3, 8);
    EXPECT_EQ(savepng(file.name(), grey16, 0), ERR_BITS);
    image->right = 3;
    EXPECT_EQ(savepng(file.name(), image, 0), ERR_RANGE);
    EXPECT_FALSE(file.exists());
    void* buffer = nullptr;
    EXPECT_EQ(savepngtobuffer(&buffer, image, 0), ERR_RANGE);
}
