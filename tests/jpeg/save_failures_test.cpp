// Saving JPEG when things go wrong: the code and its detail.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/failing_writes.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

TEST(SaveJpegFailures, BadArgumentsAreReportedBeforeAnyFileIsTouched) {
    const TempFile file(".jpg");
    writeFile(file.name(), {1, 2, 3});
    TestImage one(9, 9, 1), grey16(9, 9, 16), wrong(9, 9, 24), compressed(9, 9, 24), wide(32769, 1, 8);
    wrong->right = 9;
    compressed->header->biCompression = BI_RLE8;
    for (imgdes* image : {&one.image, &grey16.image})
        EXPECT_EQ(savejpgex(file.name(), image, 50, 0x10), ERR_BITS);
    for (imgdes* image : {&wrong.image, &wide.image, static_cast<imgdes*>(nullptr)})
        EXPECT_EQ(savejpgex(file.name(), image, 50, 0x10), ERR_RANGE);
    EXPECT_EQ(savejpgex(file.name(), compressed, 50, 0x10), ERR_COMPRESSED);
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
    const TempFile file(".jpg");
    for (const auto& [bits, most] : {std::pair{24u, 147u},    // 147 * 147 * 3 + 10 = 64837
                                     std::pair{8u, 254u}}) {  // 254 * 254 + 778 = 65294
        TestImage image(300, 300, bits);
        for (const UINT size : {most, most + 1, 255u}) {
            jpegsetthumbnailsize(size);
            EXPECT_EQ(savejpgex(file.name(), image, 50, 0x10), size == most ? 0 : ERR_THUMB_SIZE) << size;
            EXPECT_EQ(file.exists(), size == most) << size;
        }
    }
    jpegsetthumbnailsize(64);
}
