// Pictures for the tests of image operations, their pixels as plain numbers, and the way to try an operation
// on any areas of two images or of one.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/memory_watch.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"

namespace test {

// Pixels, row by row: levels, indices, or blue | green << 8 | red << 16.
struct Grid {
    int width = 0, height = 0;
    std::vector<unsigned> pixels;

    Grid() = default;
    template <class Make>
    Grid(int w, int h, Make make) : width(w), height(h) {
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) pixels.push_back(unsigned(make(x, y)));
    }
    unsigned& at(int x, int y) { return pixels[std::size_t(y * width + x)]; }
    unsigned at(int x, int y) const { return pixels[std::size_t(y * width + x)]; }
};

// Channel 0 is blue, 1 green, 2 red.
inline int channel(unsigned pixel, int c) {
    return int(pixel >> 8 * c & 255);
}
template <class Make>
unsigned byChannel(Make make) {
    return unsigned(make(0)) | unsigned(make(1)) << 8 | unsigned(make(2)) << 16;
}

inline std::vector<unsigned> paletteColours(const imgdes& image, unsigned count = 256) {
    std::vector<unsigned> colours;
    for (const RGBQUAD* c = image.palette; c < image.palette + count; c++)
        colours.push_back(unsigned(c->rgbBlue | c->rgbGreen << 8 | c->rgbRed << 16));
    return colours;
}

inline std::vector<std::uint8_t> paletteBytes(const imgdes& image) {
    const auto* const entries = reinterpret_cast<const std::uint8_t*>(image.palette);
    return {entries, entries + 1024};
}

// Pixels of the picture where its area begins.
inline Grid areaPixels(const TestImage& image, int width, int height) {
    return {width, height, [&](int x, int y) { return image.areaPixel(x, y); }};
}
inline Grid wholePicture(const TestImage& image) {
    return {image.width(), image.height(), [&](int x, int y) { return image.pixel(x, y); }};
}

// The colours of an image's pixels: of 8 bits those in the palette.
inline Grid coloursOf(const TestImage& image, Grid grid) {
    if (image.bitsPerPixel() == 8)
        for (const auto palette = paletteColours(image.image); unsigned& pixel : grid.pixels)
            pixel = palette[pixel];
    return grid;
}

// Puts pixels at the area's top-left corner, beyond the area as well.
inline void put(TestImage& image, const Grid& grid) {
    for (int y = 0; y < grid.height; y++)
        for (int x = 0; x < grid.width; x++)
            image.setPixel(int(image->left) + x, int(image->top) + y, grid.at(x, y));
}

// The ordered matrix of all dithers.
constexpr int ditherMatrix[8][8] = {{0, 38, 9, 47, 2, 40, 11, 50},  {25, 12, 35, 22, 27, 15, 37, 24},
                                    {6, 44, 3, 41, 8, 47, 5, 43},   {31, 19, 28, 15, 34, 21, 31, 18},
                                    {1, 39, 11, 49, 0, 39, 10, 48}, {27, 14, 36, 23, 26, 13, 35, 23},
                                    {7, 46, 4, 43, 7, 45, 3, 42},   {33, 20, 30, 17, 32, 19, 29, 16}};

// Error diffusion over a whole picture that is kept in levels of 0 to 255. choose(pixel) says which index
// a pixel gets and the colour that it shows then; shareOf(error, weight) what a neighbour has to bear.
struct Choice {
    unsigned index, shown;
};
struct Share {
    int dx, dy, weight;
};
template <class Choose, class ShareOf>
Grid diffuse(Grid picture, const std::vector<Share>& shares, Choose choose, ShareOf shareOf) {
    const auto chosen = [&](int x, int y) {
        const unsigned pixel = picture.at(x, y);
        const Choice choice = choose(pixel);
        for (const Share& share : shares) {
            if (x + share.dx < 0 || x + share.dx >= picture.width || y + share.dy >= picture.height) continue;
            unsigned& neighbour = picture.at(x + share.dx, y + share.dy);
            neighbour = byChannel([&](int c) {
                const int error = channel(pixel, c) - channel(choice.shown, c);
                return std::clamp(channel(neighbour, c) + shareOf(error, share.weight), 0, 255);
            });
        }
        return choice.index;
    };
    return {picture.width, picture.height, chosen};
}
template <class Choose>
Grid diffuseInSixteenths(const Grid& picture, Choose choose) {
    return diffuse(picture, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}, choose,
                   [](int error, int weight) { return int(std::floor(error * weight / 16.0)); });
}

// Noise, few colours, few greys, colours of equal brightness, slow gradients with a little noise: what
// photographs, drawings and half-finished programs hand over.
inline void paint(TestImage& image, Random& random) {
    enum { noise, colours, greys, ties, gradients };
    constexpr int edges[] = {0, 1, 2, 127, 128, 254, 255};
    const auto level = [&](int = 0) { return int(random.oneIn(3) ? edges[random.below(7)] : random.byte()); };
    image.randomise(random);
    const unsigned kind = random.below(5), density = random.below(9);
    if (kind == noise) return;
    std::vector<unsigned> few(1 + random.below(12));
    for (unsigned& pixel : few) {
        pixel = kind == greys ? unsigned(level()) * 0x010101u : byChannel(level);
        if (kind == ties) pixel = (36 + random.below(30)) << 16 | random.below(200) << 8 | random.below(30);
    }
    const double slope[3] = {random.between(-40, 40) / 16.0, random.between(-40, 40) / 16.0,
                             random.between(-40, 40) / 16.0};
    const int start = level(), most = random.between(0, 12);
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++) {
            unsigned pixel = few[random.below(unsigned(few.size()))];
            const unsigned shift = random.below(7);
            if (kind == ties)  // 11 more blue and 1 more green make up for 6 less red
                pixel += shift * 11 + (shift << 8) - (shift * 6 << 16);
            if (kind == gradients)
                pixel = byChannel([&](int c) {
                    const double wave = slope[c] * x + slope[(c + 1) % 3] * y + 30 * std::sin(x * 0.1 * c);
                    return std::clamp(start + int(wave) + random.between(-most, most), 0, 255);
                });
            image.setPixel(x, y, image.bitsPerPixel() == 1 ? random.below(8) < density : pixel);
        }
}

// A random palette in use, if there is any: any colours, close ones, ones that repeat, greys, or colours on
// one channel only.
inline void paintPalette(TestImage& image, Random& random) {
    if (image.bitsPerPixel() != 8) return;
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

// How many rows an operation has read above and below the one that it writes: of the area's first and last
// row, the last one anew each time. Without rows above, all from the area's top count.
struct Reach {
    int above, below;
};

// Two pictures of random sizes with random areas: painted, with palettes in use where there are any. Or two
// areas of one picture, often the same.
struct Pair {
    const MemoryWatch watch;  // the pixels end at unreadable pages
    TestImage source, destination;

    Pair(Random& random, unsigned sourceBits, unsigned destinationBits, unsigned width, unsigned height)
        : source(1 + random.below(width), 1 + random.below(height), sourceBits),
          destination(1 + random.below(width), 1 + random.below(height), destinationBits),
          own_(destination.image) {
        for (TestImage* image : {&source, &destination}) {
            paint(*image, random);
            paintPalette(*image, random);
            image->randomArea(random);
        }
    }
    ~Pair() { destination.image = own_; }

    void makeOne(Random& random) {
        destination.image = source.image;
        if (random.oneIn(3))
            destination.randomArea(random);
        else if (random.oneIn(2))  // a few rows further down
            destination->top = std::min(destination->top + 1 + random.below(3), destination->bottom);
    }
    bool isOne() const { return destination.image.bits == source.image.bits; }

    // What both areas have.
    int width() const { return std::min(source.areaWidth(), destination.areaWidth()); }
    int height() const { return std::min(source.areaHeight(), destination.areaHeight()); }
    Grid pixels() const { return areaPixels(source, width(), height()); }
    Grid colours() const { return coloursOf(source, pixels()); }

    // Whether run(source, destination) returns the code, puts the pixels wanted at the top-left of the
    // destination's area, and changes no other pixel and nothing of the source.
    template <class Run>
    testing::AssertionResult becomes(Run run, const Grid& wanted, int code = 0) {
        return tryOut(run, code, [&] { put(destination, wanted); });
    }
    // The same with what plain(rows) makes of the rows that have been read when a row is written, and which
    // are others if the areas overlap.
    template <class Run, class Plain>
    testing::AssertionResult becomes(Run run, Plain plain, Reach reach) {
        return tryOut(run, 0, [&] { putRowByRow(plain, reach); });
    }

 private:
    template <class Run, class Put>
    testing::AssertionResult tryOut(Run run, int code, Put putWanted) {
        const auto before = destination.bytes(), sourceBefore = source.bytes();
        putWanted();
        const auto wanted = destination.bytes();
        std::copy(before.begin(), before.end(), destination->bits);
        const imgdes record = source.image;
        const int blocks = watch.live(), have = run(source, destination);
        auto failure = testing::AssertionFailure() << source.describe() << " to " << destination.describe();
        if (have != code) return failure << ": code " << have << " instead of " << code;
        if (watch.live() != blocks) return failure << ": a leak";
        if (const auto after = destination.bytes(); after != wanted) {
            const auto at = std::mismatch(after.begin(), after.end(), wanted.begin());
            return failure << ": " << int{*at.first} << " instead of " << int{*at.second} << " at byte "
                           << at.first - after.begin();
        }
        if (std::memcmp(&record, &source.image, sizeof record) != 0) return failure << ": another record";
        if (!isOne() && source.bytes() != sourceBefore) return failure << ": another source";
        return testing::AssertionSuccess();
    }

    template <class Plain>
    void putRowByRow(Plain plain, Reach reach) {
        const int w = width(), h = height(), around = reach.above + reach.below;
        Grid read;
        read.width = w;
        const auto readTo = [&](int rows) {
            for (; read.height < rows; read.height++)
                for (int x = 0; x < w; x++)
                    read.pixels.push_back(
                        source.areaPixel(x, std::clamp(read.height - reach.above, 0, h - 1)));
        };
        for (int y = 0; y < h; y++) {
            readTo(isOne() ? y + 1 + around : h + around);
            const int first = isOne() && reach.above ? y : 0;
            Grid made =
                plain({w, read.height - first, [&](int x, int row) { return read.at(x, first + row); }});
            if (!isOne()) {  // all at once, as nothing is written where it has yet to be read
                made.height = h;
                return put(destination, made);
            }
            for (int x = 0; x < w; x++)
                destination.setPixel(int(destination->left) + x, int(destination->top) + y,
                                     made.at(x, y - first));
        }
    }

    const imgdes own_;  // the destination's own, to be freed
};

}  // namespace test
