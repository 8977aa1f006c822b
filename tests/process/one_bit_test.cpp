// Black and white from grey levels and back, against plain versions.
#include <gtest/gtest.h>

#include <array>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

Grid<int> greyLevels(const TestImage& source, const TestImage& destination) {
    const Grid<unsigned> indices = commonPixels(source, destination);
    Grid<int> levels(indices.width, indices.height);
    const bool isGrey = (source.image.imgkind & 1) || isgrayscaleimage(&source.image);
    for (std::size_t i = 0; i < levels.pixels.size(); i++) {
        const int index = int(indices.pixels[i]);
        const Colour c = paletteColour(source.image, indices.pixels[i]);
        const int grey = index < source.image.palcolors ? (30 * c.red + 59 * c.green + 11 * c.blue) / 100 : 0;
        levels.pixels[i] = isGrey ? index : grey;
    }
    return levels;
}

// The whole picture at once, in a frame that takes what falls off.
Grid<unsigned> plainStucki(const Grid<int>& picture) {
    const int w = picture.width, h = picture.height;
    Grid<int> values(w + 4, h + 2);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) values.at(x + 2, y) = picture.at(x, y);
    Grid<unsigned> result(w, h);
    constexpr int weights[3][5] = {{0, 0, 0, 8, 4}, {2, 4, 8, 4, 2}, {1, 2, 4, 2, 1}};
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            const int level = values.at(x + 2, y), error = level < 128 ? level : level - 255;
            result.at(x, y) = level > 127;
            for (int dy = 0; dy < 3; dy++)
                for (int dx = 0; dx < 5; dx++) {
                    if (!weights[dy][dx]) continue;
                    int& to = values.at(x + dx, y + dy);
                    to = std::clamp(to + error * weights[dy][dx] / 42, 0, 255);
                }
        }
    return result;
}

Grid<unsigned> plainBits(int mode, const Grid<int>& levels) {
    if (mode == 0) return plainStucki(levels);
    Grid<unsigned> result(levels.width, levels.height);
    for (int y = 0; y < levels.height; y++)
        for (int x = 0; x < levels.width; x++)
            result.at(x, y) =
                mode == 1 ? levels.at(x, y) > 5 * ditherMatrix[y % 8][x % 8] : levels.at(x, y) >= 128;
    return result;
}

// Noise, slow gradients, flat levels near the ends and the middle.
void paintLevels(TestImage& image, Random& random) {
    image.randomise(random);
    const unsigned kind = random.below(4);
    if (kind == 0) return;
    const int start = random.oneIn(2) ? random.between(120, 135) : random.byte();
    const int slope = random.between(-6, 6), noise = random.between(0, 20);
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++)
            image.setPixel(
                x, y,
                unsigned(std::clamp(start + (kind > 1 ? slope * x + y : 0) + random.between(-noise, noise), 0,
                                    255)));
}

}  // namespace

TEST(OneBit, FromLevelsAgreesWithThePlainVersionOverRandomAreas) {
    Random random(61);
    for (int round = 0; round < 3000; round++) {
        const MemoryWatch watch;
        const int mode = random.between(-1, 3);
        auto [source, destination] = Pair(random, 8, 1, 70, 30);
        for (unsigned i = 0; i < 256; i++) source->palette[i] = {BYTE(i), BYTE(i), BYTE(i), 0};
        source->imgkind = 1;
        paintLevels(source, random);
        if (random.oneIn(3)) {
            paintPalette(source, random);
            source->palcolors = random.between(1, 256);
        } else if (random.oneIn(3)) {
            source->imgkind = 4;  // not marked, but the grey ramp all the same
        }
        const auto expected = bytesWith(destination, plainBits(mode, greyLevels(source, destination)));
        destination->palette[0] = destination->palette[1] = {9, 9, 9, 9};
        destination->imgkind = 6;
        const imgdes record = source.image;
        ASSERT_EQ(convert8bitto1bit(mode, source, destination), 0);
        ASSERT_EQ(destination.bytes(), expected) << describe(source, destination) << " mode " << mode;
        ASSERT_EQ(isgrayscaleimage(destination), 1);
        ASSERT_EQ(destination->imgkind, 7u);
        ASSERT_EQ(std::memcmp(&record, &source.image, sizeof record), 0);
    }
}

TEST(OneBit, ToLevelsAgreesWithThePlainVersionOverRandomAreas) {
    constexpr unsigned smooth[8] = {0, 42, 170, 212, 42, 85, 212, 255};
    Random random(63);
    for (int round = 0; round < 3000; round++) {
        const MemoryWatch watch;
        const bool smoothing = random.oneIn(2);
        auto [source, destination] = Pair(random, 1, 8, 80, 20);
        source->palette[0] = {255, 255, 255, 0};  // the palette plays no part
        const Grid<unsigned> bits = commonPixels(source, destination);
        Grid<unsigned> levels(bits.width, bits.height);
        const int w = levels.width;
        for (int y = 0; y < levels.height; y++)
            for (int x = 0; x < w; x++) {
                const auto bit = [&](int i) { return bits.at(i, y); };
                levels.at(x, y) = smoothing && x > 0 && x < w - 1
                                      ? smooth[4 * bit(x - 1) + 2 * bit(x) + bit(x + 1)]
                                      : 255 * bit(x);
            }
        const auto before = destination.bytes(), expected = bytesWith(destination, levels);
        const int code =
            smoothing ? convert1bitto8bitsmooth(source, destination) : convert1bitto8bit(source, destination);
        const bool narrow = smoothing && w < 3;
        ASSERT_EQ(code, narrow ? ERR_RANGE : 0);
        ASSERT_EQ(destination.bytes(), narrow ? before : expected)
            << describe(source, destination) << smoothing;
        ASSERT_EQ(isgrayscaleimage(destination), !narrow);
    }
}
