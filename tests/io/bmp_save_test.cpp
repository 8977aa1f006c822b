#include <gtest/gtest.h>

#include <array>
#include <tuple>
#include <utility>

#include "io/bmp_rle.h"
#include "orn32.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// The run-length rules, a pixel at a time.
Bytes encodePlainly(const Bytes& row) {
    Bytes out;
    for (std::size_t start = 0; start < row.size(); start += 255) {
        const std::size_t end = std::min(row.size(), start + 255);
        Bytes singles;
        const auto flush = [&] {
            if (singles.size() >= 3) {
                out.push_back(0);
                out.push_back(static_cast<std::uint8_t>(singles.size()));
                out.insert(out.end(), singles.begin(), singles.end());
                if (singles.size() % 2) out.push_back(0);
            } else {
                for (const std::uint8_t p : singles) out.insert(out.end(), {1, p});
            }
            singles.clear();
        };
        for (std::size_t i = start; i < end;) {
            std::size_t n = 1;
            while (i + n < end && row[i + n] == row[i]) n++;
            if (n == 1) {
                singles.push_back(row[i]);
            } else {
                flush();
                out.insert(out.end(), {static_cast<std::uint8_t>(n), row[i]});
            }
            i += n;
        }
        flush();
    }
    out.insert(out.end(), {0, 0});
    return out;
}

Bytes rowWithRuns(Random& random, unsigned width) {
    Bytes row(width);
    const unsigned liveliness = 1 + random.below(6);
    std::uint8_t value = 0;
    for (auto& p : row) {
        if (random.oneIn(liveliness)) value = static_cast<std::uint8_t>(random.below(4));
        p = value;
    }
    return row;
}

Bytes saved(imgdes* image, int rle) {
    void* buffer = nullptr;
    EXPECT_EQ(savebmptobuffer(&buffer, image, rle), 0);
    if (!buffer) return {};
    const auto* p = static_cast<const std::uint8_t*>(buffer);
    DWORD size;
    std::memcpy(&size, p + 2, 4);
    EXPECT_LE(size, GlobalSize(GlobalHandle(buffer)));
    const Bytes bytes(p, p + size);
    GlobalUnlock(GlobalHandle(buffer));
    EXPECT_EQ(GlobalFree(GlobalHandle(buffer)), nullptr);
    return bytes;
}

}  // namespace

TEST(BmpRle, EncodesAsAPixelAtATimeWould) {
    Random random(21);
    for (int round = 0; round < 5000; round++) {
        const unsigned width = round < 300 ? static_cast<unsigned>(round) : 1 + random.below(1200);
        const Bytes row = rowWithRuns(random, width);
        const GuardedBytes source(row);
        const Bytes expected = encodePlainly(row);
        GuardedBytes out(expected.size());
        ASSERT_EQ(orn32::bmp::encodeRle8Row(out.data(), source.data(), width), expected.size()) << width;
        ASSERT_EQ(Bytes(out.data(), out.data() + out.size()), expected) << width;
        ASSERT_LE(expected.size(), 2 * width + 2);
    }
}

TEST(BmpSave, WritesTheAreaThatLoadsBack) {
    Random random(22);
    for (int round = 0; round < 1500; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        TestImage image(1 + random.below(80), 1 + random.below(20), bits);
        image.randomise(random);
        image.randomisePalette(random);
        if (bits == 8) image->palcolors = random.between(1, 256);
        const int rle = bits == 8 && random.oneIn(2);
        if (rle)
            for (int y = 0; y < image.height(); y++) {
                const Bytes row = rowWithRuns(random, static_cast<unsigned>(image.width()));
                std::memcpy(image.row(y), row.data(), row.size());
            }
        image.randomArea(random);
        const Bytes file = saved(image, rle);

        TestImage back(static_cast<unsigned>(image.areaWidth()), static_cast<unsigned>(image.areaHeight()),
                       bits);
        const GuardedBytes source(file.size() < 100 ? [&] { Bytes b = file; b.resize(100); return b; }() : file);
        ASSERT_EQ(loadbmpfrombuffer(source.data(), back), 0);
        for (int y = 0; y < back.height(); y++)
            for (int x = 0; x < back.width(); x++)
                ASSERT_EQ(back.pixel(x, y), image.pixel(x + int(image->left), y + int(image->top)))
                    << x << "," << y << " of " << image.describe() << " rle " << rle;
        ASSERT_EQ(back->palcolors, image->palcolors);
        ASSERT_EQ(std::memcmp(back->palette, image->palette, static_cast<unsigned>(image->palcolors) * 4), 0);
    }
}

// More than fits the reader's window, which ends anywhere in the rows.
TEST(BmpSave, RunLengthsOfManyRowsLoadBack) {
    const TempFile file(".bmp");
    for (unsigned width = 3; width < 24; width += 4) {
        TestImage image(width, 32768, 8), back(width, 32768, 8);
        for (int y = 0; y < image.height(); y++)
            for (int x = 0; x < image.width(); x++) image.setPixel(x, y, static_cast<unsigned>(x + y));
        ASSERT_EQ(savebmp(file.name(), image, 1), 0);
        ASSERT_EQ(loadbmp(file.name(), back), 0);
        ASSERT_TRUE(back.bytes() == image.bytes()) << width;
    }
}

// Whole rows without padding are written from the image itself, an area of a wider image through a buffer.
TEST(BmpSave, WholePicturesAndAreasGiveTheSameBytes) {
    Random random(5);
    for (const unsigned bits : {1u, 8u, 24u}) {
        for (const auto& [width, height] :
             {std::pair{32u, 1u}, {64u, 9000u}, {1024u, 300u}, {102400u / 8, 20u}}) {
            TestImage whole(width, height, bits), wider(width + 40, height + 3, bits);
            whole.randomise(random);
            wider.randomise(random);
            setimagearea(wider, 9, 2, width + 8, height + 1);
            ASSERT_EQ(copyimagebits(whole, wider), 0);
            EXPECT_EQ(saved(whole, 0), saved(wider, 0)) << width << "x" << height << "x" << bits;
        }
    }
}

TEST(BmpSave, TheExactBytesOfASmallFile) {
    TestImage image(12, 2, 1);
    for (int x = 0; x < 12; x++) image.setPixel(x, 1, x % 3 == 0), image.setPixel(x, 0, 1);
    setimagearea(image, 1, 0, 10, 1);
    image->header->biXPelsPerMeter = 100;
    image->header->biYPelsPerMeter = 200;
    EXPECT_EQ(saved(image, 0), (Bytes{'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40, 0, 0, 0, 10, 0, 0,
                                      0, 2, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 8, 0, 0, 0, 100, 0, 0, 0, 200, 0,
                                      0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 0,
                                      // bits 1 to 10 of 1001001001000 and of all ones, padded
                                      0x24, 0x80, 0, 0, 0xFF, 0xC0, 0, 0}));
}

TEST(BmpSave, FilesByEitherNameAndBuffersHoldTheSameBytes) {
    Random random(23);
    TestImage image(300, 400, 24);  // more than one buffer of rows
    image.randomise(random);
    const TempFile narrow(".bmp"), wide(".bmp");
    ASSERT_EQ(savebmp(narrow.name(), image, 0), 0);
    ASSERT_EQ(savebmpW(wide.wideName(), image, 0), 0);
    const Bytes bytes = saved(image, 0);
    EXPECT_EQ(bytes.size(), 54u + 900 * 400);
    EXPECT_EQ(readFile(narrow.name()), bytes);
    EXPECT_EQ(readFile(wide.name()), bytes);
}

TEST(BmpSave, AFailureLeavesNoFileAndNoBuffer) {
    TestImage image(9, 9, 24), grey16(9, 9, 16);
    const TempFile file(".bmp");
    EXPECT_EQ(savebmp(file.name(), image, 1), ERR_UNSUPPORTED);
    EXPECT_FALSE(file.exists());
    void* buffer = &buffer;
    EXPECT_EQ(savebmptobuffer(&buffer, image, 1), ERR_UNSUPPORTED);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(savebmp("no such folder\\x.bmp", image, 0), ERR_CREATE);
    EXPECT_EQ(savebmp(nullptr, image, 0), ERR_CREATE);

    // A refused image leaves an existing file alone.
    writeFile(file.name(), {1, 2, 3});
    EXPECT_EQ(savebmp(file.name(), grey16, 0), ERR_BITS);
    image->right = 9;
    EXPECT_EQ(savebmpW(file.wideName(), image, 0), ERR_RANGE);
    EXPECT_EQ(readFile(file.name()), (Bytes{1, 2, 3}));

    image->right = 8;
    for (const bool toFile : {true, false}) {
        failEveryAllocation(
            [&] { return toFile ? savebmp(file.name(), image, 0) : savebmptobuffer(&buffer, image, 0); },
            [&](int n, int code, const MemoryWatch& watch) {
                EXPECT_EQ(code, ERR_MEMORY) << n;
                EXPECT_EQ(watch.live(), 0) << n;
                EXPECT_EQ(buffer, nullptr) << n;
                EXPECT_FALSE(file.exists()) << n;
            });
        if (buffer) freeGuarded(buffer);
        DeleteFileA(file.name());
    }
}
