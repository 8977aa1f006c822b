// Drawing images into device contexts, in the colours that the device has.
#include "core/display.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/memory.h"

namespace orn32 {
namespace {

// ---- What is seen ---------------------------------------------------------------------------------------

// Picture point source comes to client point destination. 64 bits hold every difference of a caller's
// numbers.
struct Place {
    std::int64_t sourceX, sourceY, destinationX, destinationY;
};

// The part of the picture that lies in the client area; empty if there is none.
struct VisiblePart {
    int sourceX, sourceY, destinationX, destinationY, width, height;
    bool empty() const { return width <= 0; }
};

// One direction: where picture and client area are both there.
struct VisibleSpan {
    std::int64_t source, destination, length;
};

VisibleSpan visibleSpan(std::int64_t source, std::int64_t destination, LONG picture, LONG client) {
    // A place before the picture's edge shows the picture further inside.
    if (source < 0) {
        destination -= source;
        source = 0;
    }
    return {source, destination, std::min(picture - source, client - destination)};
}

VisiblePart visiblePart(HWND window, const imgdes& image, const Place& place) {
    RECT client = {};
    GetClientRect(window, &client);
    const VisibleSpan x = visibleSpan(place.sourceX, place.destinationX, image.header->biWidth, client.right);
    const VisibleSpan y =
        visibleSpan(place.sourceY, place.destinationY, image.header->biHeight, client.bottom);
    if (x.length <= 0 || y.length <= 0) return {};
    return {static_cast<int>(x.source),      static_cast<int>(y.source), static_cast<int>(x.destination),
            static_cast<int>(y.destination), static_cast<int>(x.length), static_cast<int>(y.length)};
}

// ---- Palettes -------------------------------------------------------------------------------------------

// A logical palette of the image's colours in *palette; 0 where the image has none or the system gives none.
int createPalette(imgdes* image, HPALETTE* palette) {
    constexpr unsigned mostEntries = 0xFFFF;  // that a LOGPALETTE can count
    *palette = nullptr;
    if (image->palcolors == 0) CreateDefaultPalette_(image);
    const unsigned count = static_cast<unsigned>(image->palcolors);
    if (count == 0 || !image->palette) return 0;
    if (count > mostEntries) return ERR_MEMORY;

    const WorkArray<std::uint8_t> block(MemoryEntry::counted, 4 * count + 8);
    if (!block) return ERR_MEMORY;
    LOGPALETTE* const logical = reinterpret_cast<LOGPALETTE*>(block.get());
    logical->palVersion = 0x300;
    logical->palNumEntries = static_cast<WORD>(count);
    PALETTEENTRY* const entries = logical->palPalEntry;
    for (unsigned i = 0; i < count; i++) {
        const RGBQUAD& from = image->palette[i];
        entries[i] = {from.rgbRed, from.rgbGreen, from.rgbBlue, 0};
    }
    *palette = CreatePalette(logical);
    return 0;
}

// A palette selected into a device context for as long as this lives; without one nothing happens.
class SelectedPalette {
 public:
    SelectedPalette(HDC dc, HPALETTE palette) : dc_(dc) {
        if (palette) previous_ = SelectPalette(dc, palette, FALSE);
    }
    ~SelectedPalette() {
        if (previous_) SelectPalette(dc_, previous_, FALSE);
    }
    SelectedPalette(const SelectedPalette&) = delete;
    SelectedPalette& operator=(const SelectedPalette&) = delete;

 private:
    HDC dc_;
    HPALETTE previous_ = nullptr;
};

// ---- Drawing --------------------------------------------------------------------------------------------

int drawDibSection(HDC dc, HPALETTE palette, const imgdes& image, const VisiblePart& part) {
    const HDC memory = CreateCompatibleDC(dc);
    if (!memory) return ERR_MEMORY;
    bool drawn;
    {
        const SelectedPalette selected(memory, palette);
        const HGDIOBJ previous = SelectObject(memory, image.hbitmap);
        drawn = previous && BitBlt(dc, part.destinationX, part.destinationY, part.width, part.height, memory,
                                   part.sourceX, part.sourceY, SRCCOPY);
        if (previous) SelectObject(memory, previous);
    }
    DeleteDC(memory);
    return drawn ? 0 : ERR_MEMORY;
}

// GDI gets the visible rows only, through the image's own header, which says so for the time of the call. The
// columns are left to GDI: rows that begin at the first visible column would reach beyond the image's block.
void drawRows(HDC dc, const imgdes& image, const VisiblePart& part) {
    BITMAPINFOHEADER& header = *image.header;
    const LONG rowsBelow = header.biHeight - part.sourceY - part.height;
    const LONG height = std::exchange(header.biHeight, part.height);
    const DWORD bytes = std::exchange(header.biSizeImage, image.rowbytes * static_cast<DWORD>(part.height));
    SetDIBitsToDevice(dc, part.destinationX, part.destinationY, static_cast<DWORD>(part.width),
                      static_cast<DWORD>(part.height), part.sourceX, 0, 0, static_cast<UINT>(part.height),
                      image.bits + std::size_t{image.rowbytes} * static_cast<std::size_t>(rowsBelow),
                      reinterpret_cast<BITMAPINFO*>(&header), DIB_RGB_COLORS);
    header.biHeight = height;
    header.biSizeImage = bytes;
}

int draw(const Canvas& canvas, imgdes* image, const Place& place) {
    if (const int code = createPalette(image, canvas.palette)) return code;
    const HPALETTE palette = *canvas.palette;
    const SelectedPalette selected(canvas.dc, palette);
    if (palette) RealizePalette(canvas.dc);
    const VisiblePart part = visiblePart(canvas.window, *image, place);
    if (part.empty()) return 0;
    if (image->hbitmap) return drawDibSection(canvas.dc, palette, *image, part);
    drawRows(canvas.dc, *image, part);
    return 0;
}

// ---- Fewer colours --------------------------------------------------------------------------------------

bool needsReduction(const imgdes& image, int depth) {
    const unsigned bits = image.header->biBitCount;
    const bool fewColours = image.palcolors >= 1 && image.palcolors <= 16;
    return (bits == 24 && depth == 8) || (depth <= 4 && bits >= 8 && !fewColours);
}

int reduce(imgdes* source, imgdes* reduced, int depth, int mode) {
    constexpr int scatter = 2, allColours = 256, nearestColours = 2;
    const bool palette = depth >= 8;
    if (mode == scatter) return colorscatter(source, reduced, palette);
    if (mode != 0 || !palette) return colordither(source, reduced, palette);
    return convertrgbtopalex(allColours, source, reduced, nearestColours);
}

// Only what will be seen is reduced, into an image of that size.
int drawReduced(const Canvas& canvas, imgdes* image, const Place& place, int depth, int mode) {
    const VisiblePart part = visiblePart(canvas.window, *image, place);
    if (part.empty()) return 0;
    const UINT left = static_cast<UINT>(part.sourceX), width = static_cast<UINT>(part.width);
    const UINT top = static_cast<UINT>(part.sourceY), height = static_cast<UINT>(part.height);
    imgdes seen = *image;
    setimagearea(&seen, left, top, left + width - 1, top + height - 1);
    imgdes reduced;
    if (const int code = allocimage(&reduced, width, height, 8)) return code;
    int code = reduce(&seen, &reduced, depth, mode);
    if (code == 0) code = updatebitmapcolortable(&reduced);  // the reductions do not tell when that failed
    if (code == 0) code = draw(canvas, &reduced, {0, 0, part.destinationX, part.destinationY});
    freeimage(&reduced);
    return code;
}

// ---- The callers' side ----------------------------------------------------------------------------------

// Runs body with a canvas that has a place for the palette. A caller who gives none would leak palettes: then
// it is deleted here.
template <class Body>
int onCanvas(Canvas canvas, const imgdes* image, Body body) {
    HPALETTE unwanted = nullptr;
    const bool wanted = canvas.palette != nullptr;
    if (!wanted) canvas.palette = &unwanted;
    *canvas.palette = nullptr;
    if (!image || !image->header || !image->bits) return ERR_RANGE;
    const int code = body(canvas);
    if (unwanted) DeleteObject(unwanted);
    return code;
}

// The picture's offset moves it left and up, the screen's right and down: one of the two is left in the end.
Place placed(POINT offset, POINT screen) {
    const std::int64_t x = std::int64_t{offset.x} - screen.x, y = std::int64_t{offset.y} - screen.y;
    return {std::max<std::int64_t>(x, 0), std::max<std::int64_t>(y, 0), std::max<std::int64_t>(-x, 0),
            std::max<std::int64_t>(-y, 0)};
}

}  // namespace

int viewOnDepth(const Canvas& given, int depth, POINT offset, imgdes* image, POINT screen, int mode) {
    return onCanvas(given, image, [&](const Canvas& canvas) {
        const Place place = placed(offset, screen);
        return needsReduction(*image, depth) ? drawReduced(canvas, image, place, depth, mode)
                                             : draw(canvas, image, place);
    });
}

}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI viewimage(HWND window, HDC dc, HPALETTE* palette, int x, int y, imgdes* image) {
    return onCanvas({window, dc, palette}, image, [&](const Canvas& canvas) {
        return draw(canvas, image, {x, y, 0, 0});
    });
}

extern "C" int ORNAPI viewimageex(HWND window, HDC dc, HPALETTE* palette, int x, int y, imgdes* image,
                                  int screenX, int screenY, int mode) {
    return viewOnDepth({window, dc, palette}, GetDeviceCaps(dc, BITSPIXEL), {x, y}, image, {screenX, screenY},
                       mode);
}
