#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "orn32.h"
#include "tests/support/bmp_builder.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

int load(const Bytes& file, imgdes* image) {
    const GuardedBytes source(file);
    return loadbmpfrombuffer(source.data(), image);
}

const Bytes grey4 = {0, 0, 0, 0, 85, 85, 85, 0, 170, 170, 170, 0, 255, 255, 255, 0};

// The widening of a 16-bit pixel's channel as the file format's users know it, written the long way.
unsigned widened16(unsigned pixel, unsigned mask) {
    unsigned value = 0, bits = 0;
    for (int i = 15; i >= 0; i--)
        if (mask >> i & 1) value = value << 1 | (pixel >> i & 1), bits++;
    if (bits == 0) return 0;
    const unsigned shifted = value << (8 - bits);
    return bits < 4 ? shifted : shifted | value >> (2 * bits - 8);
}

}  // namespace

TEST(BmpLoad, FileRowsFillTheAreaFromItsBottomLeft) {
    Random random(7);
    for (int round = 0; round < 3000; round++) {
        const unsigned bits = std::array{1u, 8u, 24u, 4u, 16u, 32u}[random.below(6)];
        BmpBuilder file;
        file.width = random.between(1, 40), file.height = random.between(1, 12), file.bits = bits;
        file.gap = 100 + random.below(5);
        const bool topDown = random.oneIn(3);
        const unsigned rowLength = (static_cast<unsigned>(file.width) * bits + 31) / 32 * 4;
        file.pixels = random.bytes(rowLength * static_cast<unsigned>(file.height));
        const unsigned imageBits = bits == 4 ? 8 : bits > 8 ? 24 : bits;
        TestImage image(1 + random.below(40), 1 + random.below(12), imageBits);
        image.randomise(random);
        image.randomArea(random);

        TestImage expected(image);
        const int w = image.areaWidth(), h = image.areaHeight();
        const int left = static_cast<int>(image->left), bottom = static_cast<int>(image->bottom);
        for (int y = 0; y < std::min(h, file.height); y++) {
            const std::uint8_t* row = &file.pixels[rowLength * static_cast<unsigned>(y)];
            for (int x = 0; x < std::min(w, file.width); x++) {
                unsigned pixel = 0;
                const unsigned p16 = row[2 * x % rowLength] | row[(2 * x + 1) % rowLength] << 8;
                switch (bits) {
                    case 1:
                        pixel = row[x / 8] >> (7 - x % 8) & 1;
                        break;
                    case 4:
                        pixel = x % 2 ? row[x / 2] & 15 : row[x / 2] >> 4;
                        break;
                    case 8:
                        pixel = row[x];
                        break;
                    case 16:
                        pixel =
                            widened16(p16, 0x1F) | widened16(p16, 0x3E0) << 8 | widened16(p16, 0x7C00) << 16;
                        break;
                    case 24:
                        pixel = row[3 * x] | row[3 * x + 1] << 8 | row[3 * x + 2] << 16;
                        break;
                    default:
                        pixel = row[4 * x] | row[4 * x + 1] << 8 | row[4 * x + 2] << 16;
                        break;
                }
                expected.setPixel(left + x, bottom - y, pixel);
            }
        }
        if (topDown) {  // the whole area is turned over, rows of old content included
            const TestImage before(expected);
            for (int y = 0; y < h; y++)
                for (int x = 0; x < w; x++)
                    expected.setPixel(left + x, bottom - y, before.pixel(left + x, bottom - (h - 1 - y)));
            file.height = -file.height;
        }
        ASSERT_EQ(load(file.build(), image), 0);
        ASSERT_EQ(image.bytes(), expected.bytes())
            << bits << "-bit file " << file.width << "x" << file.height << " into " << image.describe();
    }
}

TEST(BmpLoad, ChannelsAreTakenByTheirMasks) {
    struct Case {
        const char* what;
        unsigned bits;
        std::vector<std::uint32_t> masks;  // red, green, blue
        std::uint32_t pixel;
        unsigned expected;  // 0xRRGGBB
    };
    const Case cases[] = {
        {"5-6-5", 16, {0xF800, 0x7E0, 0x1F}, 0xFFFF, 0xFFFFFF},
        {"5-6-5 green", 16, {0xF800, 0x7E0, 0x1F}, 0x0420, 0x008600},
        {"3 bits are only shifted up", 16, {0xE000, 0, 0}, 0xE000, 0xE00000},
        {"4-4-4", 16, {0xF00, 0xF0, 0xF}, 0x0ABC, 0xAABBCC},
        {"an empty mask is black", 16, {0, 0, 0}, 0xFFFF, 0},
        {"the upper half of a 16-bit mask does not count", 16, {0xFFFF0000, 0x7E0, 0x1F}, 0xFFFF, 0x00FFFF},
        {"8-8-8 in another order", 32, {0xFF, 0xFF00, 0xFF0000}, 0x00112233, 0x332211},
        {"10-10-10", 32, {0x3FF00000, 0xFFC00, 0x3FF}, 0x3FF00000 | 0x200 << 10 | 3, 0xFF8000},
        {"a 4-bit field is not shifted up", 32, {0xF, 0, 0}, 0xFFFFFFFF, 0x0F0000},
        {"the topmost field", 32, {0xFF000000, 0, 0}, 0x80000000, 0x800000},
        {"a field of all bits", 32, {0xFFFFFFFF, 0, 0}, 0x12345678, 0x120000},
    };
    for (const Case& c : cases) {
        for (const unsigned headerSize : {40u, 56u, 108u}) {
            BmpBuilder file;
            file.width = file.height = 1, file.bits = c.bits, file.compression = BI_BITFIELDS;
            file.headerSize = headerSize, file.masks = c.masks;
            for (int i = 0; i < 4; i++) file.pixels.push_back(static_cast<std::uint8_t>(c.pixel >> 8 * i));
            file.gap = 60;  // a buffer's first 100 bytes must be readable
            TestImage image(1, 1, 24);
            ASSERT_EQ(load(file.build(), image), 0) << c.what;
            EXPECT_EQ(image.pixel(0, 0), c.expected) << c.what << ", header of " << headerSize;
        }
    }
}

TEST(BmpLoad, RowsThatNoMemoryHoldsAreRefusedInFilesAndBuffers) {
    for (const int width : {0x3F000044, 0x7FFFFFFF}) {
        const BmpBuilder wide{.width = width, .bits = 24, .pixels = Bytes(400, 0x33)};
        const TempFile file(".bmp");
        writeFile(file.name(), wide.build());
        const GuardedBytes buffer(wide.build());
        TestImage image(4, 3, 24);
        EXPECT_EQ(loadbmp(file.name(), image), ERR_MEMORY) << width;
        EXPECT_EQ(loadbmpfrombuffer(buffer.data(), image), ERR_MEMORY) << width;
    }
}

TEST(BmpLoad, FileAndImageMustAgree) {
    struct Case {
        unsigned fileBits, compression, imageBits;
        int code;
    };
    const Case cases[] = {
        {4, BI_RGB, 1, ERR_BITS},
        {4, BI_RGB, 24, ERR_BITS},
        {1, BI_RGB, 8, ERR_BITS},
        {24, BI_RGB, 8, ERR_BITS},
        {16, BI_RGB, 8, ERR_BITS},
        {32, BI_RGB, 16, ERR_BITS},
        {2, BI_RGB, 8, ERR_BITS},
        {0, BI_RGB, 24, ERR_BITS},
        {64, BI_RGB, 24, ERR_BITS},
        {4, BI_RLE8, 8, ERR_UNSUPPORTED},
        {8, BI_RLE4, 8, ERR_UNSUPPORTED},
        {8, BI_BITFIELDS, 8, ERR_UNSUPPORTED},
        {16, BI_RLE8, 24, ERR_UNSUPPORTED},
        {24, 4, 24, ERR_UNSUPPORTED},
        {32, 5, 24, ERR_UNSUPPORTED},
        {1, 12, 1, ERR_UNSUPPORTED},
        {1, 0xFFFFFFFC, 1, ERR_UNSUPPORTED},
        {1, BI_BITFIELDS, 1, 0},
        {24, BI_RLE4, 24, 0},
        {1, BI_RLE8, 1, 0},
    };
    for (const Case& c : cases) {
        BmpBuilder file;
        file.bits = c.fileBits, file.compression = c.compression;
        file.pixels.resize(400, 0x33);
        TestImage image(4, 3, c.imageBits);
        EXPECT_EQ(load(file.build(), image), c.code)
            << c.fileBits << " bits, compression " << c.compression << " into " << c.imageBits;
    }
}

TEST(BmpLoad, RleRows) {
    struct Case {
        const char* what;
        unsigned bits;
        int code;
        Bytes data;
        const char* pixels;  // of a 5x2 image, bottom row first; what keeps its old value is a dot
    };
    constexpr int bad = ERR_UNSUPPORTED;
    const Case cases[] = {
        {"runs, an absolute run", 8, 0, {2, 7, 0, 3, 1, 2, 3, 0, 0, 0, 5, 9, 0, 0}, "7712399999"},
        {"short rows keep the rest", 8, 0, {1, 7, 0, 0, 0, 0, 0, 1}, "7........."},
        {"end of bitmap", 8, 0, {5, 7, 0, 1, 5, 8, 0, 0}, "77777....."},
        {"end of data", 8, 0, {5, 7, 0, 0, 3, 8}, "77777888.."},
        {"absolute run cut off", 8, 0, {1, 7, 0, 4, 1, 2}, "7........."},
        {"last pad byte missing", 8, 0, {2, 7, 0, 3, 1, 2, 3}, "77123....."},
        {"a delta", 8, bad, {2, 7, 0, 2, 1, 1}, "77........"},
        {"a run too long", 8, bad, {6, 7, 0, 0}, "77777....."},
        {"a second run too long", 8, bad, {3, 7, 255, 8, 0, 0}, "77788....."},
        {"an absolute run too long", 8, bad, {0, 6, 1, 2, 3, 4, 5, 6, 0, 0}, "12345....."},
        {"nibbles alternate", 4, 0, {5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0}, "1212134567"},
        {"nibbles padded", 4, 0, {0, 4, 0x12, 0x34, 0, 0, 0, 5, 0x12, 0x34, 0x50, 0, 0, 1}, "1234.12345"},
        {"nibbles too many", 4, bad, {6, 0x12, 0, 0}, "12121....."},
        {"nibbles' absolute run too long", 4, bad, {0, 6, 0x12, 0x34, 0x56, 0}, "12345....."},
    };
    for (const Case& c : cases) {
        BmpBuilder file;
        file.width = 5, file.height = 2, file.bits = c.bits;
        file.compression = c.bits == 8 ? BI_RLE8 : BI_RLE4;
        file.gap = 60;
        file.pixels = c.data;
        // Into a narrower area as well: what does not fit is dropped, the image's other columns stay.
        for (const bool narrow : {false, true}) {
            TestImage image(5, 2, 8);
            std::memset(image->bits, '.' - '0', image->header->biSizeImage);
            if (narrow) setimagearea(image, 1, 0, 2, 1);
            EXPECT_EQ(load(file.build(), image), c.code) << c.what;
            std::string got, want;
            for (int i = 0; i < 10; i++) {
                const int x = i % 5, row = i / 5 * 5;
                got += static_cast<char>('0' + image.pixel(x, 1 - i / 5));
                want += !narrow ? c.pixels[i] : x == 1 || x == 2 ? c.pixels[row + x - 1] : '.';
            }
            EXPECT_EQ(got, want) << c.what << (narrow ? ", narrow" : "");
        }
    }
}

TEST(BmpLoad, ATruncatedFileLeavesTheRowsBeyondAsTheyWere) {
    BmpBuilder file;
    file.width = 7, file.height = 6, file.bits = 24;
    file.pixels.resize(24 * 6, 0x11);
    const Bytes whole = file.build();
    for (std::size_t length = 100; length <= whole.size(); length++) {
        TestImage image(7, 6, 24);
        std::memset(image->bits, 0xEE, image->header->biSizeImage);
        ASSERT_EQ(load(Bytes(whole.begin(), whole.begin() + static_cast<long>(length)), image), 0);
        const std::size_t rows = (length - 54 + 3) / 24;  // the last one may lack its padding
        for (int y = 0; y < 6; y++)
            EXPECT_EQ(image.pixel(3, 5 - y), y < int(rows) ? 0x111111u : 0xEEEEEEu) << length << " row " << y;
    }
}

TEST(BmpLoad, ColoursFollowTheFile) {
    BmpBuilder file;
    file.width = file.height = 2, file.bits = 8, file.colours = 4, file.palette = grey4;
    file.palette[3] = 99;  // a reserved byte, which is not taken over
    file.gap = 60;
    file.pixels.resize(8);
    TestImage image(2, 2, 8, true);
    ASSERT_EQ(load(file.build(), image), 0);
    EXPECT_EQ(image->palcolors, 4);
    EXPECT_EQ(image->imgkind, 0u);  // greys, but not the ramp of 8 bits
    EXPECT_EQ(image->palette[3].rgbRed, 255);
    EXPECT_EQ(image->palette[0].rgbReserved, 0);

    // A 1-bit image has room for two entries, whatever the file holds; its pixels follow at once.
    file.bits = 1, file.colours = 4;
    TestImage one(2, 2, 1);
    ASSERT_EQ(load(file.build(), one), 0);
    EXPECT_EQ(one->palcolors, 2);
    EXPECT_EQ(one->palette[1].rgbRed, 85);
    EXPECT_EQ(one.pixel(0, 0), 0u);

    // True colour files have no palette; a greyscale mark is cleared.
    file.bits = 24, file.palette.clear(), file.pixels.resize(16);
    TestImage true24(2, 2, 24);
    true24->palcolors = 5, true24->imgkind = 3;
    ASSERT_EQ(load(file.build(), true24), 0);
    EXPECT_EQ(true24->palcolors, 0);
    EXPECT_EQ(true24->imgkind, 2u);
}

TEST(BmpInfo, HeadersAreNormalised) {
    struct Case {
        const char* what;
        BmpBuilder file;
        DWORD size, compression, used, imageSize;
        LONG width, height;
    };
    BmpBuilder core{.width = 300, .height = 20, .bits = 4, .headerSize = 12, .gap = 100};
    BmpBuilder topDown{.width = 5, .height = -7, .bits = 8, .colours = 17, .gap = 100};
    BmpBuilder v5{.width = 5, .height = 7, .bits = 16, .headerSize = 124};
    for (const Case& c :
         {Case{"core", core, 40, 0, 16, 152 * 20, 300, 20}, Case{"top-down", topDown, 40, 0, 17, 56, 5, 7},
          Case{"version 5", v5, 124, 0, 0, 84, 5, 7}}) {
        const GuardedBytes source(c.file.build());
        BITMAPINFOHEADER info;
        ASSERT_EQ(bmpinfofrombuffer(source.data(), &info), 0) << c.what;
        EXPECT_EQ(std::make_tuple(info.biSize, info.biCompression, info.biClrUsed, info.biClrImportant,
                                  info.biSizeImage, info.biWidth, info.biHeight),
                  std::make_tuple(c.size, c.compression, c.used, c.used, c.imageSize, c.width, c.height))
            << c.what;
    }
}

TEST(BmpInfo, SaysWhatIsWrong) {
    BITMAPINFOHEADER info;
    RGBQUAD palette[256];
    TestImage image(4, 3, 24);
    const Bytes good = BmpBuilder{.gap = 100}.build();
    Bytes other = good;
    other[1] = 'N';
    EXPECT_EQ(load(other, image), ERR_FORMAT);
    const GuardedBytes shortBuffer(Bytes(good.begin(), good.begin() + 99));
    EXPECT_EQ(bmpinfofrombuffer(shortBuffer.data(), &info), ERR_SOURCE_BUFFER);
    EXPECT_EQ(loadbmpfrombuffer(shortBuffer.data(), image), ERR_SOURCE_BUFFER);
    EXPECT_EQ(loadbmppalettefrombuffer(shortBuffer.data(), palette), ERR_SOURCE_BUFFER);
    EXPECT_EQ(bmpinfofrombuffer(nullptr, &info), ERR_OPEN);

    const TempFile file(".bmp");
    EXPECT_EQ(bmpinfo(file.name(), &info), ERR_OPEN);
    EXPECT_EQ(loadbmpW(file.wideName(), image), ERR_OPEN);
    EXPECT_EQ(loadbmppalette(file.name(), palette), ERR_OPEN);
    for (const std::size_t length : {0, 1, 13, 14, 53}) {
        writeFile(file.name(), Bytes(good.begin(), good.begin() + static_cast<long>(length)));
        EXPECT_EQ(bmpinfoW(file.wideName(), &info), ERR_FORMAT) << length;
        EXPECT_EQ(loadbmp(file.name(), image), ERR_FORMAT) << length;
        EXPECT_EQ(loadbmppaletteW(file.wideName(), palette), ERR_FORMAT) << length;
    }
    image->right = 4;
    EXPECT_EQ(loadbmpW(file.wideName(), image), ERR_RANGE);
}

TEST(BmpPalette, HoldsAtMost256Entries) {
    struct Case {
        const char* what;
        BmpBuilder file;
        int count;
    };
    BmpBuilder core{.bits = 4, .headerSize = 12, .palette = Bytes(16 * 3, 7), .gap = 100};
    core.palette[3] = 1, core.palette[4] = 2, core.palette[5] = 3;
    BmpBuilder four{.bits = 8, .colours = 4, .palette = grey4, .gap = 100};
    BmpBuilder many{.bits = 8, .colours = 300, .palette = Bytes(1200, 7)};
    BmpBuilder hostile{.bits = 8, .colours = 0xFFFFFFFF, .palette = Bytes(1200, 7)};
    BmpBuilder true24{.bits = 24, .colours = 4, .palette = grey4, .gap = 100};
    for (const Case& c : {Case{"core", core, 16}, Case{"four", four, 4}, Case{"many", many, 256},
                          Case{"hostile", hostile, 256}, Case{"24 bits", true24, 0}}) {
        RGBQUAD palette[257];
        std::memset(palette, 0x55, sizeof palette);
        const GuardedBytes source(c.file.build());
        EXPECT_EQ(loadbmppalettefrombuffer(source.data(), palette), c.count) << c.what;
        EXPECT_EQ(palette[c.count].rgbBlue, 0x55) << c.what;
        if (c.count > 0) {
            EXPECT_EQ(palette[c.count - 1].rgbReserved, 0) << c.what;
        }
        if (c.file.headerSize == 12) {
            EXPECT_EQ(std::make_tuple(palette[1].rgbBlue, palette[1].rgbGreen, palette[1].rgbRed),
                      std::make_tuple(1, 2, 3));
        }
    }
}

TEST(BmpLoad, AFailedAllocationLeaksNothingAndReleasesTheLock) {
    BmpBuilder file{.bits = 8, .colours = 4, .palette = grey4, .gap = 100, .pixels = Bytes(12, 2)};
    const TempFile source(".bmp");
    writeFile(source.name(), file.build());
    TestImage image(4, 3, 8);
    const int steps = failEveryAllocation([&] { return loadbmp(source.name(), image); },
                                          [&](int n, int code, const MemoryWatch& watch) {
                                              EXPECT_EQ(watch.live(), 0);
                                              // Pixels without a palette are still a picture.
                                              EXPECT_EQ(code, n == 1 ? ERR_MEMORY : 0);
                                              if (n == 2) {
                                                  EXPECT_EQ(image->palcolors, 0);
                                              }
                                          });
    EXPECT_EQ(steps, 2);
    EXPECT_EQ(image->palcolors, 4);
}

TEST(BmpLoad, DamagedFilesGiveAResultCode) {
    Random random(11);
    std::vector<Bytes> seeds;
    for (const unsigned bits : {1u, 4u, 8u, 16u, 24u, 32u})
        seeds.push_back(
            BmpBuilder{.width = 19, .height = 9, .bits = bits, .gap = 20, .pixels = Bytes(800, 3)}.build());
    for (const unsigned compression : {1u, 2u})
        seeds.push_back(BmpBuilder{
            .width = 19,
            .height = 9,
            .bits = compression == 1 ? 8u : 4u,
            .compression = compression,
            .pixels = {9, 1, 0, 4, 1, 2, 3, 4, 0, 0, 19, 7, 0, 0, 0, 1},
        }
                            .build());
    for (const char* folder : {"bmp", "bmp/questionable", "bmp/bad"})
        for (const std::string& name : corpusFiles(folder, ".bmp")) seeds.push_back(readFile(name));

    std::array<TestImage, 3> images = {TestImage(64, 70, 1), TestImage(130, 70, 8), TestImage(130, 70, 24)};
    for (int round = 0; round < 10000; round++) {
        Bytes file = seeds[random.below(static_cast<unsigned>(seeds.size()))];
        for (unsigned n = random.below(8); n > 0; n--) {
            const std::size_t at = random.below(random.oneIn(2) ? 60 : static_cast<unsigned>(file.size()));
            if (at < file.size())
                file[at] = random.oneIn(3) ? std::array<std::uint8_t, 4>{0, 1, 0x7F, 0xFF}[random.below(4)]
                                           : random.byte();
        }
        if (random.oneIn(3)) file.resize(100 + random.below(static_cast<unsigned>(file.size())));
        const GuardedBytes source(file);
        BITMAPINFOHEADER info;
        RGBQUAD palette[256];
        bmpinfofrombuffer(source.data(), &info);
        const int colours = loadbmppalettefrombuffer(source.data(), palette);
        ASSERT_LE(colours, 256);
        const MemoryWatch watch;
        for (TestImage& image : images) {
            const int code = loadbmpfrombuffer(source.data(), image);
            ASSERT_TRUE(code == 0 || code == ERR_FORMAT || code == ERR_BITS || code == ERR_UNSUPPORTED ||
                        code == ERR_MEMORY || code == ERR_SOURCE_BUFFER)
                << code;
            ASSERT_EQ(watch.live(), 0);
        }
    }
}
