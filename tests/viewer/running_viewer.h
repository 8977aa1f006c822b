// The viewer's program, run by a test and met as its user meets it: keys, commands and words in dialogs go
// in; title, screen and files say what came of them. Needs a display. The program is named by ORNVIEW.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "ornview/menu.h"
#include "tests/display/canvas.h"

namespace test {

std::string narrow(const std::wstring& words);
std::string titleOf(HWND window);

// A dialog of the viewer's, or of another dialog's: a box with a message, or one that asks for a file name.
class Dialog {
 public:
    explicit Dialog(HWND owner);  // waits for it
    Dialog(const Dialog&) = delete;
    Dialog& operator=(const Dialog&) = delete;

    operator HWND() const { return window_; }
    void expectWords(const std::string& words) const;  // stand somewhere in it
    void answer(int button) const;
    void answer(const std::filesystem::path& fileName) const;

 private:
    HWND window_ = nullptr;
};

// A test with a folder of files, and with the viewer, once it is started.
class Viewer : public testing::Test {
 protected:
    Viewer();
    ~Viewer() override;

    // A file that will be made, and one that is, of a picture of random pixels.
    std::filesystem::path add(const char* name) const { return folder_ / name; }
    std::filesystem::path add(const char* name, TestImage& picture);

    void start(const std::filesystem::path& file, const std::wstring& options = L"");
    void send(UINT message, WPARAM parameter) { SendMessageW(window_, message, parameter, 0); }
    void command(ornview::Command id) { send(WM_COMMAND, id); }
    void begin(ornview::Command id) { PostMessageW(window_, WM_COMMAND, id, 0); }  // one that asks something
    void expectTitle(const std::string& want);  // soon, and with the program's name behind it
    // The picture with its point (x, y) in the window's corner; a small one in the middle. Soon.
    void expectShown(const TestImage& image, int x = 0, int y = 0);

    Random random_{41};
    HWND window_ = nullptr;

 private:
    std::filesystem::path folder_;
    PROCESS_INFORMATION process_ = {};
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
