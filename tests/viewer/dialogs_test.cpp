// What the viewer asks its user, and files dropped on its window.
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <cstring>

#include "ornview/viewer.h"
#include "tests/support/files.h"
#include "tests/viewer/running_viewer.h"

using namespace test;
using enum ornview::Command;

TEST_F(Viewer, OpensTheFileThatIsNamed) {
    TestImage picture(20, 10, 24);
    const auto file = add("first.bmp", picture);
    start({});
    expectTitle("");
    begin(openFile);
    Dialog(window_).answer(IDCANCEL);
    expectTitle("");
    begin(openFile);
    Dialog(window_).answer(file);
    expectTitle("first.bmp - 20 x 10, 24 bits, BMP");
    expectShown(picture);
}

TEST_F(Viewer, SavesUnderTheNameAndInTheFormatThatAreGiven) {
    TestImage picture(20, 10, 24), loaded(20, 10, 24);
    start(add("first.bmp", picture));
    begin(saveFile);
    Dialog(window_).answer(add("copy.png"));
    EXPECT_TRUE(soon([&] { return loadpngW(add("copy.png").c_str(), loaded) == 0; }));
    EXPECT_TRUE(loaded.bytes() == picture.bytes());
    // Without an extension it is the format of the file.
    begin(saveFile);
    Dialog(window_).answer(add("bare"));
    EXPECT_TRUE(soon([&] { return loadbmpW(add("bare.bmp").c_str(), loaded) == 0; }));
}

TEST_F(Viewer, AsksBeforeAFileIsOverwritten) {
    TestImage picture(20, 10, 24);
    writeFile(add("other.bmp").string(), {'o', 'l', 'd'});
    start(add("first.bmp", picture));
    begin(saveFile);
    const Dialog dialog(window_);
    dialog.answer(add("other"));
    Dialog(static_cast<HWND>(dialog)).answer(IDNO);
    dialog.answer(IDCANCEL);
    EXPECT_EQ(readFile(add("other.bmp").string()), (Bytes{'o', 'l', 'd'}));
}

TEST_F(Viewer, SaysWhyAPictureIsNotSavedOrPasted) {
    TestImage picture(20, 10, 24);
    start(add("first.bmp", picture));
    begin(saveFile);
    Dialog(window_).answer(add("picture.xyz"));
    ASSERT_TRUE(soon([&] { return FindWindowW(L"#32770", L"Not saved"); }));
    const Dialog notSaved(window_);
    notSaved.expectWords("its extension names none of the formats");
    notSaved.answer(IDOK);

    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    CloseClipboard();
    begin(pastePicture);
    const Dialog notPasted(window_);
    notPasted.expectWords("there is no picture on the clipboard");
    notPasted.answer(IDOK);
    expectTitle("first.bmp - 20 x 10, 24 bits, BMP");
}

namespace {

// The block that the shell makes for a drop: a record, and names that end in one more zero. It is known in
// the viewer's own process only; so there the viewer's window is opened.
HGLOBAL blockOf(const std::vector<std::wstring>& names) {
    std::wstring all;
    for (const std::wstring& name : names) all += name + L'\0';
    all += L'\0';
    const HGLOBAL block = GlobalAlloc(GHND, sizeof(DROPFILES) + all.size() * sizeof(wchar_t));
    auto* const drop = static_cast<DROPFILES*>(GlobalLock(block));
    drop->pFiles = sizeof(DROPFILES);
    drop->fWide = TRUE;
    std::memcpy(drop + 1, all.data(), all.size() * sizeof(wchar_t));
    GlobalUnlock(block);
    return block;
}

}  // namespace

TEST_F(Viewer, OpensAFileThatIsDropped) {
    TestImage first(20, 10, 24), second(30, 20, 8);
    const auto file = add("first.bmp", first), other = add("second.bmp", second);
    ornview::Viewer viewer({420, 360}, 0);
    EXPECT_TRUE(GetWindowLongW(viewer.window(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    const auto drop = [&](const std::vector<std::wstring>& names) {
        PostMessageW(viewer.window(), WM_DROPFILES, reinterpret_cast<WPARAM>(blockOf(names)), 0);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        return titleOf(viewer.window());
    };
    EXPECT_EQ(drop({file}), "first.bmp - 20 x 10, 24 bits, BMP - ornview");
    EXPECT_EQ(drop({other, file}), "second.bmp - 30 x 20, 8 bits, BMP - ornview");
    EXPECT_EQ(drop({add("gone.bmp")}), "gone.bmp - ornview");
}
