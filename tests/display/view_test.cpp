// Drawing into memory device contexts: every pixel, wherever the picture and the client area lie, in the
// colours that the device has.
#include <gtest/gtest.h>

#include <climits>

#include "core/display.h"
#include "tests/display/canvas.h"
#include "tests/support/memory_watch.h"

namespace {

using namespace test;

// Header, palette and rows: what drawing must leave as it was.
std::vector<std::uint8_t> bytesOf(const imgdes& image) {
    const auto* head = reinterpret_cast<const std::uint8_t*>(image.header);
    std::vector<std::uint8_t> bytes(head, head + sizeof *image.header + image.palcolors * sizeof(RGBQUAD));
    bytes.insert(bytes.end(), image.bits, image.bits + image.header->biSizeImage);
    return bytes;
}

std::vector<std::uint32_t> coloursOf(const imgdes& image) {
    std::vector<std::uint32_t> colours;
    for (int i = 0; i < image.palcolors; i++) colours.push_back(colourOf(image.palette[i]));
    return colours;
}

// An offset of any size; mostly one at which something is to be seen.
int anyOffset(Random& random, int picture) {
    const int special[] = {0, 0, picture - 1, picture, INT_MIN, INT_MAX, INT_MIN + 1, -picture};
    return random.oneIn(3) ? special[random.below(8)] : random.between(-picture, picture + 3);
}

int reduceAs(int mode, int depth, imgdes* from, imgdes* to) {
    if (mode == 0 && depth == 8) return convertrgbtopalex(256, from, to, 2);
    return mode == 2 ? colorscatter(from, to, depth == 8) : colordither(from, to, depth == 8);
}

struct Shown {
    Pixels pixels;
    std::vector<std::uint32_t> palette;
};

// What a device of few colours shows: the reduction of the visible part, and of nothing else.
Shown reduced(const Pixels& canvas, SIZE client, TestImage& image, std::int64_t x, std::int64_t y, int depth,
              int mode) {
    const int left = static_cast<int>(std::clamp<std::int64_t>(x, 0, image.width()));
    const int top = static_cast<int>(std::clamp<std::int64_t>(y, 0, image.height()));
    const int width = static_cast<int>(std::clamp<std::int64_t>(x + client.cx, 0, image.width())) - left;
    const int height = static_cast<int>(std::clamp<std::int64_t>(y + client.cy, 0, image.height())) - top;
    if (width <= 0 || height <= 0) return {canvas, {}};
    TestImage part(static_cast<unsigned>(width), static_cast<unsigned>(height), image.bitsPerPixel());
    TestImage few(static_cast<unsigned>(width), static_cast<unsigned>(height), 8);
    part.draw(width, height, [&](int px, int py) { return image.pixel(left + px, top + py); });
    std::copy_n(image->palette, image->palcolors, part->palette);
    EXPECT_EQ(reduceAs(mode, depth, part, few), 0);
    return {picturedOn(canvas, client, few, x - left, y - top, 0, 0), coloursOf(few.image)};
}

class View : public testing::Test {
 protected:
    // On a device of so many bits per pixel.
    int view(int depth, imgdes* image, int mode = 0) {
        surface_.clear();
        return orn32::viewOnDepth({window_, surface_.dc(), &palette_}, depth, {0, 0}, image, {0, 0}, mode);
    }
    void expectNothingDrawn() { EXPECT_EQ(difference(surface_.pixels(), blank(60, 50)), ""); }

    Random random_{11};
    Window window_{Window::sizeOnly, {40, 30}};
    Surface surface_{60, 50};
    MadePalette palette_;
};

TEST_F(View, ShowsThePictureAtEveryOffsetAndLeavesEverythingElse) {
    const std::string stateBefore = stateOf(surface_.dc());
    int objectsBefore = 0;
    for (int round = 0; round < 3000; round++) {
        palette_.clear();
        if (round == 100) objectsBefore = gdiObjects();  // the first rounds make what the process keeps
        const MemoryWatch watch;                         // packed pictures end where memory does
        const unsigned bitCounts[] = {1, 8, 24}, bits = bitCounts[round % 3];
        TestImage image(1 + random_.below(70), 1 + random_.below(50), bits, random_.oneIn(2));
        image.randomise(random_);
        image.randomisePalette(random_);
        updatebitmapcolortable(image);
        image.randomArea(random_);  // plays no part
        // 0: the device that there is, by viewimage or viewimageex.
        const int depths[] = {0, 0, 0, 0, 1, 4, 8, 24}, depth = depths[random_.below(8)];
        const bool reduces = depth && depth <= 8 && (bits == 24 || (bits == 8 && depth < 8));
        if (bits == 8 && !reduces) image->palcolors = random_.between(1, 256);
        window_.resize({random_.between(0, 50), random_.between(0, 40)});
        const SIZE client = clientSizeOf(window_);
        const int x = anyOffset(random_, image.width()), y = anyOffset(random_, image.height());
        const bool simple = depth == 0 && random_.oneIn(2);
        const int screenX = simple ? 0 : anyOffset(random_, client.cx);
        const int screenY = simple ? 0 : anyOffset(random_, client.cy);
        const int mode = random_.between(-1, 4);
        const auto bytes = bytesOf(image.image);
        const imgdes record = image.image;
        surface_.clear();

        HPALETTE* const palette = random_.oneIn(5) ? nullptr : &palette_;
        const int code =
            depth    ? orn32::viewOnDepth({window_, surface_.dc(), palette}, depth, {x, y}, image,
                                          {screenX, screenY}, mode)
            : simple ? viewimage(window_, surface_.dc(), palette, x, y, image)
                     : viewimageex(window_, surface_.dc(), palette, x, y, image, screenX, screenY, mode);
        const Shown want = reduces ? reduced(blank(60, 50), client, image, std::int64_t{x} - screenX,
                                             std::int64_t{y} - screenY, depth, mode)
                                   : Shown{picturedOn(blank(60, 50), client, image, x, y, screenX, screenY),
                                           coloursOf(image.image)};
        const std::string what = image.describe() + " from " + std::to_string(x) + "," + std::to_string(y) +
                                 " at " + std::to_string(screenX) + "," + std::to_string(screenY) +
                                 " in a client area of " + std::to_string(client.cx) + "x" +
                                 std::to_string(client.cy) + ", depth " + std::to_string(depth) + ", mode " +
                                 std::to_string(mode);
        ASSERT_EQ(code, 0) << what;
        ASSERT_EQ(difference(surface_.pixels(), want.pixels), "") << what;
        ASSERT_TRUE(!palette || palette_.colours() == want.palette) << what;
        ASSERT_EQ(stateOf(surface_.dc()), stateBefore) << what;
        ASSERT_TRUE(bytesOf(image.image) == bytes) << what;
        ASSERT_EQ(std::memcmp(&record, &image.image, sizeof record), 0) << what;
    }
    palette_.clear();
    EXPECT_EQ(gdiObjects(), objectsBefore);
}

TEST_F(View, ReducesOnlyWhereTheDeviceHasTooFewColours) {
    constexpr struct {
        unsigned bits;
        int colours, depth;
        bool reduced;
    } cases[] = {
        {24, 0, 1, true},   {24, 0, 4, true},   {24, 0, 8, true},   {24, 0, 15, false}, {24, 0, 16, false},
        {24, 0, 24, false}, {24, 0, 32, false}, {8, 256, 4, true},  {8, 17, 4, true},   {8, 16, 4, false},
        {8, 16, 1, false},  {8, 1, 4, false},   {8, 256, 8, false}, {8, 256, 5, false}, {8, 256, 24, false},
        {1, 2, 1, false},   {1, 2, 8, false},   {24, 16, 4, false}, {24, 16, 8, true},  {24, 17, 4, true},
    };
    for (const auto& c : cases) {
        TestImage image(20, 10, c.bits);
        image->palcolors = 0;  // a palette in the record alone: a 24-bit image's block has no room for one
        RGBQUAD colours[256] = {};
        for (int i = 0; i < 256; i++) colours[i].rgbRed = static_cast<BYTE>(i);
        if (c.bits == 24) image->palette = colours;
        image->palcolors = c.colours;
        ASSERT_EQ(view(c.depth, image, 1), 0);
        // A reduced picture comes with the colours of its reduction.
        EXPECT_EQ(static_cast<int>(palette_.colours().size()), !c.reduced    ? c.colours
                                                               : c.depth < 8 ? 16
                                                                             : 256)
            << c.bits << " bits, " << c.colours << " colours, depth " << c.depth;
    }
}

TEST_F(View, AWindowThatIsGoneGetsNothingButAPalette) {
    TestImage image(20, 20, 8);
    EXPECT_EQ(viewimage(reinterpret_cast<HWND>(0x12345), surface_.dc(), &palette_, 0, 0, image), 0);
    EXPECT_EQ(palette_.colours().size(), 256u);
    expectNothingDrawn();
}

TEST_F(View, AnImageWithoutColoursGetsTheGreyOnes) {
    for (const bool dibSection : {false, true}) {
        TestImage image(40, 30, 8, dibSection);
        image.randomise(random_);
        image.randomisePalette(random_);
        image->palcolors = 0;
        ASSERT_EQ(view(32, image), 0);
        EXPECT_EQ(isgrayscaleimage(image), 1);
        EXPECT_EQ(palette_.colours().size(), 256u);
        EXPECT_EQ(difference(surface_.pixels(), picturedOn(blank(60, 50), {40, 30}, image, 0, 0, 0, 0)), "");
    }
}

TEST_F(View, WhatCannotBeDrawnIsRefused) {
    TestImage image(20, 20, 8), colours(20, 20, 24), grey(20, 20, 16);
    colours->header->biCompression = BI_BITFIELDS;
    imgdes noHeader = image.image, noBits = noHeader, negative = noHeader, tooMany = noHeader,
           noPalette = noHeader;
    noHeader.header = nullptr;
    noBits.bits = nullptr;
    negative.palcolors = -1;
    tooMany.palcolors = 70000;
    noPalette.palette = nullptr;
    const struct {
        imgdes* image;
        int depth, code;
    } cases[] = {{nullptr, 32, ERR_RANGE},    {&noHeader, 32, ERR_RANGE}, {&noBits, 32, ERR_RANGE},
                 {&negative, 32, ERR_MEMORY}, {&tooMany, 32, ERR_MEMORY}, {colours, 8, ERR_COMPRESSED},
                 {grey, 4, ERR_BITS},         {&noPalette, 32, 0}};  // the last is drawn, without a palette
    for (const auto& c : cases) {
        surface_.clear();
        HPALETTE palette = reinterpret_cast<HPALETTE>(1);
        SCOPED_TRACE("case " + std::to_string(&c - cases));
        EXPECT_EQ(orn32::viewOnDepth({window_, surface_.dc(), &palette}, c.depth, {0, 0}, c.image, {0, 0}, 0),
                  c.code);
        EXPECT_EQ(palette, nullptr);
        if (c.code) expectNothingDrawn();
    }
}

}  // namespace
