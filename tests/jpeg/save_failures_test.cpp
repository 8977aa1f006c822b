// Saving JPEG when things go wrong: the code and its detail.
#include <gtest/gtest.h>

#include <set>

#include "tests/jpeg/saved.h"
#include "tests/support/failing_writes.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

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
        for (const UINT options : {0u, 1u, 2u, 0x10u, 0x11u, 0x12u})
            EXPECT_EQ(savejpgex(file.name(), c.image, 50, options), c.code);
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

// A write that fails while the picture is coded leaves its detail, and so does a buffer that cannot grow.
TEST(SaveJpegFailures, ABrokenOutputLeavesItsOwnDetail) {
    TestImage image(400, 300, 24);
    Random random(1);
    image.randomise(random);
    for (const UINT options : {0u, 2u, 0x10u}) {
        const TempFile file(".jpg");
        const FullDisk disk(66000);
        EXPECT_EQ(savejpgex(file.name(), image, 100, options), ERR_WRITE) << options;
        EXPECT_EQ(jpeggeterror(), -115) << options;
    }
    std::set<int> details;
    void* buffer = nullptr;
    failEveryAllocation([&] { return savejpgtobuffer(&buffer, image, 100); },
                        [&](int, int, const MemoryWatch&) { details.insert(jpeggeterror()); });
    freeGuarded(buffer);
    EXPECT_TRUE(details.contains(-114));
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
