// Drawing in a window of the real screen, and reading back what the screen shows. Needs a display, and says
// so where there is none; display depths are what screens_test.sh starts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "tests/display/canvas.h"

namespace {

using namespace test;

constexpr SIZE windowSize = {200, 150};

class Screen : public testing::Test {
 protected:
    // One window for all tests: without a window manager, showing one takes seconds.
    static void SetUpTestSuite() { shared_ = std::make_unique<Window>(Window::onScreen, windowSize); }
    static void TearDownTestSuite() { shared_.reset(); }

    void SetUp() override {
        if (!window_ && std::getenv("ORN32_SCREEN_DEPTH")) FAIL() << "the display shows no window";
        if (!window_) GTEST_SKIP() << "no display";
        dc_ = GetDC(window_);
        depth_ = GetDeviceCaps(dc_, BITSPIXEL);
        stateBefore_ = stateOf(dc_);
    }
    void TearDown() override {
        if (!dc_) return;
        EXPECT_EQ(stateOf(dc_), stateBefore_);
        ReleaseDC(window_, dc_);
    }
    // The window in one colour, as the screen shows it.
    Pixels cleared() {
        const HBRUSH brush = CreateSolidBrush(RGB(255, 255, 0));
        const RECT all = {0, 0, windowSize.cx, windowSize.cy};
        FillRect(dc_, &all, brush);
        DeleteObject(brush);
        return shownBy(window_);
    }
    int view(imgdes* image, int x, int y, int screenX, int screenY, int mode) {
        return viewimageex(window_, dc_, &palette_, x, y, image, screenX, screenY, mode);
    }

    static inline std::unique_ptr<Window> shared_;
    Window& window_ = *shared_;
    HDC dc_ = nullptr;
    MadePalette palette_;
    std::string stateBefore_;
    int depth_ = 0;
};

TEST_F(Screen, HasTheDepthThatItWasStartedWith) {
    const char* const depth = std::getenv("ORN32_SCREEN_DEPTH");
    if (!depth) GTEST_SKIP() << "started by hand";
    EXPECT_EQ(depth_, std::atoi(depth) == 24 ? 32 : std::atoi(depth));
}

// What a palette device has room for beside the system's colours.
constexpr unsigned ownColours = 236;

// A picture whose 24-bit pixels are of a few colours: a reduction to 256 can show them as they are.
void fewColours(TestImage& image, Random& random) {
    std::uint32_t colours[100];
    for (std::uint32_t& colour : colours) {
        const std::uint32_t five = random.next() & 0x1F1F1F;
        colour = five << 3 | (five >> 2 & 0x070707);
    }
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++) image.setPixel(x, y, colours[random.below(100)]);
}

TEST_F(Screen, ShowsThePictureAtEveryOffset) {
    Random random(31);
    for (int round = 0; round < 48; round++) {
        const unsigned bitCounts[] = {1, 8, 24};
        const unsigned bits = bitCounts[round % 3];
        TestImage image(50 + random.below(250), 50 + random.below(200), bits, round / 3 % 2);
        image.randomisePalette(random);
        updatebitmapcolortable(image);
        if (bits == 24)
            fewColours(image, random);
        else
            for (int y = 0; y < image.height(); y++)
                for (int x = 0; x < image.width(); x++)
                    image.setPixel(x, y, random.below(bits == 1 ? 2 : ownColours));
        if (bits == 8) image->palcolors = ownColours;
        const int x = random.between(-30, 150), y = random.between(-30, 100);
        const int screenX = random.between(-30, 150), screenY = random.between(-30, 100);
        const Pixels before = cleared();

        ASSERT_EQ(view(image, x, y, screenX, screenY, 0), 0);
        ASSERT_EQ(difference(shownBy(window_), picturedOn(before, windowSize, image, x, y, screenX, screenY)),
                  "")
            << image.describe() << " from " << x << "," << y << " at " << screenX << "," << screenY;
    }
}

TEST_F(Screen, OfAPaletteDeviceShowsTheReductionThatWasAskedFor) {
    if (depth_ != 8) GTEST_SKIP() << "this display has " << depth_ << " bits per pixel";
    Random random(32);
    for (const int mode : {0, 1, 2, 5}) {
        TestImage image(150, 120, 24), reduced(150, 120, 8);
        image.randomise(random);
        if (mode == 0) fewColours(image, random);
        const int code = mode == 0   ? convertrgbtopalex(256, image, reduced, 2)
                         : mode == 2 ? colorscatter(image, reduced, 1)
                                     : colordither(image, reduced, 1);
        ASSERT_EQ(code, 0);
        const Pixels before = cleared();
        ASSERT_EQ(view(image, 0, 0, 20, 10, mode), 0);
        EXPECT_EQ(difference(shownBy(window_), picturedOn(before, windowSize, reduced, 0, 0, 20, 10)), "")
            << "mode " << mode;
    }
}

TEST_F(Screen, KeepsItsGdiObjects) {
    TestImage section(20, 20, 24, true), packed(20, 20, 24), indices(20, 20, 8, true);
    imgdes* const images[] = {section, packed, indices};
    palette_.clear();
    const int before = gdiObjects();
    for (int i = 0; i < 150; i++) ASSERT_EQ(view(images[i % 3], 0, 0, 0, 0, i / 3 % 3), 0);
    palette_.clear();
    EXPECT_EQ(gdiObjects(), before);
}

}  // namespace
