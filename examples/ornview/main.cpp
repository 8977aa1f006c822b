// ornview: shows pictures in a window. An example of how a Windows program uses the library.
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <new>
#include <optional>

#include "notes.h"
#include "ornconvert/messages.h"
#include "ornconvert/options.h"
#include "screenshot.h"
#include "viewer.h"

namespace ornview {

using namespace ornconvert;

namespace {

enum ExitStatus { allWell = 0, somethingFailed = 1, badCommandLine = 2 };

constexpr wchar_t usage[] =
    L"ornview [FILE]   shows a picture: BMP, GIF, PNG, JPEG; see the menu for what it can do\n"
    L"  --size W,H            size of the window\n"
    L"  --at X,Y              begin with this point of the picture in the window's corner\n"
    L"  --frame N             stop at frame N of a GIF, counted from 1, instead of playing it\n"
    L"  --colors suit|ordered|diffusion\n"
    L"                        how a display with a palette shows pictures of more colours\n"
    L"  --screenshot OUT      save what the window shows, in the format that OUT's extension names, and end";

struct Wishes {
    std::wstring file, screenshot;
    SIZE size = {900, 700};
    POINT at = {0, 0};
    int mode = 0;
    long frame = 0;  // from 1; 0 is none
    bool help = false;
};

int parseMode(const std::wstring& argument) {
    constexpr const wchar_t* modes[] = {L"suit", L"ordered", L"diffusion"};
    const auto found = std::ranges::find(modes, argument);
    if (found == std::end(modes)) throw UsageError{argument + L" is none of suit, ordered, diffusion"};
    return static_cast<int>(found - modes);
}

Wishes parseArguments(int count, wchar_t** words) {
    Wishes wishes;
    for (int i = 1; i < count; i++) {
        const std::wstring word = words[i];
        const auto argument = [&]() -> std::wstring {
            if (++i >= count) throw UsageError{word + L" needs a value"};
            return words[i];
        };
        if (word == L"--size") {
            const auto n = parseNumbers(argument(), 2, 2, L"W,H");
            wishes.size = {n[0], n[1]};
        } else if (word == L"--at") {
            const auto n = parseNumbers(argument(), 2, 2, L"X,Y");
            wishes.at = {n[0], n[1]};
        } else if (word == L"--frame") {
            wishes.frame = parseNumbers(argument(), 1, 1, L"N")[0];
            if (wishes.frame < 1) throw UsageError{L"frames are counted from 1"};
        } else if (word == L"--colors") {
            wishes.mode = parseMode(argument());
        } else if (word == L"--screenshot") {
            wishes.screenshot = argument();
        } else if (word == L"--help") {
            wishes.help = true;
        } else if (word.starts_with(L"--")) {
            throw UsageError{L"there is no option " + word};
        } else if (wishes.file.empty()) {
            wishes.file = word;
        } else {
            throw UsageError{L"one picture at a time; N and P lead to the others of its folder"};
        }
    }
    return wishes;
}

bool takeMessage(const Viewer& viewer, MSG& message) {
    if (message.message == WM_QUIT) return false;
    if (!TranslateAcceleratorW(viewer.window(), viewer.accelerators(), &message)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

int runWindow(const Viewer& viewer) {
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) takeMessage(viewer, message);
    return allWell;
}

// The window system shows things in its own time: messages are served until none has come for a while.
int takeScreenshot(const Viewer& viewer, const std::wstring& file) {
    constexpr DWORD quiet = 400, longest = 10000;
    const DWORD began = GetTickCount();
    while (GetTickCount() - began < longest &&
           MsgWaitForMultipleObjects(0, nullptr, FALSE, quiet, QS_ALLINPUT) != WAIT_TIMEOUT) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            if (!takeMessage(viewer, message)) return somethingFailed;
    }
    Document shot;
    shot.show(pictureOfWindow(viewer.window()), L"screenshot");
    shot.saveAs(file);
    if (viewer.document().hasPicture()) return allWell;
    tell(viewer.document().message());
    return somethingFailed;
}

int run(const Wishes& wishes) {
    Viewer viewer(wishes.size, wishes.mode);
    if (!wishes.file.empty()) viewer.open(wishes.file);
    const bool screenshot = !wishes.screenshot.empty();
    if (screenshot || wishes.frame)
        viewer.stopAtFrame(static_cast<std::size_t>(std::max(wishes.frame, 1L)) - 1);
    ShowWindow(viewer.window(), SW_SHOWNORMAL);
    viewer.scrollTo(wishes.at);
    SetForegroundWindow(viewer.window());
    UpdateWindow(viewer.window());
    return screenshot ? takeScreenshot(viewer, wishes.screenshot) : runWindow(viewer);
}

int runCommandLine(int count, wchar_t** words) {
    try {
        const Wishes wishes = parseArguments(count, words);
        if (!wishes.help) return run(wishes);
        tell(usage);
        return allWell;
    } catch (const UsageError& error) {
        tell(error.words + L"\nornview --help tells how it is used.");
        return badCommandLine;
    } catch (const Failure& failure) {
        tell(failure.file.empty() ? failure.words : text(failure.file, L": ", failure.words));
    } catch (const std::bad_alloc&) {
        tell(L"there is not enough memory");
    }
    return somethingFailed;
}

}  // namespace
}  // namespace ornview

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    return words ? ornview::runCommandLine(count, words) : 1;
}
