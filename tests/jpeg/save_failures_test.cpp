// Saving JPEG when things go wrong: the code, nothing leaked, no file left behind.
#include <gtest/gtest.h>

#include "tests/jpeg/saved.h"
#include "tests/support/failing_writes.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

constexpr int writeFailure = -115, writeToMemory = -114;
constexpr UINT allOptions[] = {0, 1, 2, 0x10, 0x11, 0x12};

void fillWithNoise(TestImage& image) {
    Random random(1);
    image.randomise(random);
}

}  // namespace

TEST(SaveJpegFailures, BadArgumentsAreReportedBeforeAnyFileIsTouched) {
    const TempFile file(".jpg");
    writeFile(file.name(), {1, 2, 3});
    TestImage one(9, 9, 1), grey16(9, 9, 16), wrong(9, 9, 24), compressed(9, 9, 24), wide(32769, 1, 8);
    wrong->right = 9;
    compressed->header->biCompression = BI_RLE8;
    struct {
        imgdes* image;
        int code;
    } const cases[] = {{one, ERR_BITS},    {grey16, ERR_BITS},
                       {wrong, ERR_RANGE}, {compressed, ERR_COMPRESSED},
                       {wide, ERR_RANGE},  {nullptr, ERR_RANGE}};
    for (const auto& c : cases)
        for (const UINT options : allOptions) EXPECT_EQ(savejpgex(file.name(), c.image, 50, options), c.code);
    EXPECT_EQ(readFile(file.name()), (Bytes{1, 2, 3}));
    compressed->header->biCompression = 0;
}

TEST(SaveJpegFailures, AnOutputThatCannotBeCreated) {
    TestImage image(9, 9, 24);
    EXPECT_EQ(savejpg("no such folder\\a.jpg", image, 50), ERR_CREATE);
    EXPECT_EQ(savejpgW(L"no such folder\\a.jpg", image, 50), ERR_CREATE);
    EXPECT_EQ(savejpg(nullptr, image, 50), ERR_CREATE);
    EXPECT_EQ(savejpgtobuffer(nullptr, image, 50), ERR_CREATE);
}

// Noise fills the output buffer several times, so that chunks of the buffer stream fail in the middle too.
TEST(SaveJpegFailures, EveryFailedAllocationIsAMemoryError) {
    for (const unsigned bits : {24u, 8u}) {
        TestImage image(300, 150, bits);
        fillWithNoise(image);
        const bool palette = bits == 8;
        if (palette) image->imgkind = 0;
        for (const UINT options : allOptions) {
            void* buffer = nullptr;
            const int steps = failEveryAllocation(
                [&] { return savejpgtobufferex(&buffer, image, 100, options); },
                [&](int n, int code, const MemoryWatch& watch) {
                    EXPECT_EQ(code, ERR_MEMORY) << "options " << options << ", allocation " << n;
                    EXPECT_EQ(buffer, nullptr) << "options " << options << ", allocation " << n;
                    EXPECT_EQ(watch.live(), 0) << "options " << options << ", allocation " << n;
                });
            EXPECT_GE(steps, 5);
            freeGuarded(buffer);
        }
    }
}

// The picture takes several output buffers: a write that fails while it is coded leaves its detail.
TEST(SaveJpegFailures, ABrokenOutputIsAWriteErrorWhereverItBreaks) {
    TestImage image(400, 300, 24);
    fillWithNoise(image);
    const MemoryWatch watch;
    for (const UINT options : {0u, 1u, 2u, 0x10u}) {
        for (const unsigned taken : {0u, 1u, 10u, 21u, 300u, 5000u, 66000u, 150000u}) {
            const TempFile file(".jpg");
            const FullDisk disk(taken);
            EXPECT_EQ(savejpgex(file.name(), image, 100, options), ERR_WRITE)
                << options << " after " << taken;
            EXPECT_EQ(watch.live(), 0) << options << " after " << taken;
            EXPECT_FALSE(file.exists()) << options << " after " << taken;
            if (taken >= 66000 && options != 1) {
                EXPECT_EQ(jpeggeterror(), writeFailure) << options;
            }
        }
    }
}

TEST(SaveJpegFailures, AFullBufferLeavesItsOwnDetail) {
    TestImage image(400, 300, 24);
    fillWithNoise(image);
    int detailsSeen = 0;
    void* buffer = nullptr;
    for (int n = 1;; n++) {
        MemoryWatch watch(n, true);
        const int code = savejpgtobuffer(&buffer, image, 100);
        if (code == 0) break;
        detailsSeen += jpeggeterror() == writeToMemory;
    }
    freeGuarded(buffer);
    EXPECT_GT(detailsSeen, 0);
}

TEST(SaveJpegFailures, AThumbnailOfMoreThanOneSegment) {
    TestImage colour(300, 300, 24), grey(300, 300, 8);
    const TempFile file(".jpg");
    struct {
        imgdes* image;
        UINT size;
        int code;
    } const cases[] = {{colour, 147, 0},  // 147 * 147 * 3 + 10 = 64837
                       {colour, 148, ERR_THUMB_SIZE},
                       {colour, 255, ERR_THUMB_SIZE},
                       {grey, 254, 0},  // 254 * 254 + 778 = 65294
                       {grey, 255, ERR_THUMB_SIZE}};
    for (const auto& c : cases) {
        ASSERT_EQ(jpegsetthumbnailsize(c.size), 0);
        EXPECT_EQ(savejpgex(file.name(), c.image, 50, 0x10), c.code) << c.size;
        EXPECT_EQ(file.exists(), c.code == 0) << c.size;
    }
    jpegsetthumbnailsize(64);
}
