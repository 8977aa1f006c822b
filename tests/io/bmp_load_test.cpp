#include <gtest/gtest.h>

#include <array>
#include <tuple>
#include <utility>

#include "orn32.h"
#include "tests/support/bmp_builder.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

int load(const Bytes& file, imgdes* image) {
    return loadbmpfrombuffer(GuardedBytes(file).data(), image);
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

// A pixel of a file's row as an image has it.
unsigned imagePixel(const std::uint8_t* row, int x, unsigned bits) {
    if (bits < 8) return row[x * bits / 8] >> (8 - bits - x * bits % 8) & ((1 << bits) - 1);
    const std::uint8_t* p = row + x * (bits / 8);
    if (bits == 8) return *p;
    if (bits >= 24) return p[0] | p[1] << 8 | p[2] << 16;
    const unsigned pixel = p[0] | p[1] << 8;
    return widened16(pixel, 0x1F) | widened16(pixel, 0x3E0) << 8 | widened16(pixel, 0x7C00) << 16;
}

}  // namespace

TEST(BmpLoad, FileRowsFillTheAreaFromItsBottomLeft) {
    Random random(7);
    for (int round = 0; round < 3000; round++) {
        const unsigned bits = std::array{1u, 8u, 24u, 4u, 16u, 32u}[random.below(6)];
        BmpBuilder file{.width = random.between(1, 40), .height = random.between(1, 12), .bits = bits};
        file.gap = 100 + random.below(5);
        const unsigned rowLength = (file.width * bits + 31) / 32 * 4;
        file.pixels = random.bytes(rowLength * file.height);
        TestImage image(random, 40, 12, bits == 4 ? 8 : bits > 8 ? 24 : bits), expected(image);
        const int h = image.areaHeight();
        expected.draw(file.width, h, [&](int x, int y) {
            const int fileRow = h - 1 - y;
            return fileRow < file.height ? imagePixel(&file.pixels[rowLength * fileRow], x, bits)
                                         : image.areaPixel(x, y);
        });
        if (random.oneIn(3)) {  // the whole area is turned over, rows of old content included
            const TestImage before(expected);
            expected.draw(image.areaWidth(), h, [&](int x, int y) { return before.areaPixel(x, h - 1 - y); });
            file.height = -file.height;
        }
        ASSERT_EQ(load(file.build(), image), 0);
        ASSERT_EQ(image.bytes(), expected.bytes())
            << bits << "-bit file " << file.width << "x" << file.height << " into " << image.describe();
    }
}

TEST(BmpLoad, ChannelsAreTakenByTheirMasks) {
    const struct {
        const char* what;
        unsigned bits;
        std::vector<std::uint32_t> masks;  // red, green, blue
        std::uint32_t pixel;
        unsigned expected;  // 0xRRGGBB
    } cases[] = {
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
    for (const auto& c : cases)
        for (const unsigned headerSize : {40u, 56u, 108u}) {
            BmpBuilder file{.width = 1,
                            .height = 1,
                            .bits = c.bits,
                            .compression = BI_BITFIELDS,
                            .headerSize = headerSize,
                            .masks = c.masks,
                            .gap = 60};
            for (int i = 0; i < 4; i++) file.pixels.push_back(static_cast<std::uint8_t>(c.pixel >> 8 * i));
            TestImage image(1, 1, 24);
            ASSERT_EQ(load(file.build(), image), 0) << c.what;
            EXPECT_EQ(image.pixel(0, 0), c.expected) << c.what << ", header of " << headerSize;
        }
}

TEST(BmpLoad, FileAndImageMustAgree) {
    const TempFile onDisk(".bmp");
    const auto expect = [&](int width, unsigned bits, unsigned compression, unsigned imageBits, int code) {
        BmpBuilder file{.width = width, .bits = bits, .compression = compression};
        file.pixels.resize(400, 0x33);
        writeFile(onDisk.name(), file.build());
        TestImage image(4, 3, imageBits);
        for (const int have : {load(file.build(), image), loadbmp(onDisk.name(), image)})
            EXPECT_EQ(have, code) << width << " pixels of " << bits << " bits, compression " << compression
                                  << " into " << imageBits;
    };
    for (const auto& [fileBits, imageBits] :
         {std::pair{4, 1}, {4, 24}, {1, 8}, {24, 8}, {16, 8}, {32, 16}, {2, 8}, {0, 24}, {64, 24}})
        expect(4, fileBits, BI_RGB, imageBits, ERR_BITS);
    const unsigned unsupported[][3] = {{4, 1, 8},   {8, 2, 8},   {8, 3, 8},  {16, 1, 24},
                                       {24, 4, 24}, {32, 5, 24}, {1, 12, 1}, {1, 0xFFFFFFFC, 1}};
    for (const auto& [fileBits, compression, imageBits] : unsupported)
        expect(4, fileBits, compression, imageBits, ERR_UNSUPPORTED);
    for (const auto& [bits, compression] : {std::pair{1, BI_BITFIELDS}, {24, BI_RLE4}, {1, BI_RLE8}})
        expect(4, bits, compression, bits, 0);
    expect(-4, 8, BI_RLE8, 8, ERR_UNSUPPORTED);
    for (const int width : {0x3F000044, 0x7FFFFFFF}) expect(width, 24, BI_RGB, 24, ERR_MEMORY);
}

TEST(BmpLoad, RleRows) {
    constexpr int bad = ERR_UNSUPPORTED;
    const struct {
        const char* what;
        unsigned bits;
        int code;
        Bytes data;
        const char* pixels;  // of a 5x2 image, bottom row first; what keeps its old value is a dot
    } cases[] = {
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
    for (const auto& c : cases) {
        const BmpBuilder file{.width = 5,
                              .height = 2,
                              .bits = c.bits,
                              .compression = DWORD(c.bits == 8 ? BI_RLE8 : BI_RLE4),
                              .gap = 60,
                              .pixels = c.data};
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
    const Bytes whole = BmpBuilder{.width = 7, .height = 6, .pixels = Bytes(24 * 6, 0x11)}.build();
    for (std::size_t length = 100; length <= whole.size(); length++) {
        TestImage image(7, 6, 24);
        std::memset(image->bits, 0xEE, image->header->biSizeImage);
        ASSERT_EQ(load(slice(whole, 0, length), image), 0);
        const int rows = static_cast<int>(length - 54 + 3) / 24;  // the last one may lack its padding
        for (int y = 0; y < 6; y++)
            EXPECT_EQ(image.pixel(3, 5 - y), y < rows ? 0x111111u : 0xEEEEEEu) << length << " row " << y;
    }
}

TEST(BmpLoad, ColoursFollowTheFile) {
    BmpBuilder file{
        .width = 2, .height = 2, .bits = 8, .colours = 4, .palette = grey4, .gap = 60, .pixels = Bytes(8)};
    file.palette[3] = 99;  // a reserved byte, which is not taken over
    TestImage image(2, 2, 8, true), one(2, 2, 1), true24(2, 2, 24);
    ASSERT_EQ(load(file.build(), image), 0);
    EXPECT_EQ(image->palcolors, 4);
    EXPECT_EQ(image->imgkind, 0u);  // greys, but not the ramp of 8 bits
    EXPECT_EQ(image->palette[3].rgbRed, 255);
    EXPECT_EQ(image.sectionColour(1), (Colour{85, 85, 85}));
    EXPECT_EQ(image->palette[0].rgbReserved, 0);

    // A record without a palette takes the pixels alone.
    RGBQUAD* const palette = std::exchange(image->palette, nullptr);
    file.pixels[4] = 3;
    image->palcolors = 77, image->imgkind = 1;
    EXPECT_EQ(load(file.build(), image), 0);
    EXPECT_EQ(image.pixel(0, 0), 3u);
    EXPECT_EQ(std::tuple(image->palcolors, image->imgkind, palette[1].rgbRed), std::tuple(77, 0u, 85));
    image->palette = palette;

    // A 1-bit image has room for two entries, whatever the file holds; its pixels follow at once.
    file.bits = 1;
    ASSERT_EQ(load(file.build(), one), 0);
    EXPECT_EQ(one->palcolors, 2);
    EXPECT_EQ(one->palette[1].rgbRed, 85);
    EXPECT_EQ(one.pixel(0, 0), 0u);

    // True colour files have no palette; a greyscale mark is cleared.
    file.bits = 24, file.palette.clear(), file.pixels.resize(16);
    true24->palcolors = 5, true24->imgkind = 3;
    ASSERT_EQ(load(file.build(), true24), 0);
    EXPECT_EQ(true24->palcolors, 0);
    EXPECT_EQ(true24->imgkind, 2u);
}

TEST(BmpLoad, PixelsWhosePaletteFindsNoMemoryAreStillAPicture) {
    const TempFile file(".bmp");
    writeFile(file.name(),
              BmpBuilder{.bits = 8, .colours = 4, .palette = grey4, .pixels = Bytes(12, 2)}.build());
    TestImage image(4, 3, 8);
    const auto check = [&](int n, int code, const MemoryWatch&) {
        EXPECT_EQ(code, n == 1 ? ERR_MEMORY : 0);
        EXPECT_TRUE(n == 1 || image->palcolors == 0);
    };
    EXPECT_EQ(failEveryAllocation([&] { return loadbmp(file.name(), image); }, check), 2);
    EXPECT_EQ(image->palcolors, 4);
}

TEST(BmpInfo, HeadersAreNormalised) {
    const BmpBuilder core{.width = 300, .height = 20, .bits = 4, .headerSize = 12, .gap = 100};
    const BmpBuilder topDown{.width = 5, .height = -7, .bits = 8, .colours = 17, .gap = 100};
    const BmpBuilder v5{.width = 5, .height = 7, .bits = 16, .headerSize = 124};
    using Fields = std::array<long, 7>;
    for (const auto& [file, want] : {std::pair{core, Fields{40, 0, 16, 16, 152 * 20, 300, 20}},
                                     {topDown, {40, 0, 17, 17, 56, 5, 7}},
                                     {v5, {124, 0, 0, 0, 84, 5, 7}}}) {
        BITMAPINFOHEADER i;
        ASSERT_EQ(bmpinfofrombuffer(GuardedBytes(file.build()).data(), &i), 0);
        EXPECT_EQ((Fields{long(i.biSize), long(i.biCompression), long(i.biClrUsed), long(i.biClrImportant),
                          long(i.biSizeImage), i.biWidth, i.biHeight}),
                  want);
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
    const GuardedBytes shortBuffer(slice(good, 0, 99));
    EXPECT_EQ(bmpinfofrombuffer(shortBuffer.data(), &info), ERR_SOURCE_BUFFER);
    EXPECT_EQ(loadbmpfrombuffer(shortBuffer.data(), image), ERR_SOURCE_BUFFER);
    EXPECT_EQ(loadbmppalettefrombuffer(shortBuffer.data(), palette), ERR_SOURCE_BUFFER);
    EXPECT_EQ(bmpinfofrombuffer(nullptr, &info), ERR_OPEN);

    const TempFile file(".bmp");
    const auto expectAll = [&](int code) {
        EXPECT_EQ(bmpinfo(file.name(), &info), code);
        EXPECT_EQ(loadbmpW(file.wideName(), image), code);
        EXPECT_EQ(loadbmppalette(file.name(), palette), code);
    };
    expectAll(ERR_OPEN);
    for (const std::size_t length : {0, 1, 13, 14, 53}) {
        SCOPED_TRACE(length);
        writeFile(file.name(), slice(good, 0, length));
        expectAll(ERR_FORMAT);
    }
    image->right = 4;
    EXPECT_EQ(loadbmp(file.name(), image), ERR_RANGE) << "the image is looked at first";
}

TEST(BmpPalette, HoldsAtMost256Entries) {
    const auto expect = [](const char* what, const BmpBuilder& file, int count, RGBQUAD second) {
        RGBQUAD palette[257];
        std::memset(palette, 0x55, sizeof palette);
        EXPECT_EQ(loadbmppalettefrombuffer(GuardedBytes(file.build()).data(), palette), count) << what;
        EXPECT_EQ(std::memcmp(&palette[1], &second, sizeof second), 0) << what;
        EXPECT_EQ(palette[count].rgbBlue, 0x55) << what;
        EXPECT_TRUE(count == 0 || palette[count - 1].rgbReserved == 0) << what;
    };
    BmpBuilder core{.bits = 4, .headerSize = 12, .palette = Bytes(16 * 3, 7), .gap = 100};
    core.palette[3] = 1, core.palette[4] = 2, core.palette[5] = 3;
    expect("core", core, 16, {1, 2, 3, 0});
    expect("four", {.bits = 8, .colours = 4, .palette = grey4, .gap = 100}, 4, {85, 85, 85, 0});
    expect("many", {.bits = 8, .colours = 300, .palette = Bytes(1200, 7)}, 256, {7, 7, 7, 0});
    expect("hostile", {.bits = 8, .colours = ~0u, .palette = Bytes(1200, 7)}, 256, {7, 7, 7, 0});
    expect("24 bits", {.bits = 24, .colours = 4, .palette = grey4, .gap = 100}, 0, {0x55, 0x55, 0x55, 0x55});
}
