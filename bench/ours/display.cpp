// Drawing in a window of the screen, beside the one GDI call that does the work. A pass ends when the window
// system has the pixels.
#include <functional>
#include <memory>

#include "image.h"

namespace bench {
namespace {

constexpr int width = 1600, height = 1200;

// The window that both sides draw in: of two, one would cover the other.
class Window {
 public:
    Window() {
        window_ = CreateWindowExW(WS_EX_TOPMOST, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, width, height,
                                  nullptr, nullptr, nullptr, nullptr);
        if (!window_ || GetSystemMetrics(SM_CXSCREEN) < width || GetSystemMetrics(SM_CYSCREEN) < height)
            throw NotPossible("there is no screen of 1600 x 1200 pixels to draw on");
        settle();
        dc = GetDC(window_);
        if (GetDeviceCaps(dc, BITSPIXEL) < 24) throw NotPossible("the screen is not one of true colour");
    }
    ~Window() {
        if (dc) ReleaseDC(window_, dc);
        DestroyWindow(window_);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    operator HWND() const { return window_; }

    void clear() const { PatBlt(dc, 0, 0, width, height, BLACKNESS); }

    // Of what the screen shows.
    std::uint32_t fingerprint() const {
        settle();
        Image copy(width, height, 24);
        const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
        const HGDIOBJ previous = SelectObject(memory, copy->hbitmap);
        require(BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY), "reading the screen");
        GdiFlush();
        SelectObject(memory, previous);
        DeleteDC(memory);
        ReleaseDC(nullptr, screen);
        return copy.fingerprint();
    }

    HDC dc = nullptr;

 private:
    // The window system shows things when a program waits for messages.
    static void settle() {
        for (int i = 0; i < 5; i++) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
            MSG message;
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        }
    }

    HWND window_;
};

std::shared_ptr<const Window> theWindow() {
    static std::weak_ptr<const Window> latest;
    std::shared_ptr<const Window> window = latest.lock();
    if (!window) latest = window = std::make_shared<const Window>();
    return window;
}

// The corner of a picture as a packed DIB of the window's size, seen from one of its points on.
class Scene {
 public:
    Scene(const Picture& picture, POINT from) : from(from) {
        require(allocDIB(&image_, width, height, picture.bits) == 0, "allocDIB");
        Image whole(picture);
        require(copyimage(whole, &image_) == 0, "copyimage");
    }
    ~Scene() { freeimage(&image_); }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void drawByLibrary() {
        HPALETTE palette;
        viewimageex(*window, window->dc, &palette, from.x, from.y, &image_, 0, 0, 0);
        if (palette) DeleteObject(palette);
        GdiFlush();
    }

    // The rows from the bottom up to the first that is seen.
    void drawBySystem() {
        BITMAPINFOHEADER& header = *image_.header;
        const DWORD wide = static_cast<DWORD>(width - from.x), high = static_cast<DWORD>(height - from.y);
        header.biHeight = height - from.y;
        SetDIBitsToDevice(window->dc, 0, 0, wide, high, from.x, 0, 0, high, image_.bits,
                          reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS);
        header.biHeight = height;
        GdiFlush();
    }

    double visiblePixels() const { return 1.0 * (width - from.x) * (height - from.y); }

    const POINT from;
    const std::shared_ptr<const Window> window = theWindow();

 private:
    imgdes image_;
};

Work drawing(const Picture& picture, POINT from, void (Scene::*draw)()) {
    const auto scene = std::make_shared<Scene>(picture, from);
    scene->window->clear();
    std::invoke(draw, *scene);
    return {[=] { std::invoke(draw, *scene); }, scene->visiblePixels(), scene->window->fingerprint()};
}

Row row(const char* name, double target, const Picture& (*picture)(), POINT from, void (Scene::*draw)()) {
    return {name, target, [=] { return drawing(picture(), from, draw); }};
}

std::vector<Row> rowsDrawnBy(void (Scene::*draw)(), double target) {
    return {row("display/24/packed", target, photograph, {0, 0}, draw),
            row("display/24/scrolled", target, photograph, {800, 600}, draw),
            row("display/8/packed", target, graphic, {0, 0}, draw)};
}

const Rows ours(orn32, Code::simd, rowsDrawnBy(&Scene::drawByLibrary, 0));
const Rows theSystems("SetDIBitsToDevice alone, under Wine", Code::simd,
                      rowsDrawnBy(&Scene::drawBySystem, 1 / 1.2));

}  // namespace
}  // namespace bench
