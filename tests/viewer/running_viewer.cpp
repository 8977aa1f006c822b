#include "tests/viewer/running_viewer.h"

#include <cstdlib>

namespace test {

std::string narrow(const std::wstring& words) {
    return {words.begin(), words.end()};
}

std::wstring titleOf(HWND window) {
    wchar_t title[300];
    return std::wstring(title, static_cast<std::size_t>(GetWindowTextW(window, title, 300)));
}

PictureFolder::PictureFolder() {
    wchar_t temporary[MAX_PATH];
    GetTempPathW(MAX_PATH, temporary);
    name_ = temporary + (L"ornview-test-" + std::to_wstring(GetTickCount()));
    CreateDirectoryW(name_.c_str(), nullptr);
}

PictureFolder::~PictureFolder() {
    for (const std::wstring& file : files_) DeleteFileW(file.c_str());
    RemoveDirectoryW(name_.c_str());
}

std::wstring PictureFolder::add(const wchar_t* name) {
    files_.push_back(name_ + L"\\" + name);
    return files_.back();
}

std::wstring PictureFolder::add(const wchar_t* name, TestImage& picture) {
    const std::wstring file = add(name);
    EXPECT_EQ(savebmpW(file.c_str(), picture, 0), 0);
    return file;
}

Dialog::Dialog(HWND owner) {
    soon([&] {
        HWND found = nullptr;
        do found = FindWindowExW(nullptr, found, L"#32770", nullptr);
        while (found && !(GetWindow(found, GW_OWNER) == owner && IsWindowVisible(found)));
        window_ = found;
        return found != nullptr;
    });
    EXPECT_TRUE(window_) << "no dialog has come";
}

std::string Dialog::words() const {
    std::wstring all = titleOf(window_);
    for (HWND child = GetWindow(window_, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        wchar_t words[500] = L"";
        SendMessageW(child, WM_GETTEXT, 500, reinterpret_cast<LPARAM>(words));
        all += std::wstring(L"\n") + words;
    }
    return narrow(all);
}

void Dialog::answer(int button) const {
    PostMessageW(window_, WM_COMMAND, static_cast<WPARAM>(button), 0);
    EXPECT_TRUE(soon([&] { return !IsWindow(window_); }));
}

void Dialog::answer(const std::wstring& fileName) const {
    constexpr int fileNameField = 0x480, fileNameBox = 0x47C;  // edt1, cmb13
    HWND field = GetDlgItem(window_, fileNameField);
    if (!field) field = GetDlgItem(window_, fileNameBox);
    ASSERT_TRUE(field);
    SendMessageW(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(fileName.c_str()));
    PostMessageW(window_, WM_COMMAND, IDOK, 0);
}

RunningViewer::RunningViewer(const std::wstring& arguments) {
    std::wstring line = L"\"" + std::wstring(_wgetenv(L"ORNVIEW")) + L"\" --size 420,360 " + arguments;
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                        &process_))
        return;
    soon([&] {
        window_ = FindWindowW(L"ornview", nullptr);
        return IsWindowVisible(window_);
    });
}

RunningViewer::~RunningViewer() {
    PostMessageW(window_, WM_CLOSE, 0, 0);
    if (WaitForSingleObject(process_.hProcess, 5000) != WAIT_OBJECT_0)
        TerminateProcess(process_.hProcess, 99);
    DWORD status = 98;
    GetExitCodeProcess(process_.hProcess, &status);
    EXPECT_EQ(status, 0u);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
}

void RunningViewer::expectTitle(const std::wstring& want) {
    soon([&] { return titleOf(window_) == want; });
    EXPECT_EQ(narrow(titleOf(window_)), narrow(want));
}

void RunningViewer::expectShown(const TestImage& image, int x, int y) {
    const SIZE client = clientSizeOf(window_);
    Pixels empty = blank(client.cx, client.cy);
    std::fill(empty.colours.begin(), empty.colours.end(), ground);
    const int left = std::max<int>(0, (client.cx - image.width()) / 2),
              top = std::max<int>(0, (client.cy - image.height()) / 2);
    const Pixels want = picturedOn(empty, client, image, x, y, left, top);
    std::string wrong;
    soon([&] {
        wrong = difference(shownBy(window_), want);
        return wrong.empty();
    });
    EXPECT_EQ(wrong, "") << "from " << x << "," << y;
}

}  // namespace test
