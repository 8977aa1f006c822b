#include <gtest/gtest.h>

#include <utility>

#include "io/bmp_rle.h"
#include "orn32.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
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
                out = out + Bytes{0, static_cast<std::uint8_t>(singles.size())} + singles;
                if (singles.size() % 2) out.push_back(0);
            } else {
                for (const std::uint8_t p : singles) out.insert(out.end(), {1, p});
            }
            singles.clear();
        };
        for (std::size_t i = start, n; i < end; i += n) {
            for (n = 1; i + n < end && row[i + n] == row[i];) n++;
            if (n == 1) {
                singles.push_back(row[i]);
            } else {
                flush();
                out.insert(out.end(), {static_cast<std::uint8_t>(n), row[i]});
            }
        }
        flush();
    }
    return out + Bytes{0, 0};
}

Bytes rowWithRuns(Random& random, unsigned width) {
    Bytes row(width);
    const unsigned liveliness = 1 + random.below(6);
    std::uint8_t value = 0;
    for (auto& p : row) p = value = random.oneIn(liveliness) ? random.byte() % 4 : value;
    return row;
}

Bytes saved(imgdes* image, int rle = 0) {
    void* buffer = nullptr;
    EXPECT_EQ(savebmptobuffer(&buffer, image, rle), 0);
    const Bytes block = taken(buffer);
    std::uint32_t size;
    std::memcpy(&size, &block.at(2), 4);
    return slice(block, 0, size);
}

}  // namespace

TEST(BmpRle, EncodesAsAPixelAtATimeWould) {
    Random random(21);
    for (unsigned round = 0; round < 5000; round++) {
        const unsigned width = round < 300 ? round : 1 + random.below(1200);
        const Bytes row = rowWithRuns(random, width), expected = encodePlainly(row);
        const GuardedBytes source(row), out(expected.size());
        ASSERT_EQ(orn32::bmp::encodeRle8Row(out.data(), source.data(), width), expected.size()) << width;
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << width;
        ASSERT_LE(expected.size(), 2 * width + 2);
    }
}

// More than fits the reader's window, which ends anywhere in the rows.
TEST(BmpSave, RunLengthsOfManyRowsLoadBack) {
    const TempFile file(".bmp");
    for (unsigned width = 3; width < 24; width += 4) {
        TestImage image(width, 32768, 8), back(width, 32768, 8);
        image.draw(width, 32768, [](int x, int y) { return x + y; });
        ASSERT_EQ(savebmp(file.name(), image, 1), 0);
        ASSERT_EQ(loadbmp(file.name(), back), 0);
        ASSERT_TRUE(back.bytes() == image.bytes()) << width;
    }
}

// Whole rows without padding are written from the image itself, an area of a wider image through a buffer.
TEST(BmpSave, WholePicturesAndAreasFilesByEitherNameAndBuffersHoldTheSameBytes) {
    Random random(5);
    const TempFile narrow(".bmp"), wide(".bmp");
    for (const unsigned bits : {1u, 8u, 24u})
        for (const auto& [width, height] : {std::pair{32u, 1u}, {64u, 9000u}, {1024u, 300u}, {12800u, 20u}}) {
            TestImage whole(width, height, bits), wider(width + 40, height + 3, bits);
            wider.randomise(random);
            wider.randomisePalette(random);
            if (bits == 8) wider->palcolors = 99;
            setimagearea(wider, 9, 2, width + 8, height + 1);
            ASSERT_EQ(copyimage(wider, whole), 0);
            const auto* colours = reinterpret_cast<const std::uint8_t*>(whole->palette);
            const Bytes file = saved(whole), palette(colours, colours + 4 * whole->palcolors);
            EXPECT_TRUE(slice(file, 54, file.size() - 54) == palette + whole.bytes()) << whole.describe();
            EXPECT_TRUE(saved(wider) == file) << whole.describe();
            ASSERT_EQ(savebmp(narrow.name(), whole, 0), 0);
            ASSERT_EQ(savebmpW(wide.wideName(), wider, 0), 0);
            EXPECT_TRUE(readFile(narrow.name()) == file) << whole.describe();
            EXPECT_TRUE(readFile(wide.name()) == file) << whole.describe();
        }
}

TEST(BmpSave, TheExactBytesOfASmallFile) {
    TestImage image(12, 2, 1);
    for (int x = 0; x < 12; x++) image.setPixel(x, 1, x % 3 == 0), image.setPixel(x, 0, 1);
    setimagearea(image, 1, 0, 10, 1);
    image->header->biXPelsPerMeter = 100;
    image->header->biYPelsPerMeter = 200;
    EXPECT_EQ(saved(image), (Bytes{'B', 'M', 70, 0, 0, 0, 0, 0, 0, 0, 62, 0, 0, 0, 40, 0, 0, 0, 10, 0, 0, 0,
                                   2, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 8, 0, 0, 0, 100, 0, 0, 0, 200, 0, 0, 0,
                                   2, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 0,
                                   // bits 1 to 10 of 1001001001000 and of all ones, padded
                                   0x24, 0x80, 0, 0, 0xFF, 0xC0, 0, 0}));
}

TEST(BmpSave, WhatIsRefusedLeavesNoFileAndNoBufferAndAnOldFileAlone) {
    TestImage image(9, 9, 24), grey16(9, 9, 16);
    const TempFile file(".bmp");
    EXPECT_EQ(savebmp(file.name(), image, 1), ERR_UNSUPPORTED);
    EXPECT_FALSE(file.exists());
    void* buffer = &buffer;
    EXPECT_EQ(savebmptobuffer(&buffer, image, 1), ERR_UNSUPPORTED);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(savebmp("no such folder\\x.bmp", image, 0), ERR_CREATE);
    EXPECT_EQ(savebmp(nullptr, image, 0), ERR_CREATE);
    writeFile(file.name(), {1, 2, 3});
    EXPECT_EQ(savebmp(file.name(), grey16, 0), ERR_BITS);
    image->right = 9;
    EXPECT_EQ(savebmpW(file.wideName(), image, 0), ERR_RANGE);
    EXPECT_EQ(readFile(file.name()), (Bytes{1, 2, 3}));
}
