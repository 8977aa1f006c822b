// What display tests draw on, and what they expect to see there.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/test_image.h"

namespace test {

// Pixels as 0x00RRGGBB, top row first.
struct Pixels {
    int width, height;
    std::vector<std::uint32_t> colours;

    std::uint32_t& at(int x, int y) { return colours[static_cast<std::size_t>(y) * width + x]; }
    std::uint32_t at(int x, int y) const { return colours[static_cast<std::size_t>(y) * width + x]; }
};

// "x 3, y 4: have 00FF00, want 000000", or "" where both are the same.
std::string difference(const Pixels& have, const Pixels& want);

constexpr std::uint32_t backdrop = 0xC04080;

Pixels blank(int width, int height);

std::uint32_t colourOf(const RGBQUAD& entry);
// A picture's pixel, and the colour that it stands for.
std::uint32_t pixelOf(const imgdes& image, int x, int y);
std::uint32_t colourOf(const imgdes& image, int x, int y);

// A canvas on which image point (x, y) lies at client point (screenX, screenY), pixel by pixel.
Pixels picturedOn(const Pixels& canvas, SIZE client, const TestImage& image, std::int64_t x, std::int64_t y,
                  std::int64_t screenX, std::int64_t screenY);

SIZE clientSizeOf(HWND window);

// A window of the given client area. One that only has a size needs no display.
class Window {
 public:
    enum Kind { sizeOnly, onScreen };
    Window(Kind kind, SIZE client);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    operator HWND() const { return window_; }
    explicit operator bool() const { return window_ != nullptr; }
    void resize(SIZE client);

 private:
    HWND window_;
};

// A device context in memory, 32 bits per pixel, filled with the backdrop.
class Surface {
 public:
    Surface(int width, int height);
    ~Surface();
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    HDC dc() const { return dc_; }
    Pixels pixels() const;
    void clear();

 private:
    int width_, height_;
    HDC dc_;
    HBITMAP bitmap_;
    std::uint32_t* bits_;
    HGDIOBJ previous_;
};

// What the screen shows of a window's client area, read back from the display.
Pixels shownBy(HWND window);

// A number that grows with the process's GDI objects: their count, or where the system does not count them
// (as Wine, whose GetGuiResources gives 0), what is missing from the number of those that it could still
// have.
int gdiObjects();

// What a device context has selected, and where it clips and begins: what drawing must leave as it was.
std::string stateOf(HDC dc);

// A palette that a drawing call has made.
class MadePalette {
 public:
    MadePalette() = default;
    ~MadePalette() { clear(); }
    MadePalette(const MadePalette&) = delete;
    MadePalette& operator=(const MadePalette&) = delete;

    HPALETTE* operator&() {
        clear();
        return &handle;
    }
    void clear() {
        if (handle) DeleteObject(std::exchange(handle, nullptr));
    }
    std::vector<std::uint32_t> colours() const;

    HPALETTE handle = nullptr;
};

}  // namespace test
