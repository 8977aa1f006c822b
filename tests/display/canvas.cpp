#include "tests/display/canvas.h"

#include <algorithm>
#include <cstdio>

namespace test {

std::string difference(const Pixels& have, const Pixels& want) {
    if (have.width != want.width || have.height != want.height) return "other sizes";
    for (int y = 0; y < have.height; y++)
        for (int x = 0; x < have.width; x++)
            if (have.at(x, y) != want.at(x, y)) {
                char text[100];
                std::snprintf(text, sizeof text, "x %d, y %d: have %06X, want %06X", x, y,
                              static_cast<unsigned>(have.at(x, y)), static_cast<unsigned>(want.at(x, y)));
                return text;
            }
    return "";
}

Pixels blank(int width, int height) {
    return {width, height,
            std::vector<std::uint32_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                                       backdrop)};
}

std::uint32_t colourOf(const RGBQUAD& entry) {
    return static_cast<std::uint32_t>(entry.rgbRed << 16 | entry.rgbGreen << 8 | entry.rgbBlue);
}

std::uint32_t pixelOf(const imgdes& image, int x, int y) {
    const BYTE* const row = image.bits + static_cast<UINT>(image.header->biHeight - 1 - y) * image.rowbytes;
    if (image.header->biBitCount == 24) return row[3 * x] | row[3 * x + 1] << 8 | row[3 * x + 2] << 16;
    return image.header->biBitCount == 8 ? row[x] : row[x / 8] >> (7 - x % 8) & 1;
}

std::uint32_t colourOf(const imgdes& image, int x, int y) {
    const std::uint32_t pixel = pixelOf(image, x, y);
    return image.header->biBitCount == 24 ? pixel : colourOf(image.palette[pixel]);
}

Pixels picturedOn(const Pixels& canvas, SIZE client, const TestImage& image, std::int64_t x, std::int64_t y,
                  std::int64_t screenX, std::int64_t screenY) {
    Pixels result = canvas;
    for (int cy = 0; cy < std::min<int>(canvas.height, client.cy); cy++)
        for (int cx = 0; cx < std::min<int>(canvas.width, client.cx); cx++) {
            const std::int64_t px = x + cx - screenX, py = y + cy - screenY;
            if (px < 0 || py < 0 || px >= image.width() || py >= image.height()) continue;
            result.at(cx, cy) = colourOf(image.image, static_cast<int>(px), static_cast<int>(py));
        }
    return result;
}

namespace {

// Lets the window system do what it puts off until a program waits for messages: mapping, showing what was
// drawn.
void settle() {
    for (int i = 0; i < 3; i++) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
}

}  // namespace

Window::Window(Kind kind, SIZE client) {
    window_ = kind == sizeOnly ? CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, client.cx, client.cy,
                                               HWND_MESSAGE, nullptr, nullptr, nullptr)
                               : CreateWindowExW(WS_EX_TOPMOST, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0,
                                                 client.cx, client.cy, nullptr, nullptr, nullptr, nullptr);
    if (kind == onScreen && window_) {
        UpdateWindow(window_);
        SetForegroundWindow(window_);
        settle();
    }
}

Window::~Window() {
    if (window_) DestroyWindow(window_);
}

SIZE clientSizeOf(HWND window) {
    RECT area = {};
    GetClientRect(window, &area);
    return {area.right, area.bottom};
}

void Window::resize(SIZE client) {
    SetWindowPos(window_, nullptr, 0, 0, client.cx, client.cy, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

Surface::Surface(int width, int height) : width_(width), height_(height), dc_(CreateCompatibleDC(nullptr)) {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    void* bits;
    bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bits_ = static_cast<std::uint32_t*>(bits);
    previous_ = SelectObject(dc_, bitmap_);
    clear();
}

Surface::~Surface() {
    SelectObject(dc_, previous_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
}

Pixels Surface::pixels() const {
    GdiFlush();
    Pixels pixels = blank(width_, height_);
    for (std::size_t i = 0; i < pixels.colours.size(); i++) pixels.colours[i] = bits_[i] & 0xFFFFFF;
    return pixels;
}

void Surface::clear() {
    std::fill_n(bits_, width_ * height_, backdrop);
}

Pixels shownBy(HWND window) {
    settle();
    const SIZE size = clientSizeOf(window);
    POINT corner = {0, 0};
    ClientToScreen(window, &corner);
    Surface copy(size.cx, size.cy);
    const HDC screen = GetDC(nullptr);
    BitBlt(copy.dc(), 0, 0, size.cx, size.cy, screen, corner.x, corner.y, SRCCOPY);
    ReleaseDC(nullptr, screen);
    return copy.pixels();
}

int gdiObjects() {
    if (const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS))
        return static_cast<int>(counted);
    std::vector<HGDIOBJ> spare;
    while (HGDIOBJ object = CreateSolidBrush(static_cast<COLORREF>(spare.size()))) spare.push_back(object);
    for (HGDIOBJ object : spare) DeleteObject(object);
    return -static_cast<int>(spare.size());
}

std::string stateOf(HDC dc) {
    char text[200];
    RECT clip;
    POINT origin;
    GetClipBox(dc, &clip);
    GetViewportOrgEx(dc, &origin);
    std::snprintf(text, sizeof text,
                  "palette %p, bitmap %p, clip %ld,%ld,%ld,%ld, origin %ld,%ld, colours %lx %lx",
                  GetCurrentObject(dc, OBJ_PAL), GetCurrentObject(dc, OBJ_BITMAP), clip.left, clip.top,
                  clip.right, clip.bottom, origin.x, origin.y, GetTextColor(dc), GetBkColor(dc));
    return text;
}

std::vector<std::uint32_t> MadePalette::colours() const {
    PALETTEENTRY entries[300];
    const UINT n = handle ? GetPaletteEntries(handle, 0, 300, entries) : 0;
    std::vector<std::uint32_t> all;
    for (UINT i = 0; i < n; i++)
        all.push_back(
            static_cast<std::uint32_t>(entries[i].peRed << 16 | entries[i].peGreen << 8 | entries[i].peBlue));
    return all;
}

}  // namespace test
