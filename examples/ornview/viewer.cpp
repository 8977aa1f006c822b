// The window.
#include "viewer.h"

#include <algorithm>
#include <new>

#include "clipboard.h"
#include "dialogs.h"
#include "menu.h"
#include "ornconvert/messages.h"

namespace ornview {

using namespace ornconvert;

namespace {

constexpr wchar_t className[] = L"ornview";
constexpr UINT_PTR frameTimer = 1;

void registerClass(WNDPROC receive) {
    WNDCLASSEXW window = {};
    window.cbSize = sizeof window;
    window.lpfnWndProc = receive;
    window.hInstance = GetModuleHandleW(nullptr);
    window.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    window.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    window.lpszClassName = className;
    RegisterClassExW(&window);
}

}  // namespace

Viewer::Viewer(SIZE size, int mode) : mode_(mode) {
    registerClass(receive);
    accelerators_ = createAccelerators();
    window_ = CreateWindowExW(WS_EX_ACCEPTFILES, className, L"ornview", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                              CW_USEDEFAULT, size.cx, size.cy, nullptr, createMenu(),
                              GetModuleHandleW(nullptr), this);
    if (!window_) throw Failure{L"no window can be opened; is there a display?"};
    documentChanged();
}

Viewer::~Viewer() {
    if (window_) DestroyWindow(window_);
    if (palette_) DeleteObject(palette_);
    DestroyAcceleratorTable(accelerators_);
}

void Viewer::open(const std::wstring& file) {
    document_.open(file);
    documentChanged();
    play(true);
}

void Viewer::stopAtFrame(std::size_t frame) {
    play(false);
    document_.showFrame(frame);
    frameChanged();
}

// ---- Drawing --------------------------------------------------------------------------------------------

POINT Viewer::corner() {
    RECT client;
    GetClientRect(window_, &client);
    const BITMAPINFOHEADER& header = document_.drawable().header();
    return {std::max(0L, (client.right - header.biWidth) / 2),
            std::max(0L, (client.bottom - header.biHeight) / 2)};
}

void Viewer::paint() {
    PAINTSTRUCT painting;
    const HDC dc = BeginPaint(window_, &painting);
    if (document_.hasPicture()) drawPicture(dc);
    RECT client;
    GetClientRect(window_, &client);
    const HBRUSH brush = CreateSolidBrush(surroundings);
    FillRect(dc, &client, brush);
    DeleteObject(brush);
    if (!document_.hasPicture()) drawMessage(dc);
    EndPaint(window_, &painting);
}

// GDI draws what BeginPaint found to be missing only. The picture's place is cut out of what is filled
// afterwards, so that no pixel is drawn twice.
void Viewer::drawPicture(HDC dc) {
    imgdes* const image = document_.drawable().image();
    const POINT from = scroller_.position(), to = corner();
    HPALETTE palette;
    const int code = viewimageex(window_, dc, &palette, from.x, from.y, image, to.x, to.y, mode_);
    if (palette_) DeleteObject(palette_);
    palette_ = palette;
    // The window's frame was mixed of colours that the picture may have replaced.
    if (palette && GetDeviceCaps(dc, RASTERCAPS) & RC_PALETTE) SendMessageW(window_, WM_NCPAINT, 1, 0);
    if (code == 0)
        ExcludeClipRect(dc, to.x, to.y, to.x + image->header->biWidth - from.x,
                        to.y + image->header->biHeight - from.y);
}

void Viewer::drawMessage(HDC dc) {
    const std::wstring& message = document_.message();
    const std::wstring words = message.empty() ? L"Open a picture (Ctrl+O), or drop one here." : message;
    RECT client, needed = {};
    GetClientRect(window_, &client);
    const int margin = 20;
    needed.right = std::max(client.right - 2 * margin, 1L);
    const HGDIOBJ previous = SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    const UINT format = DT_CENTER | DT_WORDBREAK | DT_NOPREFIX;
    DrawTextW(dc, words.c_str(), -1, &needed, format | DT_CALCRECT);
    RECT place = {margin, std::max(0L, (client.bottom - needed.bottom) / 2), client.right - margin,
                  client.bottom};
    DrawTextW(dc, words.c_str(), -1, &place, format);
    SelectObject(dc, previous);
}

// The picture's colours become the device's, as far as it lets them; true if some have changed.
bool Viewer::realizePalette() {
    if (!palette_) return false;
    const HDC dc = GetDC(window_);
    const HPALETTE previous = SelectPalette(dc, palette_, FALSE);
    const UINT changed = RealizePalette(dc);
    SelectPalette(dc, previous, TRUE);
    ReleaseDC(window_, dc);
    if (changed != GDI_ERROR && changed > 0) InvalidateRect(window_, nullptr, FALSE);
    return changed != GDI_ERROR && changed > 0;
}

// ---- Commands -------------------------------------------------------------------------------------------

void Viewer::documentChanged() {
    play(false);
    if (palette_) DeleteObject(palette_);
    palette_ = nullptr;
    SIZE content = {0, 0};
    if (document_.hasPicture()) {
        const BITMAPINFOHEADER& header = document_.drawable().header();
        content = {header.biWidth, header.biHeight};
    }
    scroller_.setContent(content, true);
    SetWindowTextW(window_, document_.title().c_str());
}

void Viewer::frameChanged() {
    if (!document_.hasPicture()) return;
    const BITMAPINFOHEADER& header = document_.drawable().header();
    scroller_.setContent({header.biWidth, header.biHeight}, false);
    SetWindowTextW(window_, document_.title().c_str());
    if (playing_) SetTimer(window_, frameTimer, document_.frameDelay(), nullptr);
}

void Viewer::openChosen() {
    const std::wstring file = askWhatToOpen(window_);
    if (!file.empty()) open(file);
}

void Viewer::saveChosen() {
    play(false);  // what is seen is what will be saved
    const std::wstring file = askWhereToSave(window_, document_.file());
    if (!file.empty()) document_.saveAs(file);
}

void Viewer::copy() {
    copyToClipboard(window_, document_.drawable());
}

void Viewer::paste() {
    document_.show(pasteFromClipboard(window_), L"clipboard");
    documentChanged();
}

void Viewer::setMode(int mode) {
    mode_ = mode;
    InvalidateRect(window_, nullptr, FALSE);
}

void Viewer::play(bool on) {
    const bool was = playing_;
    playing_ = on && document_.frameCount() > 1;
    if (!playing_) {
        KillTimer(window_, frameTimer);
    } else if (!was) {
        document_.startPlaying();
        frameChanged();
    }
}

void Viewer::playOn() {
    if (!playing_) return;  // the timer's last message may have been on its way
    if (document_.playOn())
        frameChanged();
    else
        play(false);
}

void Viewer::stepFrame(int by) {
    play(false);
    document_.stepFrame(by);
    frameChanged();
}

void Viewer::takeDrop(HDROP drop) {
    const UINT length = DragQueryFileW(drop, 0, nullptr, 0);
    std::wstring file(length + 1, L'\0');
    DragQueryFileW(drop, 0, file.data(), length + 1);
    DragFinish(drop);
    file.pop_back();
    open(file);
}

void Viewer::attempt(void (Viewer::*action)(), const wchar_t* purpose) {
    std::wstring words;
    try {
        (this->*action)();
        return;
    } catch (const Failure& failure) {
        words = failure.file.empty() ? failure.words : text(failure.file, L":\n", failure.words);
    } catch (const std::bad_alloc&) {
        words = L"there is not enough memory";
    }
    MessageBoxW(window_, words.c_str(), purpose, MB_OK | MB_ICONEXCLAMATION);
}

void Viewer::command(int id) {
    switch (id) {
        case openFile:
            return openChosen();
        case saveFile:
            return document_.hasPicture() ? attempt(&Viewer::saveChosen, L"Not saved") : void();
        case nextFile:
        case previousFile:
            document_.stepFile(id == nextFile ? 1 : -1);
            documentChanged();
            return play(true);
        case closeWindow:
            SendMessageW(window_, WM_CLOSE, 0, 0);
            return;
        case copyPicture:
            return document_.hasPicture() ? attempt(&Viewer::copy, L"Not copied") : void();
        case pastePicture:
            return attempt(&Viewer::paste, L"Not pasted");
        case nextFrame:
        case previousFrame:
            return stepFrame(id == nextFrame ? 1 : -1);
        case playFrames:
            return play(!playing_);
        case suitingColours:
        case orderedDither:
        case errorDiffusion:
            return setMode(id - suitingColours);
    }
}

// ---- Messages -------------------------------------------------------------------------------------------

LRESULT CALLBACK Viewer::receive(HWND window, UINT message, WPARAM wide, LPARAM lengthy) {
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lengthy);
        Viewer* const viewer = static_cast<Viewer*>(creation->lpCreateParams);
        viewer->window_ = window;
        viewer->scroller_.attach(window);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(viewer));
    }
    Viewer* const viewer = reinterpret_cast<Viewer*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return viewer ? viewer->handle(message, wide, lengthy) : DefWindowProcW(window, message, wide, lengthy);
}

LRESULT Viewer::handle(UINT message, WPARAM wide, LPARAM lengthy) {
    switch (message) {
        case WM_PAINT:
            paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;  // paint leaves nothing uncovered
        case WM_SIZE:
            scroller_.windowResized();
            InvalidateRect(window_, nullptr, FALSE);  // a picture in the middle moves
            return 0;
        case WM_HSCROLL:
        case WM_VSCROLL:
            scroller_.onScrollBar(message == WM_HSCROLL ? SB_HORZ : SB_VERT, LOWORD(wide));
            return 0;
        case WM_MOUSEWHEEL:
            scroller_.onWheel(GET_KEYSTATE_WPARAM(wide) & MK_SHIFT ? SB_HORZ : SB_VERT,
                              GET_WHEEL_DELTA_WPARAM(wide));
            return 0;
        case WM_KEYDOWN:
            return scroller_.onKey(static_cast<int>(wide)) ? 0 : 1;
        case WM_QUERYNEWPALETTE:
            return realizePalette();
        case WM_PALETTECHANGED:
            if (reinterpret_cast<HWND>(wide) != window_) realizePalette();
            return 0;
        case WM_DROPFILES:
            takeDrop(reinterpret_cast<HDROP>(wide));
            return 0;
        case WM_INITMENUPOPUP:
            updateMenu(GetMenu(window_),
                       {document_.hasPicture(), document_.frameCount() > 1, playing_, mode_});
            return 0;
        case WM_COMMAND:
            command(LOWORD(wide));
            return 0;
        case WM_TIMER:
            playOn();
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            window_ = nullptr;
            return 0;
    }
    return DefWindowProcW(window_, message, wide, lengthy);
}

}  // namespace ornview
