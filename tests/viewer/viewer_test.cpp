// The viewer as its user meets it: keys, wheel and commands go in, title and screen say what came of them.
// Needs a display. The viewer's program is named by ORNVIEW.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "examples/ornview/menu.h"
#include "tests/display/canvas.h"
#include "tests/support/files.h"

namespace {

using namespace test;
using namespace ornview;

constexpr std::uint32_t surroundings = 0x808080;

std::wstring titleOf(HWND window) {
    wchar_t title[300];
    return std::wstring(title, static_cast<std::size_t>(GetWindowTextW(window, title, 300)));
}

std::string narrow(const std::wstring& words) {
    return {words.begin(), words.end()};
}

// A folder of pictures that vanishes.
class Folder {
 public:
    Folder() {
        wchar_t temporary[MAX_PATH];
        GetTempPathW(MAX_PATH, temporary);
        name_ = temporary + (L"ornview-test-" + std::to_wstring(GetTickCount()));
        CreateDirectoryW(name_.c_str(), nullptr);
    }
    ~Folder() {
        for (const std::wstring& file : files_) DeleteFileW(file.c_str());
        RemoveDirectoryW(name_.c_str());
    }
    std::wstring add(const wchar_t* name) {
        files_.push_back(name_ + L"\\" + name);
        return files_.back();
    }

 private:
    std::wstring name_;
    std::vector<std::wstring> files_;
};

// The viewer, started with some arguments and ended with the test.
class RunningViewer {
 public:
    explicit RunningViewer(const std::wstring& arguments) {
        std::wstring line = L"\"" + std::wstring(_wgetenv(L"ORNVIEW")) + L"\" --size 420,360 " + arguments;
        STARTUPINFOW start = {};
        start.cb = sizeof start;
        if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                            &process_))
            return;
        for (int i = 0; i < 200 && !IsWindowVisible(window_); i++) {
            Sleep(50);
            window_ = FindWindowW(L"ornview", nullptr);
        }
    }
    ~RunningViewer() {
        PostMessageW(window_, WM_CLOSE, 0, 0);
        if (WaitForSingleObject(process_.hProcess, 5000) != WAIT_OBJECT_0)
            TerminateProcess(process_.hProcess, 99);
        GetExitCodeProcess(process_.hProcess, &status_);
        EXPECT_EQ(status_, 0u);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    RunningViewer(const RunningViewer&) = delete;
    RunningViewer& operator=(const RunningViewer&) = delete;

    operator HWND() const { return window_; }
    void command(Command id) { SendMessageW(window_, WM_COMMAND, id, 0); }
    void press(int key) { SendMessageW(window_, WM_KEYDOWN, static_cast<WPARAM>(key), 0); }
    void expectTitle(const std::wstring& want) { EXPECT_EQ(narrow(titleOf(window_)), narrow(want)); }

    // The picture with its point (x, y) in the window's corner; a small one in the middle.
    void expectShown(const TestImage& image, int x, int y) {
        const SIZE client = clientSizeOf(window_);
        Pixels ground = blank(client.cx, client.cy);
        std::fill(ground.colours.begin(), ground.colours.end(), surroundings);
        const int left = std::max<int>(0, (client.cx - image.width()) / 2),
                  top = std::max<int>(0, (client.cy - image.height()) / 2);
        const Pixels want = picturedOn(ground, client, image, x, y, left, top);
        std::string wrong;
        for (int i = 0; i < 100; i++) {  // the window system takes its time
            wrong = difference(shownBy(window_), want);
            if (wrong.empty()) return;
        }
        ADD_FAILURE() << "from " << x << "," << y << ": " << wrong;
    }

 private:
    PROCESS_INFORMATION process_ = {};
    HWND window_ = nullptr;
    DWORD status_ = 99;
};

class Viewer : public testing::Test {
 protected:
    std::wstring saved(TestImage& image, const wchar_t* name) {
        const std::wstring file = folder_.add(name);
        EXPECT_EQ(savebmpW(file.c_str(), image, 0), 0);
        return file;
    }
    static std::wstring quoted(const std::wstring& file) { return L"\"" + file + L"\""; }

    Random random_{41};
    Folder folder_;
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

TEST_F(Viewer, StepsThroughTheFramesOfAGif) {
    TestImage frames[] = {{40, 30, 8}, {20, 10, 8}, {40, 30, 8}};
    const std::wstring file = folder_.add(L"frames.gif");
    for (TestImage& frame : frames) {
        frame.randomise(random_);
        frame.randomisePalette(random_);
        GifGlobalInfo global = {};
        global.screenwidth = 40;
        global.screenheight = 30;
        GifFrameInfo info = {};
        info.haslocalpalette = 1;
        info.transcolor = -1;
        ASSERT_EQ(savegifframeW(file.c_str(), frame, &global, &info, GIF_BITS(8)), 0);
    }
    RunningViewer viewer(quoted(file));
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"frames.gif - 40 x 30, 8 bits, GIF, frame 1 of 3 - ornview");
    viewer.command(nextFrame);
    viewer.expectTitle(L"frames.gif - 20 x 10, 8 bits, GIF, frame 2 of 3 - ornview");
    viewer.expectShown(frames[1], 0, 0);
    viewer.command(previousFrame);
    viewer.command(previousFrame);
    viewer.expectTitle(L"frames.gif - 40 x 30, 8 bits, GIF, frame 3 of 3 - ornview");
    viewer.expectShown(frames[2], 0, 0);
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
    for (const std::uint32_t colour : shown.colours) white += colour != surroundings;
    EXPECT_GT(white, 300u);  // some letters
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
