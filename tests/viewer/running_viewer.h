// The viewer's program, run by a test and met as its user meets it: keys, commands and words in dialogs go
// in; title, screen and files say what came of them. Needs a display. The program is named by ORNVIEW.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ornview/menu.h"
#include "tests/display/canvas.h"

namespace test {

std::string narrow(const std::wstring& words);
std::wstring titleOf(HWND window);

// A folder of files that vanishes.
class PictureFolder {
 public:
    PictureFolder();
    ~PictureFolder();
    PictureFolder(const PictureFolder&) = delete;
    PictureFolder& operator=(const PictureFolder&) = delete;

    std::wstring add(const wchar_t* name);                      // a file that will be made
    std::wstring add(const wchar_t* name, TestImage& picture);  // a BMP file

 private:
    std::wstring name_;
    std::vector<std::wstring> files_;
};

// A dialog of the viewer's, or of another dialog's: a box with a message, or one that asks for a file name.
class Dialog {
 public:
    explicit Dialog(HWND owner);  // waits for it
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    operator HWND() const { return window_; }
    std::string words() const;  // all that stands in it
    void answer(int button) const;
    void answer(const std::wstring& fileName) const;

 private:
    HWND window_ = nullptr;
};

// The viewer, started with some arguments and ended with the test.
class RunningViewer {
 public:
    explicit RunningViewer(const std::wstring& arguments);
    ~RunningViewer();
    RunningViewer(const RunningViewer&) = delete;
    RunningViewer& operator=(const RunningViewer&) = delete;

    operator HWND() const { return window_; }
    void command(ornview::Command id) { SendMessageW(window_, WM_COMMAND, id, 0); }
    void begin(ornview::Command id) { PostMessageW(window_, WM_COMMAND, id, 0); }  // one that asks something
    void press(int key) { SendMessageW(window_, WM_KEYDOWN, static_cast<WPARAM>(key), 0); }
    void expectTitle(const std::wstring& want);  // soon
    // The picture with its point (x, y) in the window's corner; a small one in the middle. Soon.
    void expectShown(const TestImage& image, int x, int y);

 private:
    PROCESS_INFORMATION process_ = {};
    HWND window_ = nullptr;
};

constexpr std::uint32_t ground = 0x808080;  // around the picture

// Waits until it is so, some seconds at most.
template <class Condition>
bool soon(Condition condition) {
    for (int i = 0; i < 200; i++) {
        if (condition()) return true;
        Sleep(25);
    }
    return false;
}

}  // namespace test
