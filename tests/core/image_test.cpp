#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "core/library.h"
#include "orn32.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

bool isCleared(const imgdes& image) {
    static const imgdes cleared = {};
    return std::memcmp(&image, &cleared, sizeof image) == 0;
}

imgdes filledRecord() {
    imgdes image;
    std::memset(&image, 0x5A, sizeof image);
    return image;
}

using Area = std::array<UINT, 4>;
Area areaOf(const imgdes& image) {
    return {image.left, image.top, image.right, image.bottom};
}

}  // namespace

TEST(AllocImage, DescribesTheNewImage) {
    const struct {
        unsigned width, height, bits, gotBits, rowBytes, colours, kind;
    } cases[] = {{1, 1, 1, 1, 4, 2, 1},   {33, 5, 1, 1, 8, 2, 1},   {5, 3, 4, 8, 8, 256, 1},
                 {4, 7, 8, 8, 4, 256, 1}, {5, 2, 16, 16, 12, 0, 1}, {5, 9, 24, 24, 16, 0, 0}};
    for (const auto& c : cases)
        for (const bool section : {false, true}) {
            SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.bits));
            imgdes image = filledRecord();
            ASSERT_EQ((section ? allocimage : allocDIB)(&image, c.width, c.height, c.bits), 0);
            const BITMAPINFOHEADER want = {
                40, LONG(c.width), LONG(c.height), 1, WORD(c.gotBits), 0, c.rowBytes * c.height, 0,
                0,  c.colours,     c.colours};
            EXPECT_EQ(std::memcmp(image.header, &want, sizeof want), 0);
            EXPECT_EQ(areaOf(image), (Area{0, 0, c.width - 1, c.height - 1}));
            EXPECT_EQ(std::tuple(image.rowbytes, image.palcolors, image.imgkind),
                      std::tuple(c.rowBytes, int(c.colours), c.kind));
            EXPECT_EQ(image.hbitmap != nullptr, section);
            EXPECT_EQ(static_cast<void*>(image.palette), image.header + 1);
            EXPECT_TRUE(section || image.bits == static_cast<void*>(image.palette + c.colours));
            EXPECT_EQ(std::count(image.bits, image.bits + want.biSizeImage, 0), LONG(want.biSizeImage));
            freeimage(&image);
            EXPECT_TRUE(isCleared(image));
        }
}

TEST(AllocImage, RefusesAndClearsTheRecord) {
    const auto refuse = [](auto allocate, UINT width, UINT height, UINT bits, int code) {
        imgdes image = filledRecord();
        EXPECT_EQ(allocate(&image, width, height, bits), code) << width << "x" << height << "x" << bits;
        EXPECT_TRUE(isCleared(image));
    };
    const UINT tooLarge[][3] = {{0x7FFFFFFF, 2, 24}, {0x80000000, 1, 1},  {65536, 65536, 8},
                                {~0u, ~0u, 24},      {0x55555556, 1, 24}, {65536, 32767, 24}};
    for (const auto allocate : {allocimage, allocDIB}) {
        for (const UINT bits : {0, 2, 32}) refuse(allocate, 5, 5, bits, ERR_BITS);
        refuse(allocate, 0, 0, 32, ERR_BITS);
        refuse(allocate, 0, 5, 8, ERR_RANGE);
        refuse(allocate, 5, 0, 4, ERR_RANGE);
        for (const auto& [width, height, bits] : tooLarge) refuse(allocate, width, height, bits, ERR_MEMORY);
        const MemoryWatch watch(1);
        refuse(allocate, 10, 10, 8, ERR_MEMORY);
    }
    // More pixels than the address space has room for, in rows that are countable in 31 bits: a DIB section
    // that Windows refuses.
    refuse(allocimage, 32768, 65500, 8, ERR_MEMORY);
}

TEST(FreeImage, LeavesARecordWithAnUnreadableHeaderAlone) {
    imgdes image = filledRecord();
    const imgdes before = image;
    const GuardedBytes small(39);
    freeimage(&image);
    EXPECT_EQ(std::memcmp(&image, &before, sizeof image), 0);
    image.header = reinterpret_cast<BITMAPINFOHEADER*>(small.data());
    image.palcolors = 0;
    freeimage(&image);
    EXPECT_EQ(image.left, before.left);
    freeimage(nullptr);
}

TEST(SetupImgdes, DescribesAPackedDib) {
    TestImage dib(10, 4, 8);
    imgdes image;
    const auto setUp = [&](WORD bits, DWORD colours, LONG height = 4, DWORD compression = 0) {
        dib->header->biBitCount = bits;
        dib->header->biClrUsed = colours;
        dib->header->biHeight = height;
        dib->header->biCompression = compression;
        image = filledRecord();
        return setupimgdes(dib->header, &image);
    };
    ASSERT_EQ(setUp(8, 256), 0);
    EXPECT_EQ(image.bits, dib->bits);
    EXPECT_EQ(image.palette, dib->palette);
    EXPECT_EQ(areaOf(image), (Area{0, 0, 9, 3}));
    EXPECT_EQ(std::tuple(image.rowbytes, image.palcolors, image.imgkind, image.hbitmap),
              std::tuple(12u, 256, 0u, nullptr));
    ASSERT_EQ(setUp(8, 17), 0);
    EXPECT_EQ(image.palcolors, 17);
    EXPECT_EQ(static_cast<void*>(image.bits), dib->palette + 17);
    ASSERT_EQ(setUp(16, 0), 0);
    EXPECT_EQ(image.palcolors, 0);
    ASSERT_EQ(setUp(16, 0, -4), 0);
    EXPECT_EQ(checkrange16_(&image), ERR_RANGE);
    for (const WORD bits : {4, 8}) {
        EXPECT_EQ(setUp(bits, 0, 4, 1), bits == 4 ? ERR_BITS : ERR_COMPRESSED);
        EXPECT_EQ(image.header, dib->header);
        image.header = nullptr;
        EXPECT_TRUE(isCleared(image));
    }
    setUp(8, 256);
}

TEST(ImageArea, GoesToARectAndBackUnchanged) {
    imgdes image = {}, copy = {};
    setimagearea(&image, 7, 8, 3, 4000000000u);
    RECT rect;
    imageareatorect(&image, &rect);
    EXPECT_EQ(std::tuple(rect.left, rect.top, rect.right, rect.bottom),
              std::tuple(7, 8, 3, LONG(4000000000u)));
    recttoimagearea(&rect, &copy);
    EXPECT_EQ(areaOf(copy), (Area{7, 8, 3, 4000000000u}));
}

TEST(CheckRange, TestsInOrderAndRepairsSwappedEdges) {
    const auto expect = [](int code, void (*spoil)(imgdes&), int line = __builtin_LINE()) {
        SCOPED_TRACE("called in line " + std::to_string(line));
        TestImage image(20, 10, 8);
        const BITMAPINFOHEADER good = *image->header;
        imgdes record = image.image;
        spoil(record);
        EXPECT_EQ(checkrange_(&record), code);
        EXPECT_EQ(checkrange1_(&record), code);
        EXPECT_EQ(checkrange16_(&record), code);
        *image->header = good;
    };
    expect(ERR_BAD_BUFFER, [](imgdes& i) { i.bits = nullptr, i.header = nullptr; });
    expect(ERR_RANGE, [](imgdes& i) { i.header = nullptr; });
    expect(ERR_RANGE, [](imgdes& i) { i.right = 20; });
    expect(ERR_RANGE, [](imgdes& i) { i.bottom = 10; });
    expect(ERR_RANGE, [](imgdes& i) { i.left = ~0u; });
    expect(ERR_RANGE, [](imgdes& i) { i.rowbytes = 19; });
    expect(ERR_RANGE, [](imgdes& i) { i.header->biWidth = -20; });
    expect(ERR_RANGE, [](imgdes& i) { i.header->biHeight = -10; });
    // A row length that wraps
    expect(ERR_RANGE, [](imgdes& i) { i.header->biWidth = 0x20000001, i.header->biBitCount = 24; });
    expect(ERR_RANGE, [](imgdes& i) { i.header->biCompression = 1, i.right = 20; });
    expect(ERR_COMPRESSED, [](imgdes& i) { i.header->biCompression = 1, i.header->biBitCount = 4; });
    for (const unsigned bits : {0u, 1u, 2u, 4u, 8u, 16u, 24u, 32u, 33u, 40u, 65535u}) {
        TestImage image(20, 10, 24);
        image->header->biBitCount = static_cast<WORD>(bits);
        image->rowbytes = 20 * bits;
        const bool two = bits == 8 || bits == 24;
        EXPECT_EQ(checkrange_(image), two ? 0 : ERR_BITS) << bits;
        EXPECT_EQ(checkrange1_(image), two || bits == 1 ? 0 : ERR_BITS) << bits;
        EXPECT_EQ(checkrange16_(image), two || bits == 1 || bits == 16 ? 0 : ERR_BITS) << bits;
    }
    TestImage image(20, 10, 1);
    setimagearea(image, 10, 9, 5, 2);
    EXPECT_EQ(checkrange_(image), ERR_BITS);
    EXPECT_EQ(areaOf(image.image), (Area{5, 2, 10, 9}));
    EXPECT_EQ(checkrange_(nullptr), ERR_RANGE);
}

TEST(CheckRange, LimitsTheColumnsByBitCount) {
    const int cases[][4] = {{65535, 1, 1, 0},         {65536, 1, 1, ERR_RANGE}, {32768, 1, 8, 0},
                            {32769, 1, 8, ERR_RANGE}, {1, 32768, 8, 0},         {1, 32769, 1, ERR_RANGE}};
    for (const auto& [width, height, bits, code] : cases) {
        TestImage image(width, height, bits);
        EXPECT_EQ(checkrange1_(image), code) << image.describe();
    }
}

TEST(Palette, OnlyTheExactGreyRampIsGrey) {
    TestImage one(1, 1, 1), eight(1, 1, 8), grey16(1, 1, 16), true24(1, 1, 24);
    EXPECT_TRUE(isgrayscaleimage(one));
    EXPECT_TRUE(isgrayscaleimage(eight));
    EXPECT_TRUE(isgrayscaleimage(grey16));
    EXPECT_FALSE(isgrayscaleimage(true24));
    grey16->imgkind = 3;
    EXPECT_FALSE(isgrayscaleimage(grey16));
    for (const auto& [colours, grey] : {std::pair{5, 1}, {300, 0}, {0, 0}}) {  // a ramp would pass 255
        eight->palcolors = colours;
        EXPECT_EQ(isgrayscaleimage(eight), grey) << colours;
    }
    eight->palcolors = 256;
    eight->palette[7].rgbGreen = 8;
    EXPECT_FALSE(isgrayscaleimage(eight));
    for (int i = 0; i < 256; i++) eight->palette[i] = {BYTE(255 - i), BYTE(255 - i), BYTE(255 - i), 0};
    EXPECT_FALSE(isgrayscaleimage(eight));
    eight->imgkind = 6;
    CreateDefaultPalette_(eight);
    EXPECT_TRUE(isgrayscaleimage(eight));
    EXPECT_EQ(eight->imgkind, 7u);
}

TEST(Palette, SystemPalettesFillAnEightBitImage) {
    TestImage eight(1, 1, 8), true24(1, 1, 24);
    std::memset(eight->palette, 0x77, 1024);
    EXPECT_EQ(defaultpalette(eight), 16);
    EXPECT_EQ(eight->palcolors, 16);
    const std::uint32_t* colours = reinterpret_cast<std::uint32_t*>(eight->palette);
    EXPECT_EQ(colours[0], 0x77000000u);
    EXPECT_EQ(colours[9], 0x77FF0000u);   // red, in the upper half of the standard colours
    EXPECT_EQ(colours[12], 0x770000FFu);  // blue
    EXPECT_EQ(colours[15], 0x77FFFFFFu);
    EXPECT_EQ(colours[16], 0x77777777u);
    EXPECT_EQ(standardpalette(eight), 256);
    EXPECT_EQ(colours[255], 0x77FFFFFFu);
    EXPECT_EQ(eight->header->biClrUsed, 256u);
    EXPECT_EQ(defaultpalette(true24), 0);
    EXPECT_EQ(standardpalette(true24), 0);
    eight->header->biClrUsed = 10;  // a packed DIB whose pixels follow its tenth colour
    EXPECT_EQ(standardpalette(eight), 10);
}

TEST(Palette, FollowsIntoTheDibSection) {
    TestImage section(2, 2, 8, true);
    section->palette[5] = {1, 2, 3, 0};
    EXPECT_EQ(updatebitmapcolortable(section), 0);
    EXPECT_EQ(section.sectionColour(5), (Colour{1, 2, 3}));
}

TEST(Library, DibSectionsDependOnTheSystem) {
    using orn32::dibSectionsWork;
    using orn32::Platform;
    EXPECT_FALSE(dibSectionsWork(Platform::windowsNt, 310));
    EXPECT_TRUE(dibSectionsWork(Platform::windowsNt, 350));
    EXPECT_TRUE(dibSectionsWork(Platform::windows9x, 400));
    EXPECT_FALSE(dibSectionsWork(Platform::win32s, 310));
    EXPECT_TRUE(orn32::library.useDibSections);
}

TEST(Library, FiveNullsBringImagesBackToGlobalMemoryAndKeepTheTable) {
    imgdes image;
    const MemoryWatch watch;
    InitializeLibrary(nullptr, nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(allocDIB(&image, 3, 3, 1), 0);
    EXPECT_EQ(watch.allocations(), 0);
    EXPECT_NE(GlobalHandle(image.header), nullptr);
    EXPECT_EQ(copyimage(&image, &image), 0);
    EXPECT_EQ(watch.allocations(), 1);
    freeimage(&image);
}
