// The viewer's window: what it shows, how it scrolls, steps, plays and copies.
#include <cstring>

#include "tests/support/files.h"
#include "tests/viewer/running_viewer.h"

using namespace test;
using enum ornview::Command;

TEST_F(Viewer, ShowsASmallPictureInTheMiddleAndItsFactsInTheTitle) {
    TestImage image(101, 60, 8);
    start(add("small one.bmp", image));
    expectTitle("small one.bmp - 101 x 60, 8 bits, BMP");
    expectShown(image);
    SetWindowPos(window_, nullptr, 0, 0, 300, 250, SWP_NOMOVE | SWP_NOZORDER);
    expectShown(image);
}

TEST_F(Viewer, ScrollsByKeysWheelAndBarsAndStopsAtTheEdges) {
    TestImage image(600, 500, 24);
    start(add("large.bmp", image), L"--at 7,9");
    const SIZE client = clientSizeOf(window_);
    const int lastX = 600 - client.cx, lastY = 500 - client.cy;
    expectShown(image, 7, 9);
    const struct {
        UINT message;
        WPARAM parameter;
        int x, y;
    } steps[] = {{WM_KEYDOWN, VK_DOWN, 7, 41},
                 {WM_KEYDOWN, VK_RIGHT, 39, 41},
                 {WM_MOUSEWHEEL, MAKEWPARAM(0, WORD(-40)), 39, 73},
                 {WM_MOUSEWHEEL, MAKEWPARAM(MK_SHIFT, 40), 7, 73},
                 {WM_KEYDOWN, VK_LEFT, 0, 73},
                 {WM_KEYDOWN, VK_END, 0, lastY},
                 {WM_HSCROLL, SB_BOTTOM, lastX, lastY},
                 {WM_VSCROLL, SB_LINEDOWN, lastX, lastY},
                 {WM_KEYDOWN, VK_HOME, lastX, 0}};
    for (const auto& step : steps) {
        send(step.message, step.parameter);
        expectShown(image, step.x, step.y);
    }
    // What a larger window has room for comes back into view.
    SetWindowPos(window_, nullptr, 0, 0, 700, 460, SWP_NOMOVE | SWP_NOZORDER);
    expectShown(image);
}

TEST_F(Viewer, StepsThroughThePicturesOfTheFolder) {
    TestImage first(30, 20, 1), second(30, 20, 1);
    add("one.bmp", first);
    writeFile(add("three.png").string(), {'n', 'o', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'});
    writeFile(add("notes.txt").string(), {'x'});
    start(add("Two.bmp", second));
    expectTitle("Two.bmp - 30 x 20, 1 bit, BMP");
    command(nextFile);
    expectTitle("one.bmp - 30 x 20, 1 bit, BMP");
    command(previousFile);
    command(previousFile);
    expectTitle("three.png");  // it says why in the window, and goes on
    command(previousFile);
    expectTitle("one.bmp - 30 x 20, 1 bit, BMP");
    expectShown(first);
}

// Three frames, the second of them a smaller one in the screen's corner.
struct Animation {
    Animation(const std::filesystem::path& file, Random& random, int delay) {
        for (TestImage& frame : frames) {
            frame.randomise(random);
            frame.randomisePalette(random);
            GifGlobalInfo global = {};
            global.screenwidth = 40, global.screenheight = 30;
            GifFrameInfo info = {};
            info.haslocalpalette = 1, info.transcolor = -1, info.delay = delay;
            EXPECT_EQ(savegifframeW(file.c_str(), frame, &global, &info, GIF_BITS(8)), 0);
        }
        for (const TestImage* frame : {&frames[0], &frames[1]})
            second.draw(frame->width(), frame->height(),
                        [&](int x, int y) { return colourOf(frame->image, x, y); });
    }
    TestImage frames[3] = {{40, 30, 8}, {20, 10, 8}, {40, 30, 8}};
    TestImage second = {40, 30, 24};  // as it is meant to be seen
};

TEST_F(Viewer, StepsThroughTheFramesOfAGif) {
    const Animation animation(add("frames.gif"), random_, 0);
    start(add("frames.gif"), L"--frame 1");
    expectTitle("frames.gif - 40 x 30, 8 bits, GIF, frame 1 of 3");
    command(nextFrame);
    expectTitle("frames.gif - 40 x 30, 8 bits, GIF, frame 2 of 3");
    expectShown(animation.second);
    command(previousFrame);
    command(previousFrame);
    expectTitle("frames.gif - 40 x 30, 8 bits, GIF, frame 3 of 3");
    expectShown(animation.frames[2]);
}

TEST_F(Viewer, PlaysAnAnimationUntilItIsToldToStop) {
    const Animation animation(add("playing.gif"), random_, 20);
    start(add("playing.gif"));
    const auto moves = [&] {
        const std::string before = titleOf(window_);
        return soon([&] { return titleOf(window_) != before; });
    };
    const auto stays = [&] {
        const std::string before = titleOf(window_);
        Sleep(1000);
        return titleOf(window_) == before;
    };
    EXPECT_TRUE(moves() && moves() && moves() && moves());
    command(playFrames);
    EXPECT_TRUE(stays());
    command(playFrames);
    EXPECT_TRUE(moves() && moves());
    command(nextFrame);
    EXPECT_TRUE(stays());
}

TEST_F(Viewer, CopiesThePictureAsAPackedDibAndPastesIt) {
    TestImage image(33, 20, 8), other(50, 40, 24);
    start(add("copied.bmp", image));
    command(copyPicture);
    Sleep(200);
    ASSERT_TRUE(OpenClipboard(nullptr));
    const HGLOBAL block = GetClipboardData(CF_DIB);
    ASSERT_TRUE(block);
    imgdes copy;
    EXPECT_EQ(setupimgdes(static_cast<BITMAPINFOHEADER*>(GlobalLock(block)), &copy), 0);
    for (int y = 0; y < 20; y++)
        for (int x = 0; x < 33; x++) ASSERT_EQ(colourOf(copy, x, y), colourOf(image.image, x, y));
    GlobalUnlock(block);
    CloseClipboard();

    add("other.bmp", other);
    command(nextFile);
    expectShown(other);
    command(pastePicture);
    expectTitle("clipboard - 33 x 20, 8 bits");
    expectShown(image);
}

TEST_F(Viewer, SaysInItsWindowWhyAFileCannotBeShown) {
    writeFile(add("bad.bmp").string(), {'B', 'M', 1, 2, 3});
    start(add("bad.bmp"));
    expectTitle("bad.bmp");
    const auto shown = shownBy(window_).colours;
    EXPECT_GT(static_cast<std::ptrdiff_t>(shown.size()) - std::count(shown.begin(), shown.end(), ground),
              300);  // some letters
}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
