// Images for tests: packed DIBs or DIB sections that free themselves, pixels by picture coordinates.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "orn32.h"
#include "tests/support/random.h"

namespace test {

struct Colour {
    std::uint8_t blue, green, red;
    bool operator==(const Colour&) const = default;
};

class TestImage {
 public:
    TestImage(unsigned width, unsigned height, unsigned bits, bool dibSection = false) {
        code_ = dibSection ? allocimage(&image, width, height, bits) : allocDIB(&image, width, height, bits);
    }
    // Of a random size up to the given one, with random pixels and a random area.
    TestImage(Random& random, unsigned width, unsigned height, unsigned bits, bool dibSection = false)
        : TestImage{1 + random.below(width), 1 + random.below(height), bits, dibSection} {
        randomise(random);
        randomArea(random);
    }
    ~TestImage() {
        if (code_ == 0) freeimage(&image);
    }
    // A packed DIB with the same pixels, colours and area.
    explicit TestImage(const TestImage& other)
        : TestImage(static_cast<unsigned>(other.width()), static_cast<unsigned>(other.height()),
                    other.bitsPerPixel()) {
        std::memcpy(image.bits, other.image.bits, image.header->biSizeImage);
        std::copy_n(other.image.palette, image.palcolors, image.palette);
        image.left = other.image.left, image.top = other.image.top;
        image.right = other.image.right, image.bottom = other.image.bottom;
    }
    TestImage& operator=(const TestImage&) = delete;

    operator imgdes*() { return &image; }
    imgdes* operator->() { return &image; }

    int width() const { return static_cast<int>(image.header->biWidth); }
    int height() const { return static_cast<int>(image.header->biHeight); }
    unsigned bitsPerPixel() const { return image.header->biBitCount; }

    std::uint8_t* row(int y) const {
        return image.bits + image.rowbytes * static_cast<unsigned>(height() - 1 - y);
    }

    // A pixel as a number: bit, index, 16-bit grey, or blue | green << 8 | red << 16.
    unsigned pixel(int x, int y) const {
        const std::uint8_t* p = row(y);
        const int bytes = static_cast<int>(bitsPerPixel()) / 8;
        if (bytes == 0) return p[x / 8] >> (7 - x % 8) & 1;
        unsigned value = 0;
        for (int i = 0; i < bytes; i++) value |= static_cast<unsigned>(p[x * bytes + i]) << 8 * i;
        return value;
    }
    void setPixel(int x, int y, unsigned value) {
        std::uint8_t* p = row(y);
        const int bytes = static_cast<int>(bitsPerPixel()) / 8, bit = 0x80 >> x % 8;
        if (bytes == 0) p[x / 8] = static_cast<std::uint8_t>(value ? p[x / 8] | bit : p[x / 8] & ~bit);
        for (int i = 0; i < bytes; i++) p[x * bytes + i] = static_cast<std::uint8_t>(value >> 8 * i);
    }

    // The same by the area's own coordinates.
    unsigned areaPixel(int x, int y) const {
        return pixel(static_cast<int>(image.left) + x, static_cast<int>(image.top) + y);
    }
    // Draws what the area has room for of a picture, whose pixels are pixel(x, y).
    template <class Pixel>
    void draw(int width, int height, Pixel pixel) {
        const int left = static_cast<int>(image.left), top = static_cast<int>(image.top);
        for (int y = 0; y < std::min(height, areaHeight()); y++)
            for (int x = 0; x < std::min(width, areaWidth()); x++) setPixel(left + x, top + y, pixel(x, y));
    }

    // Random bytes everywhere, row padding included.
    void randomise(Random& random) {
        for (unsigned i = 0; i < image.header->biSizeImage; i++) image.bits[i] = random.byte();
    }
    void randomisePalette(Random& random) {
        for (int i = 0; i < image.palcolors; i++)
            image.palette[i] = {random.byte(), random.byte(), random.byte(), 0};
        image.imgkind &= ~1u;
    }
    // A random area inside the picture.
    void randomArea(Random& random) {
        image.left = random.below(static_cast<unsigned>(width()));
        image.right = image.left + random.below(static_cast<unsigned>(width()) - image.left);
        image.top = random.below(static_cast<unsigned>(height()));
        image.bottom = image.top + random.below(static_cast<unsigned>(height()) - image.top);
    }
    // A colour as the DIB section itself has it.
    Colour sectionColour(unsigned index) const {
        RGBQUAD colour = {};
        const HDC context = CreateCompatibleDC(nullptr);
        const HGDIOBJ previous = SelectObject(context, image.hbitmap);
        GetDIBColorTable(context, index, 1, &colour);
        SelectObject(context, previous);
        DeleteDC(context);
        return {colour.rgbBlue, colour.rgbGreen, colour.rgbRed};
    }
    int areaWidth() const { return static_cast<int>(image.right - image.left) + 1; }
    int areaHeight() const { return static_cast<int>(image.bottom - image.top) + 1; }
    std::string describe() const {
        return std::to_string(width()) + "x" + std::to_string(height()) + "x" +
               std::to_string(bitsPerPixel()) + " area " + std::to_string(image.left) + "," +
               std::to_string(image.top) + "," + std::to_string(image.right) + "," +
               std::to_string(image.bottom);
    }
    // All bytes of the pixel rows, for comparing what must not change.
    std::vector<std::uint8_t> bytes() const { return {image.bits, image.bits + image.header->biSizeImage}; }

    imgdes image;

 private:
    int code_;
};

}  // namespace test
