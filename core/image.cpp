// Allocating, describing and freeing images.
#include <cstdint>

#include "core/library.h"
#include "core/memory.h"
#include "core/palette.h"
#include "orn32.h"

namespace orn32 {
namespace {

std::uint64_t bytesPerRow(unsigned width, unsigned bits) {
    return ((std::uint64_t{width} * bits + 31) & ~std::uint64_t{31}) / 8;
}

RGBQUAD* paletteBehind(BITMAPINFOHEADER* header) {
    return reinterpret_cast<RGBQUAD*>(header + 1);
}

// Puts the pixel rows into a DIB section that follows the image's header and palette.
int createDibSection(imgdes* image) {
    const HWND desktop = GetDesktopWindow();
    const HDC screen = GetDC(desktop);
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(screen, reinterpret_cast<BITMAPINFO*>(image->header),
                                            DIB_RGB_COLORS, &bits, nullptr, 0);
    ReleaseDC(desktop, screen);
    if (!bitmap || !bits) {
        if (bitmap) DeleteObject(bitmap);
        return ERR_MEMORY;
    }
    image->hbitmap = bitmap;
    image->bits = static_cast<unsigned char*>(bits);
    return 0;
}

int allocate(imgdes* image, unsigned width, unsigned height, unsigned bits, bool dibSection) {
    if (!image) return ERR_RANGE;
    *image = {};
    if (bits == 4) bits = 8;
    if (bits != 1 && bits != 8 && bits != 16 && bits != 24) return ERR_BITS;
    if (width == 0 || height == 0) return ERR_RANGE;

    const unsigned colours = bits < 16 ? 1u << bits : 0;
    const std::uint64_t rowBytes = bytesPerRow(width, bits);
    const std::uint64_t largest = 0x7FFFFFFF;
    const std::uint64_t headBytes = sizeof(BITMAPINFOHEADER) + std::uint64_t{colours} * sizeof(RGBQUAD);
    if (width > largest || rowBytes > (largest - headBytes) / height) return ERR_MEMORY;
    const std::uint64_t imageBytes = rowBytes * height;

    void* block = allocateBlock(headBytes + (dibSection ? 0 : imageBytes));
    if (!block) return ERR_MEMORY;
    image->header = static_cast<BITMAPINFOHEADER*>(block);
    *image->header = {.biSize = sizeof(BITMAPINFOHEADER),
                      .biWidth = static_cast<LONG>(width),
                      .biHeight = static_cast<LONG>(height),
                      .biPlanes = 1,
                      .biBitCount = static_cast<WORD>(bits),
                      .biCompression = BI_RGB,
                      .biSizeImage = static_cast<DWORD>(imageBytes),
                      .biXPelsPerMeter = 0,
                      .biYPelsPerMeter = 0,
                      .biClrUsed = colours,
                      .biClrImportant = colours};
    image->palette = paletteBehind(image->header);
    CreateDefaultPalette_(image);
    image->bits = static_cast<unsigned char*>(block) + headBytes;
    if (dibSection && createDibSection(image) != 0) {
        freeBlock(block);
        *image = {};
        return ERR_MEMORY;
    }
    image->rowbytes = static_cast<UINT>(rowBytes);
    image->right = width - 1;
    image->bottom = height - 1;
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI allocimage(imgdes* image, UINT width, UINT height, UINT bits) {
    return allocate(image, width, height, bits, library.useDibSections);
}

extern "C" int ORNAPI allocDIB(imgdes* image, UINT width, UINT height, UINT bits) {
    return allocate(image, width, height, bits, false);
}

extern "C" void ORNAPI freeimage(imgdes* image) {
    if (!image) return;
    const UINT headBytes =
        sizeof(BITMAPINFOHEADER) + static_cast<UINT>(image->palcolors) * static_cast<UINT>(sizeof(RGBQUAD));
    if (IsBadReadPtr(image->header, headBytes)) return;
    if (image->hbitmap) {
        freeBlock(image->header);
        DeleteObject(image->hbitmap);
    } else if (!IsBadReadPtr(image->header, image->header->biSizeImage)) {
        freeBlock(image->header);
    }
    *image = {};
}

extern "C" void ORNAPI zeroimgdes(imgdes* image) {
    *image = {};
}

extern "C" void ORNAPI copyimgdes(const imgdes* source, imgdes* destination) {
    *destination = *source;
}

extern "C" int ORNAPI setupimgdes(BITMAPINFOHEADER* header, imgdes* image) {
    *image = {};
    image->header = header;
    if (header->biBitCount == 4) return ERR_BITS;
    if (header->biCompression != BI_RGB) return ERR_COMPRESSED;
    const unsigned colours = colourCount(*header);
    image->palette = paletteBehind(header);
    image->bits = reinterpret_cast<unsigned char*>(image->palette + colours);
    image->palcolors = static_cast<int>(colours);
    image->right = static_cast<UINT>(header->biWidth) - 1;
    image->bottom = static_cast<UINT>(header->biHeight) - 1;
    image->rowbytes = static_cast<UINT>(bytesPerRow(static_cast<UINT>(header->biWidth), header->biBitCount));
    return 0;
}

extern "C" void ORNAPI setimagearea(imgdes* image, UINT left, UINT top, UINT right, UINT bottom) {
    image->left = left;
    image->top = top;
    image->right = right;
    image->bottom = bottom;
}

extern "C" void ORNAPI imageareatorect(const imgdes* image, RECT* rect) {
    *rect = {static_cast<LONG>(image->left), static_cast<LONG>(image->top), static_cast<LONG>(image->right),
             static_cast<LONG>(image->bottom)};
}

extern "C" void ORNAPI recttoimagearea(const RECT* rect, imgdes* image) {
    setimagearea(image, static_cast<UINT>(rect->left), static_cast<UINT>(rect->top),
                 static_cast<UINT>(rect->right), static_cast<UINT>(rect->bottom));
}
