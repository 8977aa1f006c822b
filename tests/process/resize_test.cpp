#include "process/resize.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace orn32;
using namespace test;

namespace {

using Pixels = Grid<unsigned>;

// Which source place each destination place takes, from the mask as it is described in words: m of the N
// places of the longer side are marked, the i-th where the running count m * (i + 1) passes a multiple of N.
std::vector<unsigned> sampledPlaces(unsigned from, unsigned to) {
    const unsigned n = std::max(from, to), m = std::min(from, to);
    std::vector<bool> marked(n);
    for (unsigned i = 0, sum = 0, threshold = 0; i < n; i++) {
        sum += m;
        if (sum > threshold) marked[i] = true, threshold += n;
    }
    std::vector<unsigned> places;
    unsigned taken = 0;
    for (unsigned i = 0; i < n; i++) {
        if (to >= from) {
            if (marked[i]) taken++;
            places.push_back(taken - 1);
        } else if (marked[i]) {
            places.push_back(i);
        }
    }
    return places;
}

Pixels sampled(const Pixels& from, int width, int height) {
    const auto columns = sampledPlaces(unsigned(from.width), unsigned(width));
    const auto rows = sampledPlaces(unsigned(from.height), unsigned(height));
    Pixels to(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            to.at(x, y) = from.at(int(columns[std::size_t(x)]), int(rows[std::size_t(y)]));
    return to;
}

// One channel, with positions in steps of 1 / 32768.
unsigned smoothedChannel(const Pixels& from, int shift, long long x, long long y, long long fx,
                         long long fy) {
    const long long px = x * fx / 32768, py = y * fy / 32768;
    const auto at = [&](long long column, long long row) {
        const unsigned pixel = from.at(int(std::min<long long>(column, from.width - 1)),
                                       int(std::min<long long>(row, from.height - 1)));
        return static_cast<long long>(pixel >> shift & 255);
    };
    if (fx <= 32768 || fy <= 32768) {
        const long long ax = x * fx % 32768, ay = y * fy % 32768;
        const auto between = [&](long long row) {
            return (at(px + 1, row) - at(px, row)) * ax + at(px, row) * 32768;
        };
        const long long top = between(py), bottom = between(py + 1);
        // The difference is truncated toward zero, as adding 32767 to a negative one gives.
        return unsigned(((bottom - top) / 32768 * ay + top + 16384) >> 15);
    }
    const auto side = [](long long f) { return (f + (f >= 32769 && f <= 49152 ? 32767 : 16384)) / 32768; };
    long long sum = 0, n = 0;
    for (long long row = py; row < std::min<long long>(from.height, py + side(fy)); row++)
        for (long long column = px; column < std::min<long long>(from.width, px + side(fx)); column++)
            sum += at(column, row), n++;
    return unsigned(sum / n);
}

Pixels smoothed(const Pixels& from, int width, int height) {
    Pixels to(width, height);
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (int shift = 0; shift < 24; shift += 8)
                to.at(x, y) |= smoothedChannel(from, shift, x, y, from.width * 32768LL / width,
                                               from.height * 32768LL / height)
                               << shift;
    return to;
}

}  // namespace

TEST(Resize, SamplingMasksOfTheWorkedExamples) {
    EXPECT_EQ(sampledPlaces(3, 5), (std::vector<unsigned>{0, 1, 1, 2, 2}));
    EXPECT_EQ(sampledPlaces(5, 3), (std::vector<unsigned>{0, 1, 3}));
}

TEST(Resize, AgreesWithThePlainVersionOverRandomAreas) {
    Random random(31);
    for (int round = 0; round < 2500; round++) {
        const MemoryWatch watch;
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        const int mode = random.between(0, 1);
        auto [from, to] = Pair(random, bits, bits, 50, 40);
        const int width = to.areaWidth(), height = to.areaHeight();
        const Pixels source = commonPixels(from, from);
        const bool isSmooth = mode == 1 && bits > 1 && (source.width != width || source.height != height);
        const auto expected = bytesWith(to, (isSmooth ? smoothed : sampled)(source, width, height));
        from->imgkind = 1;  // levels, whatever the palette
        ASSERT_EQ(resizeimage_(from, to, mode), 0);
        ASSERT_EQ(to.bytes(), expected) << describe(from, to) << " mode " << mode;
    }
}

TEST(Resize, OverlappingAreasAreScaledAsIfFromACopy) {
    Random random(32);
    for (int round = 0; round < 1500; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        const int mode = random.between(0, 1);
        TestImage image(1 + random.below(40), 1 + random.below(30), bits);
        image.randomise(random);
        TestImage copy(image), expected(image);
        image.randomArea(random);
        imgdes from = image.image;
        image.randomArea(random);
        setimagearea(copy, from.left, from.top, from.right, from.bottom);
        setimagearea(expected, image->left, image->top, image->right, image->bottom);
        ASSERT_EQ(resizeimage_(copy, expected, mode), 0);
        ASSERT_EQ(resizeimage_(&from, image, mode), 0);
        ASSERT_EQ(image.bytes(), expected.bytes()) << copy.describe() << " to " << image.describe();
    }
}

TEST(Resize, APaletteImageIsMixedInRgbAndMatchedToItsOwnPalette) {
    TestImage from(8, 8, 8), to(4, 4, 8);
    from->imgkind = 0;
    for (int i = 0; i < 256; i++)
        from->palette[i] = {BYTE(i % 4 * 85), BYTE(i / 4 % 4 * 85), BYTE(i / 16 % 4 * 85), 0};
    from->palcolors = 64;
    for (int y = 0; y < 8; y++)
        for (int x = 0; x < 8; x++) from.setPixel(x, y, unsigned(x < 4 ? 48 : 3));  // red, then blue
    ASSERT_EQ(resizeimage_(from, to, 1), 0);
    EXPECT_EQ(to->palcolors, 64);
    EXPECT_EQ(to->imgkind & 1, 0u);
    for (int x = 0; x < 4; x++) EXPECT_EQ(to.pixel(x, 3), x < 2 ? 48u : 3u);
}
