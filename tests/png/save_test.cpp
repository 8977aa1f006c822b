#include <gtest/gtest.h>

#include <array>
#include <set>
#include <span>

#include "orn32.h"
#include "tests/png/plain_codec.h"
#include "tests/support/failing_writes.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// The file that savepngtobuffer makes, its length found by walking to IEND.
Bytes saved(TestImage& image, int options) {
    void* buffer = nullptr;
    EXPECT_EQ(savepngtobuffer(&buffer, image, options), 0);
    if (!buffer) return {};
    const auto* p = static_cast<const std::uint8_t*>(buffer);
    std::size_t at = 8;
    while (std::memcmp(p + at + 4, "IEND", 4) != 0) at += 12 + fromBigEndian32(p + at);
    const Bytes file(p, p + at + 12);
    EXPECT_GE(GlobalSize(GlobalHandle(buffer)), file.size());
    GlobalUnlock(GlobalHandle(buffer));
    GlobalFree(GlobalHandle(buffer));
    return file;
}

Chunk find(const Bytes& file, const std::string& type) {
    for (const Chunk& chunk : chunksOf(file))
        if (chunk.type == type) return chunk;
    return {"", {}};
}

std::vector<std::string> typesOf(const Bytes& file) {
    std::vector<std::string> types;
    for (const Chunk& chunk : chunksOf(file)) types.push_back(chunk.type);
    return types;
}

void expectSame(TestImage& image, Picture& picture, int options) {
    ASSERT_EQ(picture.width, static_cast<unsigned>(image.areaWidth()));
    ASSERT_EQ(picture.height, static_cast<unsigned>(image.areaHeight()));
    ASSERT_EQ(picture.interlaced, (options & 1) != 0);
    for (unsigned y = 0; y < picture.height; y++)
        for (unsigned x = 0; x < picture.width; x++)
            ASSERT_EQ(picture.dibPixel(x, y),
                      image.pixel(static_cast<int>(image->left + x), static_cast<int>(image->top + y)))
                << image.describe() << " options " << options << " at " << x << "," << y;
}

}  // namespace

TEST(SavePng, AllOptionsSaveExactlyTheAreaOfEveryKindOfImage) {
    Random random(1);
    for (int round = 0; round < 2000; round++) {
        TestImage image(1 + random.below(60), 1 + random.below(30), std::array{1u, 8u, 24u}[random.below(3)]);
        image.randomise(random);
        if (random.oneIn(2)) image.randomisePalette(random);
        image.randomArea(random);
        const int options = random.oneIn(10) ? static_cast<int>(random.next()) : random.between(-3, 16);
        Picture picture = decoded(saved(image, options));
        expectSame(image, picture, options);
        if (HasFatalFailure()) return;
    }
}

TEST(SavePng, KindAndPaletteFollowTheImage) {
    Random random(2);
    TestImage rgb(5, 5, 24), grey(5, 5, 8), colours(5, 5, 8), bits(5, 5, 1);
    colours.randomisePalette(random);
    colours->palcolors = 10;
    bits->imgkind = 1;
    using Types = std::vector<std::string>;
    const Types plain = {"IHDR", "pHYs", "IDAT", "IEND"},
                withPalette = {"IHDR", "PLTE", "pHYs", "IDAT", "IEND"};
    EXPECT_EQ(typesOf(saved(rgb, 0)), plain);
    EXPECT_EQ(typesOf(saved(grey, 0)), plain);
    EXPECT_EQ(typesOf(saved(colours, 0)), withPalette);
    EXPECT_EQ(typesOf(saved(bits, 0)), withPalette);
    EXPECT_EQ(find(saved(rgb, 0), "IHDR").data, headerChunk(5, 5, 8, 2).data);
    EXPECT_EQ(find(saved(grey, 1), "IHDR").data, headerChunk(5, 5, 8, 0, true).data);
    EXPECT_EQ(find(saved(colours, 0), "IHDR").data, headerChunk(5, 5, 8, 3).data);
    EXPECT_EQ(find(saved(bits, 0), "IHDR").data, headerChunk(5, 5, 1, 3).data);
    Bytes want;
    for (const RGBQUAD& q : std::span(colours->palette, 10))
        want = want + Bytes{q.rgbRed, q.rgbGreen, q.rgbBlue};
    EXPECT_EQ(find(saved(colours, 0), "PLTE").data, want);
    EXPECT_EQ(find(saved(bits, 0), "PLTE").data, (Bytes{0, 0, 0, 255, 255, 255}));
    colours->palcolors = 300;
    EXPECT_EQ(find(saved(colours, 0), "PLTE").data.size(), 768u);
    colours->palcolors = -1;
    EXPECT_EQ(find(saved(colours, 0), "PLTE").data.size(), 0u);
}

TEST(SavePng, TheFilterIsTheOneAskedForWherePixelsAreSamples) {
    Random random(3);
    for (int options = -20; options <= 40; options++)
        for (const int kind : {0, 1, 2, 3}) {
            TestImage image(20, 20, kind == 0 ? 24 : kind == 3 ? 1 : 8);
            image.randomise(random);
            if (kind == 2) image.randomisePalette(random);
            std::vector<unsigned> filters;
            const Bytes file = saved(image, options);
            decoded(file, &filters);
            const bool filtered = kind < 2 && options >= 2 && options <= 11;
            if (kind < 2 && (options == 0 || options == 1)) continue;  // the best one
            for (const unsigned f : filters)
                ASSERT_EQ(f, filtered ? static_cast<unsigned>(options / 2 - 1) : 0u)
                    << options << " kind " << kind;
        }
}

TEST(SavePng, AdaptiveTakesTheLeastMeasureInEveryRow) {
    Random random(4);
    std::set<unsigned> chosen;
    for (int round = 0; round < 60; round++)
        for (const unsigned bits : {8u, 24u}) {
            Picture picture = randomPicture(random, 30, 30, 8, bits == 8 ? 0 : 2);
            picture.interlaced = round % 2;
            TestImage image(30, 30, bits);
            for (unsigned y = 0; y < 30; y++)
                for (unsigned x = 0; x < 30; x++)
                    image.setPixel(static_cast<int>(x), static_cast<int>(y), picture.dibPixel(x, y));
            const Bytes want = filteredRows(picture, [&](auto&&... row) {
                const unsigned best = plainBestFilter(row...);
                chosen.insert(best);
                return best;
            });
            ASSERT_EQ(rowsOf(saved(image, round % 2)), want) << "round " << round << ", " << bits << " bits";
        }
    EXPECT_EQ(chosen.size(), 5u);
}

TEST(SavePng, DataChunksHold8192BytesButForTheLast) {
    Random random(5);
    TestImage image(300, 400, 24);
    image.randomise(random);
    const std::vector<Chunk> chunks = chunksOf(saved(image, 0));
    std::size_t data = 0;
    for (std::size_t i = 0; i < chunks.size(); i++) {
        if (chunks[i].type != "IDAT") continue;
        data++;
        const bool last = chunks[i + 1].type != "IDAT";
        EXPECT_EQ(chunks[i].data.size() == 8192, !last) << i;
        EXPECT_GT(chunks[i].data.size(), 0u);
    }
    EXPECT_GT(data, 40u);
}

// A row more is a byte or two of data more: sooner or later a height fills the chunk exactly.
TEST(SavePng, DataThatFillsItsLastChunkIsNotFollowedByAnEmptyOne) {
    Random random(6);
    TestImage image(1, 9000, 8);
    for (int tries = 0; tries < 200; tries++) {
        image.randomise(random);
        UINT low = 2000, high = 8999;
        std::vector<Chunk> data;
        std::size_t bytes = 0;
        while (low <= high && bytes != 8192) {
            setimagearea(image, 0, 0, 0, (low + high) / 2);
            data.clear(), bytes = 0;
            for (const Chunk& chunk : chunksOf(saved(image, 2)))
                if (chunk.type == "IDAT") data.push_back(chunk), bytes += chunk.data.size();
            (bytes < 8192 ? low : high) = bytes < 8192 ? image->bottom + 1 : image->bottom - 1;
        }
        if (bytes != 8192) continue;
        EXPECT_EQ(data.size(), 1u);
        return;
    }
    FAIL() << "no height met the border";
}

TEST(SavePng, ResolutionIsForOneSuccessfulSaveOnly) {
    TestImage image(3, 3, 8);
    const Bytes standard = bigEndian32(11812) + bigEndian32(11812) + Bytes{1};
    const auto next = [&] { return find(saved(image, 0), "pHYs").data; };
    EXPECT_EQ(next(), standard);
    pngsetxyresolution(3000, 4000, 0);
    EXPECT_EQ(savepng("no folder/x.png", image, 0), ERR_CREATE);
    EXPECT_EQ(next(), bigEndian32(3000) + bigEndian32(4000) + Bytes{0}) << "a failed save uses up nothing";
    EXPECT_EQ(next(), standard);
    for (const int unit : {1, 2, 255, -1}) {
        pngsetxyresolution(7, -1, unit);
        EXPECT_EQ(next(), bigEndian32(7) + bigEndian32(0xFFFFFFFF) + Bytes{1}) << unit;
    }
    pngsetxyresolution(1, 2, 0);
    pngsetxyresolution(3, 4, 1);
    EXPECT_EQ(next(), bigEndian32(3) + bigEndian32(4) + Bytes{0}) << "the unit stays until the save";
    EXPECT_EQ(next(), standard);
}

TEST(SavePng, NarrowWideAndBufferFormsWriteTheSame) {
    Random random(7);
    TestImage image(50, 40, 24);
    image.randomise(random);
    const Bytes want = saved(image, 1);
    TempFile file(".png");
    ASSERT_EQ(savepng(file.name(), image, 1), 0);
    EXPECT_EQ(readFile(file.name()), want);
    TempFile wide(".png");
    ASSERT_EQ(savepngW(wide.wideName(), image, 1), 0);
    EXPECT_EQ(readFile(wide.name()), want);
}

TEST(SavePng, StartingToWriteClearsTheDetailCode) {
    PngInfo info;
    TestImage image(3, 3, 8);
    EXPECT_EQ(pnginfofrombuffer("not a PNG", &info), ERR_PNG);
    EXPECT_EQ(savepng("no folder/x.png", image, 0), ERR_CREATE);
    EXPECT_EQ(pnggeterror(), -110);
    TempFile file(".png");
    EXPECT_EQ(savepng(file.name(), image, 0), 0);
    EXPECT_EQ(pnggeterror(), 0);
}

TEST(SavePng, ImagesThatCannotBeSavedLeaveNoFile) {
    TempFile file(".png");
    TestImage grey16(3, 3, 16), image(3, 3, 8);
    EXPECT_EQ(savepng(file.name(), grey16, 0), ERR_BITS);
    image->right = 3;
    EXPECT_EQ(savepng(file.name(), image, 0), ERR_RANGE);
    EXPECT_FALSE(file.exists());
    void* buffer = &file;
    EXPECT_EQ(savepngtobuffer(&buffer, image, 0), ERR_RANGE);
}

TEST(SavePng, AFullDiskAndFullMemoryHaveDetailsAndUseUpNoSettings) {
    Random random(8);
    TestImage image(60, 60, 24);
    image.randomise(random);
    TempFile file(".png");
    const auto whole = static_cast<unsigned>(saved(image, 1).size());
    pngsetxyresolution(1, 2, 1);
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
    EXPECT_EQ(find(readFile(file.name()), "pHYs").data, bigEndian32(1) + bigEndian32(2) + Bytes{1});
}
