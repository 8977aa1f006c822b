#include "tests/viewer/running_viewer.h"

#include <cstdlib>

namespace test {

std::string narrow(const std::wstring& words) {
    return {words.begin(), words.end()};
}

std::string titleOf(HWND window) {
    wchar_t title[300];
    return narrow(std::wstring(title, static_cast<std::size_t>(GetWindowTextW(window, title, 300))));
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

void Dialog::expectWords(const std::string& words) const {
    std::string all = titleOf(window_);
    for (HWND child = GetWindow(window_, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        wchar_t text[500] = L"";
        SendMessageW(child, WM_GETTEXT, 500, reinterpret_cast<LPARAM>(text));
        all += "\n" + narrow(text);
    }
    EXPECT_NE(all.find(words), std::string::npos) << all;
}

void Dialog::answer(int button) const {
    PostMessageW(window_, WM_COMMAND, static_cast<WPARAM>(button), 0);
    EXPECT_TRUE(soon([&] { return !IsWindow(window_); }));
}

void Dialog::answer(const std::filesystem::path& fileName) const {
    constexpr int fileNameField = 0x480, fileNameBox = 0x47C;  // edt1, cmb13
    HWND field = GetDlgItem(window_, fileNameField);
    if (!field) field = GetDlgItem(window_, fileNameBox);
    ASSERT_TRUE(field);
    SendMessageW(field, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(fileName.c_str()));
    PostMessageW(window_, WM_COMMAND, IDOK, 0);
}

Viewer::Viewer()
    : folder_(std::filesystem::temp_directory_path() / ("ornview-test-" + std::to_string(GetTickCount()))) {
    std::filesystem::create_directory(folder_);
}

Viewer::~Viewer() {
    if (process_.hProcess) {
        PostMessageW(window_, WM_CLOSE, 0, 0);
        if (WaitForSingleObject(process_.hProcess, 5000) != WAIT_OBJECT_0)
            TerminateProcess(process_.hProcess, 99);
        DWORD status = 98;
        GetExitCodeProcess(process_.hProcess, &status);
        EXPECT_EQ(status, 0u);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    std::filesystem::remove_all(folder_);
}

std::filesystem::path Viewer::add(const char* name, TestImage& picture) {
    picture.randomise(random_);
    picture.randomisePalette(random_);
    EXPECT_EQ(savebmpW(add(name).c_str(), picture, 0), 0);
    return add(name);
}

void Viewer::start(const std::filesystem::path& file, const std::wstring& options) {
    std::wstring line = L"\"" + std::wstring(_wgetenv(L"ORNVIEW")) + L"\" --size 420,360 " + options;
    if (!file.empty()) line += L" \"" + file.wstring() + L"\"";
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    ASSERT_TRUE(
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &how, &process_));
    EXPECT_TRUE(soon([&] {
        window_ = FindWindowW(L"ornview", nullptr);
        return IsWindowVisible(window_);
    }));
}

void Viewer::expectTitle(const std::string& want) {
    const std::string whole = want + (want.empty() ? "" : " - ") + "ornview";
    soon([&] { return titleOf(window_) == whole; });
    EXPECT_EQ(titleOf(window_), whole);
}

void Viewer::expectShown(const TestImage& image, int x, int y) {
    const SIZE client = clientSizeOf(window_);
    Pixels empty = blank(client.cx, client.cy);
    std::fill(empty.colours.begin(), empty.colours.end(), ground);
    const int left = std::max<int>(0, (client.cx - image.width()) / 2),
              top = std::max<int>(0, (client.cy - image.height()) / 2);
    const Pixels want = picturedOn(empty, client, image, x, y, left, top);
    std::string wrong;
    soon([&] { return (wrong = difference(shownBy(window_), want)).empty(); });
    EXPECT_EQ(wrong, "") << "from " << x << "," << y;
}

}  // namespace test
