// Pictures for the tests of image operations, and their pixels as plain values.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/random.h"
#include "tests/support/test_image.h"

namespace test {

// The pixels of an area, row by row.
template <class T>
struct Grid {
    int width = 0, height = 0;
    std::vector<T> pixels;

    Grid(int w, int h) : width(w), height(h), pixels(std::size_t(w * h)) {}
    T& at(int x, int y) { return pixels[std::size_t(y * width + x)]; }
    const T& at(int x, int y) const { return pixels[std::size_t(y * width + x)]; }
};

inline Colour paletteColour(const imgdes& image, unsigned index) {
    const RGBQUAD& entry = image.palette[index];
    return {entry.rgbBlue, entry.rgbGreen, entry.rgbRed};
}

inline std::vector<Colour> paletteColours(const imgdes& image, unsigned count) {
    std::vector<Colour> colours;
    for (unsigned i = 0; i < count; i++) colours.push_back(paletteColour(image, i));
    return colours;
}

// The first entries of a DIB section's own colour table.
inline std::vector<Colour> sectionColours(const imgdes& image, unsigned count) {
    RGBQUAD table[256] = {};
    const HDC context = CreateCompatibleDC(nullptr);
    const HGDIOBJ previous = SelectObject(context, image.hbitmap);
    count = GetDIBColorTable(context, 0, count, table);
    SelectObject(context, previous);
    DeleteDC(context);
    std::vector<Colour> colours;
    for (unsigned i = 0; i < count; i++)
        colours.push_back({table[i].rgbBlue, table[i].rgbGreen, table[i].rgbRed});
    return colours;
}

// The colour of a pixel of the picture, through the palette where the image has 8 bits.
inline Colour colourAt(const TestImage& image, int x, int y) {
    const unsigned p = image.pixel(x, y);
    if (image.bitsPerPixel() == 8) return paletteColour(image.image, p);
    return {std::uint8_t(p), std::uint8_t(p >> 8), std::uint8_t(p >> 16)};
}

inline int commonWidth(const TestImage& a, const TestImage& b) {
    return std::min(a.areaWidth(), b.areaWidth());
}
inline int commonHeight(const TestImage& a, const TestImage& b) {
    return std::min(a.areaHeight(), b.areaHeight());
}

// A pixel as a number, counted from the area's top-left corner.
inline unsigned areaPixel(const TestImage& image, int x, int y) {
    return image.pixel(int(image.image.left) + x, int(image.image.top) + y);
}

// The colours of the picture where one area begins, as many as both areas have.
inline Grid<Colour> coloursAt(const TestImage& picture, const imgdes& from, const imgdes& to) {
    const UINT width = std::min(from.right - from.left, to.right - to.left) + 1;
    const UINT height = std::min(from.bottom - from.top, to.bottom - to.top) + 1;
    Grid<Colour> grid{int(width), int(height)};
    for (int y = 0; y < grid.height; y++)
        for (int x = 0; x < grid.width; x++)
            grid.at(x, y) = colourAt(picture, int(from.left) + x, int(from.top) + y);
    return grid;
}

// The colours of the source's part of the area that both have.
inline Grid<Colour> commonColours(const TestImage& source, const TestImage& destination) {
    return coloursAt(source, source.image, destination.image);
}

// The pixels, as numbers, of the source's part of the area that both have.
inline Grid<unsigned> commonPixels(const TestImage& source, const TestImage& destination) {
    Grid<unsigned> grid(commonWidth(source, destination), commonHeight(source, destination));
    for (int y = 0; y < grid.height; y++)
        for (int x = 0; x < grid.width; x++) grid.at(x, y) = areaPixel(source, x, y);
    return grid;
}

// The image's pixel bytes with the grid put at its area's top-left corner.
template <class T, class ToPixel = std::identity>
std::vector<std::uint8_t> bytesWith(TestImage& image, const Grid<T>& grid, ToPixel toPixel = {}) {
    const std::vector<std::uint8_t> before = image.bytes();
    for (int y = 0; y < grid.height; y++)
        for (int x = 0; x < grid.width; x++)
            image.setPixel(int(image->left) + x, int(image->top) + y, unsigned(toPixel(grid.at(x, y))));
    const std::vector<std::uint8_t> after = image.bytes();
    std::copy(before.begin(), before.end(), image->bits);
    return after;
}

// The ordered matrix of all dithers.
constexpr int ditherMatrix[8][8] = {{0, 38, 9, 47, 2, 40, 11, 50},  {25, 12, 35, 22, 27, 15, 37, 24},
                                    {6, 44, 3, 41, 8, 47, 5, 43},   {31, 19, 28, 15, 34, 21, 31, 18},
                                    {1, 39, 11, 49, 0, 39, 10, 48}, {27, 14, 36, 23, 26, 13, 35, 23},
                                    {7, 46, 4, 43, 7, 45, 3, 42},   {33, 20, 30, 17, 32, 19, 29, 16}};

// Noise, few colours, few greys, slow gradients with a little noise: what photographs, drawings and
// half-finished programs hand over.
inline void paint(TestImage& image, Random& random) {
    image.randomise(random);
    const unsigned kind = random.below(4);
    if (kind == 0 || image.bitsPerPixel() == 8) return;
    std::vector<unsigned> colours;
    for (unsigned i = 0, n = 1 + random.below(12); i < n; i++)
        colours.push_back(kind == 2 ? random.byte() * 0x010101u : random.next() & 0xFFFFFF);
    const double slope[3] = {random.between(-40, 40) / 16.0, random.between(-40, 40) / 16.0,
                             random.between(-40, 40) / 16.0};
    const int noise = random.between(0, 9), start = random.byte();
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++) {
            unsigned pixel = colours[random.below(unsigned(colours.size()))];
            if (kind == 3) {
                pixel = 0;
                for (int c = 0; c < 3; c++) {
                    const double level =
                        start + slope[c] * x + slope[(c + 1) % 3] * y + 30 * std::sin(x * 0.1 * c);
                    const int v = std::clamp(int(level) + random.between(0, noise), 0, 255);
                    pixel |= unsigned(v) << 8 * c;
                }
            }
            image.setPixel(x, y, pixel);
        }
}

// A random palette in use: any colours, close ones, ones that repeat, greys, or colours on one channel only.
inline void paintPalette(TestImage& image, Random& random) {
    image.randomisePalette(random);
    const unsigned kind = random.below(5);
    for (unsigned i = 0; i < 256; i++) {
        RGBQUAD& entry = image->palette[i];
        if (kind == 1)
            for (BYTE* c : {&entry.rgbBlue, &entry.rgbGreen, &entry.rgbRed}) *c = BYTE(100 + *c % 24);
        if (kind == 2 && i) entry = image->palette[random.below(i)];
        if (kind == 3) entry.rgbBlue = entry.rgbGreen = entry.rgbRed;
        if (kind == 4) entry.rgbBlue = entry.rgbRed = 77;
        entry.rgbReserved = random.byte();
    }
}

inline std::string describe(const TestImage& source, const TestImage& destination) {
    return source.describe() + " to " + destination.describe();
}

// Two pictures of random sizes with random areas: painted, with palettes in use where there are any.
struct Pair {
    TestImage source, destination;

    Pair(Random& random, unsigned sourceBits, unsigned destinationBits, unsigned width, unsigned height)
        : source(1 + random.below(width), 1 + random.below(height), sourceBits),
          destination(1 + random.below(width), 1 + random.below(height), destinationBits) {
        paint(source, random);
        destination.randomise(random);
        for (TestImage* image : {&source, &destination}) {
            if (image->bitsPerPixel() == 8) paintPalette(*image, random);
            image->randomArea(random);
        }
    }
};

// The 256 entries at an image's palette, as bytes.
inline std::vector<std::uint8_t> paletteBytes(const imgdes& image) {
    const auto* const entries = reinterpret_cast<const std::uint8_t*>(image.palette);
    return {entries, entries + 1024};
}

}  // namespace test
