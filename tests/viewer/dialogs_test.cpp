// What the viewer asks its user, and files dropped on its window.
#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <cstring>

#include "ornview/viewer.h"
#include "tests/support/files.h"
#include "tests/viewer/running_viewer.h"

namespace {

using namespace test;

class ViewerDialogs : public testing::Test {
 protected:
    ViewerDialogs() {
        picture_.randomise(random_);
        file_ = folder_.add(L"first.bmp", picture_);
    }
    std::wstring quotedFile() const { return L"\"" + file_ + L"\""; }

    Random random_{61};
    TestImage picture_{20, 10, 24};
    PictureFolder folder_;
    std::wstring file_;
};

TEST_F(ViewerDialogs, OpenTheFileThatIsNamed) {
    RunningViewer viewer(L"");
    ASSERT_TRUE(viewer);
    viewer.expectTitle(L"ornview");
    viewer.begin(ornview::openFile);
    Dialog(viewer).answer(IDCANCEL);
    viewer.expectTitle(L"ornview");
    viewer.begin(ornview::openFile);
    Dialog(viewer).answer(file_);
    viewer.expectTitle(L"first.bmp - 20 x 10, 24 bits, BMP - ornview");
    viewer.expectShown(picture_, 0, 0);
}

TEST_F(ViewerDialogs, SaveUnderTheNameAndInTheFormatThatAreGiven) {
    const std::wstring png = folder_.add(L"copy.png"), bare = folder_.add(L"bare.bmp");
    RunningViewer viewer(quotedFile());
    ASSERT_TRUE(viewer);
    viewer.begin(ornview::saveFile);
    Dialog(viewer).answer(png);
    TestImage loaded(20, 10, 24);
    EXPECT_TRUE(soon([&] { return loadpngW(png.c_str(), loaded) == 0; }));
    EXPECT_TRUE(loaded.bytes() == picture_.bytes());
    // Without an extension it is the format of the file.
    viewer.begin(ornview::saveFile);
    Dialog(viewer).answer(bare.substr(0, bare.size() - 4));
    EXPECT_TRUE(soon([&] { return loadbmpW(bare.c_str(), loaded) == 0; }));
}

TEST_F(ViewerDialogs, AskBeforeAFileIsOverwritten) {
    const std::wstring other = folder_.add(L"other.bmp");
    writeFile(narrow(other), {'o', 'l', 'd'});
    RunningViewer viewer(quotedFile());
    ASSERT_TRUE(viewer);
    viewer.begin(ornview::saveFile);
    const Dialog dialog(viewer);
    dialog.answer(other.substr(0, other.size() - 4));
    Dialog(static_cast<HWND>(dialog)).answer(IDNO);
    dialog.answer(IDCANCEL);
    EXPECT_EQ(readFile(narrow(other)), (Bytes{'o', 'l', 'd'}));
}

TEST_F(ViewerDialogs, SayWhyAPictureIsNotSavedOrPasted) {
    RunningViewer viewer(quotedFile());
    ASSERT_TRUE(viewer);
    viewer.begin(ornview::saveFile);
    Dialog(viewer).answer(folder_.add(L"picture.xyz"));
    ASSERT_TRUE(soon([&] { return FindWindowW(L"#32770", L"Not saved"); }));
    const Dialog notSaved(viewer);
    EXPECT_NE(notSaved.words().find("its extension names none of the formats"), std::string::npos)
        << notSaved.words();
    notSaved.answer(IDOK);

    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    CloseClipboard();
    viewer.begin(ornview::pastePicture);
    const Dialog notPasted(viewer);
    EXPECT_NE(notPasted.words().find("there is no picture on the clipboard"), std::string::npos)
        << notPasted.words();
    notPasted.answer(IDOK);
    viewer.expectTitle(L"first.bmp - 20 x 10, 24 bits, BMP - ornview");
}

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

TEST_F(ViewerDialogs, AreNotNeededForAFileThatIsDropped) {
    TestImage other(30, 20, 8);
    const std::wstring second = folder_.add(L"second.bmp", other);
    ornview::Viewer viewer({420, 360}, 0);
    EXPECT_TRUE(GetWindowLongW(viewer.window(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    const auto drop = [&](const std::vector<std::wstring>& names) {
        PostMessageW(viewer.window(), WM_DROPFILES, reinterpret_cast<WPARAM>(blockOf(names)), 0);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        return narrow(titleOf(viewer.window()));
    };
    EXPECT_EQ(drop({file_}), "first.bmp - 20 x 10, 24 bits, BMP - ornview");
    EXPECT_EQ(drop({second, file_}), "second.bmp - 30 x 20, 8 bits, BMP - ornview");
    EXPECT_EQ(drop({file_ + L".gone"}), "first.bmp.gone - ornview");
}

}  // namespace
