#include "core/palette.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace orn32 {

unsigned colourCount(const BITMAPINFOHEADER& header) {
    if (header.biClrUsed) return header.biClrUsed;
    return header.biBitCount < 16 ? 1u << header.biBitCount : 0;
}

unsigned paletteRoom(const imgdes& image) {
    return image.palette ? colourCount(*image.header) : 0;
}

unsigned greyStep(unsigned bitsPerPixel) {
    static constexpr std::uint8_t steps[] = {255, 255, 85, 36, 17, 8, 4, 2, 1};
    return bitsPerPixel < std::size(steps) ? steps[bitsPerPixel] : 1;
}

namespace {

// A device context of the screen, and one compatible with it that a bitmap can be selected into.
class ScreenContext {
 public:
    ScreenContext()
        : window_(GetDesktopWindow()), screen_(GetDC(window_)), memory_(CreateCompatibleDC(screen_)) {}
    ~ScreenContext() {
        if (memory_) DeleteDC(memory_);
        ReleaseDC(window_, screen_);
    }
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;
    HDC memory() const { return memory_; }

 private:
    HWND window_;
    HDC screen_;
    HDC memory_;
};

// The halftone palette is made once and kept for the life of the process: a new one for every call would use
// up the process's GDI objects.
HPALETTE halftonePalette() {
    static HPALETTE kept = nullptr;
    if (!kept) {
        const HDC screen = GetDC(nullptr);
        const HPALETTE made = CreateHalftonePalette(screen);
        ReleaseDC(nullptr, screen);
        if (InterlockedCompareExchangePointer(reinterpret_cast<void**>(&kept), made, nullptr))
            DeleteObject(made);
    }
    return kept;
}

// Entries 8 to 11 of the stock palette are not standard colours but belong to the desktop's colour scheme.
bool isSchemeColour(unsigned entry) {
    return entry >= 8 && entry <= 11;
}

template <class Skip>
int fillFromSystem(imgdes* image, HPALETTE (*system)(), Skip skip) {
    if (!image->header || image->header->biBitCount != 8 || !image->palette) return 0;
    PALETTEENTRY entries[256];
    const unsigned found = GetPaletteEntries(system(), 0, 256, entries);
    const unsigned room = paletteRoom(*image);
    unsigned n = 0;
    for (unsigned i = 0; i < found && n < room; i++) {
        if (skip(i)) continue;
        RGBQUAD& to = image->palette[n++];
        to.rgbRed = entries[i].peRed;
        to.rgbGreen = entries[i].peGreen;
        to.rgbBlue = entries[i].peBlue;
    }
    image->palcolors = static_cast<int>(n);
    return image->palcolors;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" void ORNAPI CreateDefaultPalette_(imgdes* image) {
    const unsigned bits = image->header->biBitCount;
    if (bits == 16) {
        image->imgkind = greyMark;
        return;
    }
    if (!image->palette || bits > 8) return;
    image->imgkind |= greyMark;
    const unsigned n = colourCount(*image->header);
    image->palcolors = static_cast<int>(n);
    const unsigned step = greyStep(bits);
    for (unsigned i = 0; i < n; i++) {
        const BYTE grey = static_cast<BYTE>(i * step);
        image->palette[i] = {grey, grey, grey, 0};
    }
    if (image->hbitmap) updatebitmapcolortable(image);
}

extern "C" int ORNAPI isgrayscaleimage(const imgdes* image) {
    const unsigned bits = image->header->biBitCount;
    if (bits == 16 && image->imgkind == greyMark) return 1;
    if (image->palcolors <= 0 || !image->palette || bits > 16) return 0;
    const unsigned step = greyStep(bits);
    for (unsigned i = 0; i < static_cast<unsigned>(image->palcolors); i++) {
        const RGBQUAD& entry = image->palette[i];
        if (entry.rgbRed != entry.rgbGreen || entry.rgbRed != entry.rgbBlue) return 0;
        if (entry.rgbRed != i * step) return 0;
    }
    return 1;
}

extern "C" int ORNAPI updatebitmapcolortable(imgdes* image) {
    if (!image->hbitmap || !image->palcolors || !image->palette) return 0;
    const ScreenContext context;
    if (!context.memory()) return ERR_MEMORY;
    const HGDIOBJ previous = SelectObject(context.memory(), image->hbitmap);
    SetDIBColorTable(context.memory(), 0, static_cast<UINT>(image->palcolors), image->palette);
    SelectObject(context.memory(), previous);
    return 0;
}

extern "C" int ORNAPI defaultpalette(imgdes* image) {
    return fillFromSystem(
        image, [] { return static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)); }, isSchemeColour);
}

extern "C" int ORNAPI standardpalette(imgdes* image) {
    return fillFromSystem(image, halftonePalette, [](unsigned) { return false; });
}
