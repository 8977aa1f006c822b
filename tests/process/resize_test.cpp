#include "process/resize.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace orn32;
using namespace test;

namespace {

using Grid = std::vector<std::vector<unsigned>>;

Grid area(const TestImage& image) {
    Grid grid(static_cast<std::size_t>(image.areaHeight()));
    for (int y = 0; y < image.areaHeight(); y++)
        for (int x = 0; x < image.areaWidth(); x++)
            grid[std::size_t(y)].push_back(image.pixel(int(image.image.left) + x, int(image.image.top) + y));
    return grid;
}

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

unsigned channel(unsigned pixel, unsigned c) {
    return pixel >> 8 * c & 0xFF;
}

Grid smoothed(const Grid& from, unsigned width, unsigned height) {
    const long long sw = static_cast<long long>(from[0].size()), sh = static_cast<long long>(from.size());
    const long long fx = sw * 32768 / width, fy = sh * 32768 / height;
    Grid to(height, std::vector<unsigned>(width));
    const auto at = [&](long long x, long long y, unsigned c) {
        return static_cast<long long>(
            channel(from[std::size_t(std::min(y, sh - 1))][std::size_t(std::min(x, sw - 1))], c));
    };
    for (unsigned i = 0; i < height; i++) {
        for (unsigned j = 0; j < width; j++) {
            const long long x = j * fx / 32768, y = i * fy / 32768;
            for (unsigned c = 0; c < 3; c++) {
                long long value;
                if (fx <= 32768 || fy <= 32768) {
                    const long long ax = j * fx % 32768, ay = i * fy % 32768;
                    const long long t = (at(x + 1, y, c) - at(x, y, c)) * ax + at(x, y, c) * 32768;
                    const long long b =
                        (at(x + 1, y + 1, c) - at(x, y + 1, c)) * ax + at(x, y + 1, c) * 32768;
                    // (b - t) / 32768 truncated toward zero is what adding 32767 to a negative difference
                    // gives
                    value = ((b - t) / 32768 * ay + t + 16384) >> 15;
                } else {
                    const auto side = [](long long f) {
                        return (f + (f >= 32769 && f <= 49152 ? 32767 : 16384)) / 32768;
                    };
                    long long sum = 0, n = 0;
                    for (long long yy = y; yy < std::min(sh, y + side(fy)); yy++)
                        for (long long xx = x; xx < std::min(sw, x + side(fx)); xx++)
                            sum += at(xx, yy, c), n++;
                    value = sum / n;
                }
                to[i][j] |= static_cast<unsigned>(value) << 8 * c;
            }
        }
    }
    return to;
}

}  // namespace

TEST(Resize, SamplingMasksOfTheWorkedExamples) {
    EXPECT_EQ(sampledPlaces(3, 5), (std::vector<unsigned>{0, 1, 1, 2, 2}));
    EXPECT_EQ(sampledPlaces(5, 3), (std::vector<unsigned>{0, 1, 3}));
    TestImage three(3, 1, 8), five(5, 1, 8);
    for (int x = 0; x < 3; x++) three.setPixel(x, 0, unsigned(10 + x));
    ASSERT_EQ(resizeimage_(three, five, 0), 0);
    EXPECT_EQ(area(five), (Grid{{10, 11, 11, 12, 12}}));
    ASSERT_EQ(resizeimage_(five, three, 0), 0);
    EXPECT_EQ(area(three), (Grid{{10, 11, 12}}));
}

TEST(Resize, AgreesWithThePlainVersionOverRandomAreas) {
    Random random(31);
    for (int round = 0; round < 2500; round++) {
        const MemoryWatch watch;
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        const int mode = random.between(0, 1);
        TestImage from(1 + random.below(50), 1 + random.below(40), bits);
        TestImage to(1 + random.below(50), 1 + random.below(40), bits);
        from.randomise(random);
        to.randomise(random);
        from.randomArea(random);
        to.randomArea(random);
        const Grid source = area(from);
        TestImage before(unsigned(to.width()), unsigned(to.height()), bits);
        std::memcpy(before->bits, to->bits, to->header->biSizeImage);

        ASSERT_EQ(resizeimage_(from, to, mode), 0);
        const unsigned w = unsigned(to.areaWidth()), h = unsigned(to.areaHeight());
        Grid expected;
        if (source.size() == h && source[0].size() == w) {
            expected = source;
        } else if (mode == 0 || bits == 1) {
            for (const unsigned y : sampledPlaces(unsigned(source.size()), h)) {
                expected.emplace_back();
                for (const unsigned x : sampledPlaces(unsigned(source[0].size()), w))
                    expected.back().push_back(source[y][x]);
            }
        } else {
            expected = smoothed(source, w, h);
        }
        ASSERT_EQ(area(to), expected) << from.describe() << " to " << to.describe() << " mode " << mode;
        for (int y = 0; y < to.height(); y++)
            for (int x = 0; x < to.width(); x++)
                if (x < int(to->left) || x > int(to->right) || y < int(to->top) || y > int(to->bottom)) {
                    ASSERT_EQ(to.pixel(x, y), before.pixel(x, y)) << "outside, " << to.describe();
                }
    }
}

TEST(Resize, OverlappingAreasAreScaledAsIfFromACopy) {
    Random random(32);
    for (int round = 0; round < 1500; round++) {
        const unsigned bits = std::array{1u, 8u, 24u}[random.below(3)];
        const int mode = random.between(0, 1);
        TestImage image(1 + random.below(40), 1 + random.below(30), bits);
        image.randomise(random);
        TestImage copy(unsigned(image.width()), unsigned(image.height()), bits);
        std::memcpy(copy->bits, image->bits, image->header->biSizeImage);
        image.randomArea(random);
        imgdes from = image.image;
        image.randomArea(random);
        imgdes separate = copy.image;
        setimagearea(&separate, from.left, from.top, from.right, from.bottom);
        TestImage expected(unsigned(image.width()), unsigned(image.height()), bits);
        std::memcpy(expected->bits, image->bits, image->header->biSizeImage);
        setimagearea(expected, image->left, image->top, image->right, image->bottom);
        ASSERT_EQ(resizeimage_(&separate, expected, mode), 0);
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
    EXPECT_EQ(area(to), Grid(4, {48, 48, 3, 3}));
}

TEST(Resize, ChecksDepthsAndAreas) {
    TestImage eight(8, 8, 8), true24(8, 8, 24), small(3, 3, 8);
    EXPECT_EQ(resizeimage_(eight, true24, 0), ERR_BITS);
    eight->right = ~0u;
    EXPECT_EQ(resizeimage_(eight, small, 1), ERR_RANGE);  // an empty area
    eight->right = 8;
    EXPECT_EQ(resizeimage_(eight, small, 1), ERR_RANGE);
}
