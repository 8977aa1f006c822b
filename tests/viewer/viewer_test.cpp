// The viewer's window: what it shows, how it scrolls, steps, plays and copies.
#include <cstring>

#include "tests/support/files.h"
#include "tests/viewer/running_viewer.h"

namespace {

using namespace test;
using namespace ornview;

class Viewer : public testing::Test {
 protected:
    static std::wstring quoted(const std::wstring& file) { return L"\"" + file + L"\""; }
    std::wstring saved(TestImage& image, const wchar_t* name) { return folder_.add(name, image); }

    Random random_{41};
    PictureFolder folder_;
};

TEST_F(Viewer, ShowsASmallPictureInTheMiddleAndItsFactsInTheTitle) {
    TestImage image(101, 60, 8);
    image.randomise(random_);
    image.randomisePalette(random_);
    RunningViewer viewer(quoted(saved(image, L"small one.bmp")));
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"small one.bmp - 101 x 60, 8 bits, BMP - ornview");
    viewer.expectShown(image, 0, 0);
    SetWindowPos(viewer, nullptr, 0, 0, 300, 250, SWP_NOMOVE | SWP_NOZORDER);
    viewer.expectShown(image, 0, 0);
}

TEST_F(Viewer, ScrollsByKeysWheelAndBarsAndStopsAtTheEdges) {
    TestImage image(600, 500, 24);
    image.randomise(random_);
    RunningViewer viewer(L"--at 7,9 " + quoted(saved(image, L"large.bmp")));
    ASSERT_TRUE(viewer);
    const SIZE client = clientSizeOf(viewer);
    const int lastX = 600 - client.cx, lastY = 500 - client.cy;
    viewer.expectShown(image, 7, 9);
    viewer.press(VK_DOWN);
    viewer.expectShown(image, 7, 41);
    viewer.press(VK_RIGHT);
    viewer.expectShown(image, 39, 41);
    SendMessageW(viewer, WM_MOUSEWHEEL, MAKEWPARAM(0, WORD(-40)), 0);
    viewer.expectShown(image, 39, 73);
    SendMessageW(viewer, WM_MOUSEWHEEL, MAKEWPARAM(MK_SHIFT, 40), 0);
    viewer.expectShown(image, 7, 73);
    viewer.press(VK_LEFT);
    viewer.expectShown(image, 0, 73);
    viewer.press(VK_END);
    viewer.expectShown(image, 0, lastY);
    SendMessageW(viewer, WM_HSCROLL, SB_BOTTOM, 0);
    viewer.expectShown(image, lastX, lastY);
    SendMessageW(viewer, WM_VSCROLL, SB_LINEDOWN, 0);
    viewer.expectShown(image, lastX, lastY);
    viewer.press(VK_HOME);
    viewer.expectShown(image, lastX, 0);
    // What a larger window has room for comes back into view.
    SetWindowPos(viewer, nullptr, 0, 0, 700, 460, SWP_NOMOVE | SWP_NOZORDER);
    viewer.expectShown(image, 0, 0);
}

TEST_F(Viewer, StepsThroughThePicturesOfTheFolder) {
    TestImage image(30, 20, 1);
    image.randomise(random_);
    const std::wstring second = saved(image, L"Two.bmp");
    saved(image, L"one.bmp");
    writeFile(narrow(folder_.add(L"three.png")), {'n', 'o', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'});
    writeFile(narrow(folder_.add(L"notes.txt")), {'x'});
    RunningViewer viewer(quoted(second));
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"Two.bmp - 30 x 20, 1 bit, BMP - ornview");
    viewer.command(nextFile);
    viewer.expectTitle(L"one.bmp - 30 x 20, 1 bit, BMP - ornview");
    viewer.command(previousFile);
    viewer.command(previousFile);
    viewer.expectTitle(L"three.png - ornview");  // it says why in the window, and goes on
    viewer.command(previousFile);
    viewer.expectTitle(L"one.bmp - 30 x 20, 1 bit, BMP - ornview");
    viewer.expectShown(image, 0, 0);
}

// Three frames, the second of them a smaller one in the screen's corner.
class Animation {
 public:
    Animation(const std::wstring& file, Random& random, int delay) {
        for (TestImage& frame : frames) {
            frame.randomise(random);
            frame.randomisePalette(random);
            GifGlobalInfo global = {};
            global.screenwidth = 40;
            global.screenheight = 30;
            GifFrameInfo info = {};
            info.haslocalpalette = 1;
            info.transcolor = -1;
            info.delay = delay;
            EXPECT_EQ(savegifframeW(file.c_str(), frame, &global, &info, GIF_BITS(8)), 0);
        }
        for (const TestImage* frame : {&frames[0], &frames[1]})
            for (int y = 0; y < frame->height(); y++)
                for (int x = 0; x < frame->width(); x++) second.setPixel(x, y, colourOf(*frame, x, y));
    }
    TestImage frames[3] = {{40, 30, 8}, {20, 10, 8}, {40, 30, 8}};
    TestImage second = {40, 30, 24};  // as it is meant to be seen
};

TEST_F(Viewer, StepsThroughTheFramesOfAGif) {
    const std::wstring file = folder_.add(L"frames.gif");
    Animation animation(file, random_, 0);
    RunningViewer viewer(L"--frame 1 " + quoted(file));
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"frames.gif - 40 x 30, 8 bits, GIF, frame 1 of 3 - ornview");
    viewer.command(nextFrame);
    viewer.expectTitle(L"frames.gif - 40 x 30, 8 bits, GIF, frame 2 of 3 - ornview");
    viewer.expectShown(animation.second, 0, 0);
    viewer.command(previousFrame);
    viewer.command(previousFrame);
    viewer.expectTitle(L"frames.gif - 40 x 30, 8 bits, GIF, frame 3 of 3 - ornview");
    viewer.expectShown(animation.frames[2], 0, 0);
}

TEST_F(Viewer, PlaysAnAnimationUntilItIsToldToStop) {
    const std::wstring file = folder_.add(L"playing.gif");
    const Animation animation(file, random_, 20);
    RunningViewer viewer(quoted(file));
    ASSERT_TRUE(viewer);
    const auto moves = [&] {
        const std::wstring before = titleOf(viewer);
        return soon([&] { return titleOf(viewer) != before; });
    };
    const auto staysSoFor = [&](int milliseconds) {
        const std::wstring before = titleOf(viewer);
        Sleep(static_cast<DWORD>(milliseconds));
        return titleOf(viewer) == before;
    };
    EXPECT_TRUE(moves() && moves() && moves() && moves());
    viewer.command(playFrames);
    EXPECT_TRUE(staysSoFor(1000));
    viewer.command(playFrames);
    EXPECT_TRUE(moves() && moves());
    viewer.command(nextFrame);
    EXPECT_TRUE(staysSoFor(1000));
}

TEST_F(Viewer, CopiesThePictureAsAPackedDibAndPastesIt) {
    TestImage image(33, 20, 8);
    image.randomise(random_);
    image.randomisePalette(random_);
    RunningViewer viewer(quoted(saved(image, L"copied.bmp")));
    ASSERT_TRUE(viewer);
    viewer.command(copyPicture);
    Sleep(200);
    ASSERT_TRUE(OpenClipboard(nullptr));
    const HGLOBAL block = GetClipboardData(CF_DIB);
    ASSERT_TRUE(block);
    auto* const header = static_cast<BITMAPINFOHEADER*>(GlobalLock(block));
    imgdes copy;
    EXPECT_EQ(setupimgdes(header, &copy), 0);
    EXPECT_EQ(std::memcmp(copy.palette, image->palette, 1024), 0);
    for (int y = 0; y < 20; y++)
        EXPECT_EQ(std::memcmp(copy.bits + (19 - y) * copy.rowbytes, image.row(y), 33), 0) << y;
    GlobalUnlock(block);
    CloseClipboard();

    TestImage other(50, 40, 24);
    other.randomise(random_);
    saved(other, L"other.bmp");
    viewer.command(nextFile);
    viewer.expectShown(other, 0, 0);
    viewer.command(pastePicture);
    viewer.expectTitle(L"clipboard - 33 x 20, 8 bits - ornview");
    viewer.expectShown(image, 0, 0);
}

TEST_F(Viewer, SaysInItsWindowWhyAFileCannotBeShown) {
    const std::wstring file = folder_.add(L"bad.bmp");
    writeFile(narrow(file), {'B', 'M', 1, 2, 3});
    RunningViewer viewer(quoted(file));
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"bad.bmp - ornview");
    const Pixels shown = shownBy(viewer);
    std::size_t white = 0;
    for (const std::uint32_t colour : shown.colours) white += colour != ground;
    EXPECT_GT(white, 300u);  // some letters
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
