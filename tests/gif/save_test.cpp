#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/failing_writes.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// Image data as the writer must put it: batches of 32766 codes, each packed into whole 16-bit words (the last
// one into bytes) and cut into blocks of 254.
Bytes plainImageData(unsigned codeSize, const Bytes& pixels) {
    const std::vector<unsigned> codes = literalCodes(codeSize, pixels);
    const Bytes all = packed(codeSize, codes);
    Bytes out = {static_cast<std::uint8_t>(codeSize)};
    std::size_t from = 0;
    for (std::size_t n = 32766; n <= codes.size(); n += 32766) {
        const std::size_t to = n * (codeSize + 1) / 16 * 2;
        append(out, subBlocks(slice(all, from, to - from), 254));
        out.pop_back();
        from = to;
    }
    return out + subBlocks(slice(all, from, all.size() - from), 254);
}

Bytes streamPixels(const TestImage& image, bool interlaced, unsigned mask) {
    Bytes pixels;
    for (const int y : rowOrder(image.areaHeight(), interlaced))
        for (int x = 0; x < image.areaWidth(); x++)
            pixels.push_back(static_cast<std::uint8_t>(image.areaPixel(x, y) & mask));
    return pixels;
}

Bytes table(const TestImage& image, unsigned bits) {
    Bytes out;
    for (unsigned i = 0; i < 1u << bits; i++) {
        const RGBQUAD q = i < image.image.header->biClrUsed ? image.image.palette[i] : RGBQUAD{};
        append(out, {q.rgbRed, q.rgbGreen, q.rgbBlue});
    }
    return out;
}

unsigned bitsWith(unsigned flags, const TestImage& image) {
    const unsigned asked = flags >> 16 & 15;
    return image.bitsPerPixel() == 1 ? 1 : flags & 4 ? 4 : asked ? std::min(asked, 8u) : 8;
}

// A still picture as savegifex must write it.
Bytes plainStill(const TestImage& image, unsigned flags = 0, int transcolor = -1, const char* version = "87a",
                 const std::string& comment = "") {
    const unsigned bits = bitsWith(flags, image), codeSize = std::max(bits, 2u);
    GifBuilder gif;
    gif.header(image.areaWidth(), image.areaHeight(), 0x80 | (bits - 1) << 4 | (bits - 1),
               flags & 2 ? "89a" : version);
    gif.raw(table(image, bits));
    if (flags & 2) gif.control(transcolor >= 0, 0, std::max(transcolor, 0));
    gif.descriptor(image.areaWidth(), image.areaHeight(), flags & 1 ? 0x40 : 0);
    gif.raw(plainImageData(codeSize, streamPixels(image, flags & 1, (1u << codeSize) - 1)));
    if (!comment.empty()) gif.comment(comment);
    return gif.trailer().bytes;
}

// The file that a save to memory has made. Its block may be larger.
Bytes inBuffer(void* buffer, std::size_t size) {
    return slice(taken(buffer), 0, size);
}

void expectStill(TestImage& image, unsigned flags, int transcolor) {
    const Bytes want = plainStill(image, flags, transcolor);
    void* buffer = nullptr;
    ASSERT_EQ(savegiftobufferex(&buffer, image, flags, transcolor), 0);
    EXPECT_TRUE(inBuffer(buffer, want.size()) == want) << image.describe() << " flags " << flags;
    const TempFile file(".gif");
    ASSERT_EQ(transcolor & 1 ? savegifex(file.name(), image, flags, transcolor)
                             : savegifexW(file.wideName(), image, flags, transcolor),
              0);
    EXPECT_TRUE(readFile(file.name()) == want) << image.describe() << " flags " << flags;
}

int temporaryFiles() {
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
        found += entry.path().filename().string().starts_with("NEW");
    return found;
}

struct Records {
    GifGlobalInfo global = {};
    GifFrameInfo frame = {};
    Records() {
        global.screenwidth = 0x10203, global.screenheight = 400;
        global.hasglobalpalette = 1, global.bkgndcolor = 3, global.loopcount = 500;
        frame.left = 0x10007, frame.top = 300, frame.delay = 777;
        frame.disposal = 2, frame.userinput = 9, frame.transcolor = 6;
    }
    int save(const TempFile& file, imgdes* image, UINT flags = 0) {
        return savegifframe(file.name(), image, &global, &frame, flags);
    }
};

// The frame as savegifframe must write it, without the trailer.
Bytes plainFrame(const TestImage& image, const Records& r) {
    GifBuilder gif;
    const bool transparent = r.frame.transcolor >= 0 && r.frame.transcolor < 256,
               local = r.frame.haslocalpalette;
    gif.control((r.frame.disposal & 7) << 2 | (r.frame.userinput ? 2 : 0) | transparent, r.frame.delay,
                transparent ? r.frame.transcolor : 0);
    gif.descriptor(image.areaWidth(), image.areaHeight(), local ? 0x87 : 0, r.frame.left, r.frame.top);
    if (local) gif.raw(table(image, 8));
    return gif.raw(plainImageData(8, streamPixels(image, false, 255))).bytes;
}

}  // namespace

TEST(GifSave, WritesTheseBytesForATinyPicture) {
    TestImage image(3, 1, 1);
    image.setPixel(1, 0, 1);
    const TempFile file(".gif");
    ASSERT_EQ(savegif(file.name(), image), 0);
    // Codes of 3 bits: clear 4, 0, 1, clear 4, 0, end 5.
    EXPECT_EQ(readFile(file.name()),
              (Bytes{'G', 'I',  'F', '8', '7', 'a', 3, 0, 1, 0, 0x80, 0, 0, 0,    0,    0,    255, 255,
                     255, 0x2C, 0,   0,   0,   0,   3, 0, 1, 0, 0,    2, 3, 0x44, 0x88, 0x02, 0,   0x3B}));
}

TEST(GifSave, WritesTheOptionsOfEveryKindOfArea) {
    Random random(1);
    for (int round = 0; round < 800; round++) {
        TestImage image(random, 90, 40, random.oneIn(3) ? 1 : 8);
        image.randomisePalette(random);
        const unsigned flags = random.below(8) | (random.oneIn(2) ? GIF_BITS(random.below(16)) : 0);
        image->palcolors = random.between(1, 1 << bitsWith(flags, image));
        expectStill(image, flags, random.between(-1, 255));
    }
    TestImage image(4, 4, 8);
    image->header->biClrUsed = 16;  // as if the rows began behind the sixteenth entry: the others are black
    image->palcolors = 16;
    expectStill(image, 0, -1);
}

// 254 pixels and a clear code make 255 codes of 9 bits; 128 of those and 126 more codes fill a batch of
// 32766. Where it ends with the last pixel, the end code follows alone.
TEST(GifSave, LargePicturesComeInBatches) {
    Random random(2);
    constexpr unsigned batch = 128 * 254 + 125;
    const unsigned sizes[][3] = {{300, 260, 8}, {1000, 90, 1},     {254, 129, 8},
                                 {batch, 1, 8}, {batch - 1, 1, 8}, {batch - 2, 1, 8}};
    for (const auto& [width, height, bits] : sizes) {
        TestImage image(width, height, bits);
        image.randomise(random);
        image->palcolors = 2;
        for (const unsigned flags : {0u, 1u, unsigned{GIF_BITS(5)}}) expectStill(image, flags, -1);
    }
}

TEST(GifSave, RefusesWhatItCannotWriteAndLeavesNoFile) {
    const struct {
        unsigned bits;
        int colours;
        unsigned right, flags;
        int transcolor, code;
    } cases[] = {{8, 256, 3, 2, 300, ERR_ARGUMENT}, {8, 256, 3, 2, -2, ERR_ARGUMENT},
                 {24, 0, 3, 2, 300, ERR_ARGUMENT},  {24, 0, 3, 0, 300, ERR_BITS},
                 {16, 0, 3, 0, 0, ERR_BITS},        {8, 17, 3, 4, 0, ERR_RANGE},
                 {8, 17, 3, 0x40000, 0, ERR_RANGE}, {8, 0, 3, 0, 0, ERR_ARGUMENT},
                 {1, 3, 3, 0, 0, ERR_RANGE},        {1, 2, 4, 0, 0, ERR_RANGE}};
    const TempFile file(".gif");
    for (const auto& c : cases) {
        TestImage image(4, 4, c.bits);
        image->palcolors = c.colours;
        image->right = c.right;
        EXPECT_EQ(savegifex(file.name(), image, c.flags, c.transcolor), c.code)
            << c.bits << " bits, " << c.colours << " colours, flags " << c.flags;
    }
    EXPECT_EQ(savegifex(file.name(), nullptr, 0, 0), ERR_RANGE);
    TestImage image(4, 4, 1);
    Records r;
    EXPECT_EQ(savegifframe(file.name(), image, nullptr, &r.frame, 0), ERR_ARGUMENT);
    r.global.hasglobalpalette = 0;
    EXPECT_EQ(r.save(file, image), ERR_ARGUMENT);
    r.global.hasglobalpalette = 1;
    r.frame.transcolor = 256;
    EXPECT_EQ(r.save(file, image, 2), ERR_ARGUMENT);
    EXPECT_FALSE(file.exists());
    EXPECT_EQ(r.save(file, image), 0) << "not asked for, not written";
    EXPECT_EQ(readFile(file.name())[13 + 6 + 19 + 3], 2 << 2 | 2);
}

TEST(GifFrames, AFileIsMadeAndThenGrowsFrameByFrame) {
    Random random(4);
    const TempFile file(".gif");
    Bytes want;
    for (int k = 0; k < 5; k++) {
        TestImage image(random, 30, 20, 8);
        image.randomisePalette(random);
        Records r;
        r.frame.haslocalpalette = k > 0;
        r.frame.delay = k * 1000, r.frame.disposal = k + 5;
        r.frame.userinput = k & 1, r.frame.transcolor = k * 100 - 1;
        if (k == 0)
            want = GifBuilder().header(0x203, 400, 0xF7, "89a", 3).raw(table(image, 8)).loop(500).bytes;
        append(want, plainFrame(image, r));
        ASSERT_EQ(k & 1 ? savegifframeW(file.wideName(), image, &r.global, &r.frame, 0) : r.save(file, image),
                  0);
        ASSERT_EQ(readFile(file.name()), want + Bytes{';'}) << "frame " << k;
        if (k > 0) continue;
        void* buffer = nullptr;
        ASSERT_EQ(savegifframetobuffer(&buffer, image, &r.global, &r.frame, 0), 0);
        EXPECT_EQ(inBuffer(buffer, want.size() + 1), want + Bytes{';'}) << "a file of one frame";
    }
    EXPECT_EQ(temporaryFiles(), 0);
}

TEST(GifFrames, TheNewFrameTakesThePlaceOfTheTrailerAndWhatFollowsIt) {
    TestImage image(9, 9, 8);
    Records r;
    const Bytes frame = plainFrame(image, r), body = GifBuilder().header(9, 9, 0xF7).table(8).bytes;
    const struct {
        const char* what;
        Bytes start, end;
        std::size_t kept;  // of the end
    } cases[] = {
        {"trailer last", body, {1, 2, ';'}, 2},
        {"trailer, then bytes", body, {1, 2, ';', 5, 5, 5}, 2},
        {"fifteenth last byte", body, Bytes{1, ';'} + Bytes(14, 5), 1},
        {"sixteenth last byte is not looked at", body, Bytes{';'} + Bytes(15, 5), 16},
        {"none", body, {5, 5}, 2},
        {"two, of which the last counts", body, {';', 1, ';', 1}, 2},
        {"a tiny file", {}, {1, 2, ';', 5}, 2},
        {"a tiny file without", {}, {5, 5}, 2},
    };
    for (const auto& c : cases) {
        const TempFile file(".gif");
        writeFile(file.name(), c.start + c.end);
        ASSERT_EQ(r.save(file, image), 0) << c.what;
        ASSERT_EQ(readFile(file.name()), c.start + slice(c.end, 0, c.kept) + frame + Bytes{';'}) << c.what;
    }
}

TEST(GifComment, IsWrittenByTheNextSaveThatSucceedsAndTheVersionStays) {
    TestImage image(20, 20, 8), true24(3, 3, 24);
    const TempFile file(".gif");
    const std::string text(600, 'k');
    const auto expectSaved = [&](const char* version, const std::string& comment, const char* what) {
        EXPECT_EQ(savegif(file.name(), image), 0);
        EXPECT_EQ(readFile(file.name()), plainStill(image, 0, -1, version, comment)) << what;
    };
    expectSaved("87a", "", "none set");
    setgifcomment(89, text.c_str());
    EXPECT_EQ(savegif(file.name(), true24), ERR_BITS);
    EXPECT_EQ(savegif("no such folder/x.gif", image), ERR_CREATE);
    for (const unsigned room : {0u, 1000u}) {
        const FullDisk disk(room);
        EXPECT_EQ(savegif(file.name(), image), ERR_WRITE) << room;
    }
    expectSaved("89a", text, "after saves that failed");
    expectSaved("89a", "", "used up");
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
        setgifcomment(89, none);
        expectSaved("89a", "", "none, version 89");
    }
    setgifcomment(87, "x");
    expectSaved("87a", "", "one, version 87");
    setgifcomment(89, "x");
    setgifcomment(0, "y");
    expectSaved("87a", "", "taken back");
}
