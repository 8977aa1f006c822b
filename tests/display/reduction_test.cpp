// Devices with few colours: what is seen is what the colour functions make of the visible part.
#include <gtest/gtest.h>

#include "core/display.h"
#include "tests/display/canvas.h"
#include "tests/support/memory_watch.h"

namespace {

using namespace test;

constexpr SIZE clientSize = {40, 30};

// The picture's rectangle as a picture of its own.
void crop(const TestImage& from, int left, int top, TestImage& to) {
    for (int y = 0; y < to.height(); y++)
        for (int x = 0; x < to.width(); x++) to.setPixel(x, y, from.pixel(left + x, top + y));
    std::copy_n(from.image.palette, from.image.palcolors, to->palette);
    to->palcolors = from.image.palcolors;
}

int reduceAs(int mode, int depth, imgdes* from, imgdes* to) {
    if (depth < 8) return mode == 2 ? colorscatter(from, to, 0) : colordither(from, to, 0);
    switch (mode) {
        case 0:
            return convertrgbtopalex(256, from, to, 2);
        case 2:
            return colorscatter(from, to, 1);
        default:
            return colordither(from, to, 1);
    }
}

// The part of a picture that is seen when its point (x, y) lies at client point (screenX, screenY).
struct Seen {
    int left, top, right, bottom;
    bool empty() const { return left >= right || top >= bottom; }
};
Seen seenOf(const TestImage& image, int x, int y, int screenX, int screenY) {
    return {std::max(0, x - screenX), std::max(0, y - screenY),
            std::min<int>(image.width(), x - screenX + clientSize.cx),
            std::min<int>(image.height(), y - screenY + clientSize.cy)};
}

class Reduction : public testing::Test {
 protected:
    int view(int depth, int x, int y, imgdes* image, int screenX, int screenY, int mode) {
        surface_.clear();
        return orn32::viewOnDepth({window_, surface_.dc(), &palette_}, depth, {x, y}, image,
                                  {screenX, screenY}, mode);
    }
    Window window_{Window::sizeOnly, clientSize};
    Surface surface_{60, 50};
    MadePalette palette_;
};

TEST_F(Reduction, OfTheVisiblePartOnlyIsWhatTheDeviceShows) {
    Random random(21);
    for (int round = 0; round < 400; round++) {
        const int depths[] = {1, 2, 4, 8}, depth = depths[round % 4];
        const unsigned bits = depth == 8 || random.oneIn(2) ? 24 : 8;
        TestImage image(1 + random.below(70), 1 + random.below(60), bits, random.oneIn(2));
        image.randomise(random);
        image.randomisePalette(random);
        image.randomArea(random);
        const int x = random.between(-50, 60), y = random.between(-40, 50);
        const int screenX = random.between(-20, 50), screenY = random.between(-20, 40);
        const int mode = random.between(-1, 4);
        const imgdes record = image.image;

        const int code = view(depth, x, y, image, screenX, screenY, mode);
        Pixels want = blank(60, 50);
        const Seen seen = seenOf(image, x, y, screenX, screenY);
        if (!seen.empty()) {
            const auto width = static_cast<unsigned>(seen.right - seen.left),
                       height = static_cast<unsigned>(seen.bottom - seen.top);
            TestImage part(width, height, bits), reduced(width, height, 8);
            crop(image, seen.left, seen.top, part);
            ASSERT_EQ(reduceAs(mode, depth, part, reduced), 0);
            want = picturedOn(want, clientSize, reduced, 0, 0, std::max(0, screenX - x),
                              std::max(0, screenY - y));
        }
        const std::string what = image.describe() + " mode " + std::to_string(mode) + " on " +
                                 std::to_string(depth) + " bits, " + std::to_string(x) + "," +
                                 std::to_string(y) + " at " + std::to_string(screenX) + "," +
                                 std::to_string(screenY);
        ASSERT_EQ(code, 0) << what;
        ASSERT_EQ(difference(surface_.pixels(), want), "") << what;
        ASSERT_EQ(palette_.handle == nullptr, seen.empty()) << what;
        ASSERT_EQ(std::memcmp(&record, &image.image, sizeof record), 0) << what;
    }
}

TEST_F(Reduction, HappensOnlyWhereTheDeviceHasTooFewColours) {
    struct Case {
        unsigned bits;
        int colours, depth;
        bool reduced;
    };
    constexpr Case cases[] = {
        {24, 0, 1, true},   {24, 0, 4, true},   {24, 0, 8, true},   {24, 0, 15, false}, {24, 0, 16, false},
        {24, 0, 24, false}, {24, 0, 32, false}, {8, 256, 4, true},  {8, 17, 4, true},   {8, 16, 4, false},
        {8, 16, 1, false},  {8, 1, 4, false},   {8, 256, 8, false}, {8, 256, 5, false}, {8, 256, 24, false},
        {1, 2, 1, false},   {1, 2, 8, false},   {24, 16, 4, false}, {24, 16, 8, true},  {24, 17, 4, true},
    };
    for (const Case& c : cases) {
        TestImage image(20, 10, c.bits);
        image->palcolors = 0;  // a palette in the record alone: a 24-bit image's block has no room for one
        RGBQUAD colours[256] = {};
        for (int i = 0; i < 256; i++) colours[i].rgbRed = static_cast<BYTE>(i);
        if (c.bits == 24) image->palette = colours;
        image->palcolors = c.colours;
        ASSERT_EQ(view(c.depth, 0, 0, image, 0, 0, 1), 0);
        // A reduced picture comes with the colours of its reduction.
        const int reducedTo = c.depth >= 8 ? 256 : 16;
        EXPECT_EQ(static_cast<int>(palette_.colours().size()), c.reduced ? reducedTo : c.colours)
            << c.bits << " bits, " << c.colours << " colours, depth " << c.depth;
    }
}

TEST_F(Reduction, ThatTheColourFunctionsRefuseIsReportedAndNothingDrawn) {
    TestImage image(20, 20, 24);
    image->header->biCompression = BI_BITFIELDS;
    EXPECT_EQ(view(8, 0, 0, image, 0, 0, 1), ERR_COMPRESSED);
    image->header->biCompression = BI_RGB;
    TestImage grey(20, 20, 16);
    EXPECT_EQ(view(4, 0, 0, grey, 0, 0, 0), ERR_BITS);
    EXPECT_EQ(palette_.handle, nullptr);
    EXPECT_EQ(difference(surface_.pixels(), blank(60, 50)), "");
}

TEST_F(Reduction, NeedsNoMemoryWhereNothingIsVisible) {
    TestImage image(20, 20, 24);
    MemoryWatch watch;
    EXPECT_EQ(view(8, 20, 0, image, 0, 0, 0), 0);
    EXPECT_EQ(view(8, 0, 0, image, 40, 0, 0), 0);
    window_.resize({0, 0});
    EXPECT_EQ(view(4, 0, 0, image, 0, 0, 0), 0);
    EXPECT_EQ(watch.allocations(), 0);
    EXPECT_EQ(palette_.handle, nullptr);
}

}  // namespace
