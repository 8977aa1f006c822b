// Dilation, erosion and medians against plain versions that look at one neighbourhood at a time.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <numeric>

#include "core/cpu.h"
#include "process/colour_median.h"
#include "process/filter_engine.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

using Neighbours = std::vector<unsigned>;  // pixel numbers, row by row from the top-left

int brightness(unsigned pixel) {
    return 11 * int(pixel & 255) + 59 * int(pixel >> 8 & 255) + 30 * int(pixel >> 16);
}

int keyOf(unsigned bits, unsigned pixel) {
    return bits == 24 ? brightness(pixel) : int(pixel);
}

// The sum of the neighbours' keys.
int sumOf(unsigned bits, const Neighbours& around) {
    int sum = 0;
    for (const unsigned pixel : around) sum += keyOf(bits, pixel);
    return bits == 24 ? sum / 100 : sum;
}

unsigned plainDilate(unsigned bits, int amount, const Neighbours& around) {
    const unsigned centre = around[4];
    const int sum = sumOf(bits, around);
    if (bits == 1) return centre && (sum == 9 || sum > 9 * amount / 255);
    unsigned darkest = around[0];  // the first of several
    for (const unsigned pixel : around)
        if (keyOf(bits, pixel) < keyOf(bits, darkest)) darkest = pixel;
    return sum > 9 * amount ? centre : darkest;
}

unsigned plainErode(unsigned bits, int amount, const Neighbours& around) {
    const unsigned centre = around[4];
    const int sum = sumOf(bits, around);
    if (bits == 1) return centre || sum > 9 * (255 - amount) / 255;
    unsigned brightest = around[0];  // the last of several
    for (const unsigned pixel : around)
        if (keyOf(bits, pixel) >= keyOf(bits, brightest)) brightest = pixel;
    return sum < 9 * (255 - amount) ? centre : brightest;
}

// Selection in place, written from its description: keys and the places that they came from in two arrays.
unsigned plainMedian(unsigned bits, int, const Neighbours& around) {
    const int n = int(around.size());
    std::vector<int> key, place;
    for (int i = 0; i < n; i++) key.push_back(keyOf(bits, around[std::size_t(i)])), place.push_back(i);
    const auto exchange = [&](int a, int b) {
        std::swap(key[std::size_t(a)], key[std::size_t(b)]);
        std::swap(place[std::size_t(a)], place[std::size_t(b)]);
    };
    int lo = 0, hi = n - 1;
    while (hi > lo) {
        const int v = key[std::size_t(hi)];
        int i = lo - 1, j = hi;
        for (;;) {
            do i++;
            while (key[std::size_t(i)] < v);
            do j--;
            while (j > lo && key[std::size_t(j)] > v);
            if (j <= i) break;
            exchange(i, j);
        }
        exchange(i, hi);
        if (i >= n / 2) hi = i - 1;
        if (i <= n / 2) lo = i + 1;
    }
    return around[std::size_t(place[std::size_t(n / 2)])];
}

struct Filter {
    const char* name;
    int(ORNAPI* run)(int, imgdes*, imgdes*);
    unsigned (*plain)(unsigned bits, int argument, const Neighbours&);
    bool isMedian;

    int size(int argument) const { return isMedian && run == medianfilter ? (argument - 1) | 1 : 3; }
    int anyArgument(Random& random) const {
        if (isMedian) return random.between(3, 11);
        return random.oneIn(4) ? int(random.below(2)) * 255 : random.byte();
    }
    unsigned anyDepth(Random& random) const {
        return isMedian ? std::array{8u, 24u}[random.below(2)] : std::array{1u, 8u, 24u}[random.below(3)];
    }
};

// The smallest median, whatever the argument.
int ORNAPI removeNoise(int, imgdes* source, imgdes* destination) {
    return removenoise(source, destination);
}

const Filter filters[] = {{"dilate", dilate, plainDilate, false},
                          {"erode", erode, plainErode, false},
                          {"medianfilter", medianfilter, plainMedian, true},
                          {"removenoise", removeNoise, plainMedian, true}};

// Noise, few values, and colours of few brightnesses: 11 more blue and 1 more green make up for 6 less red.
void paintTies(TestImage& image, Random& random) {
    image.randomise(random);
    const unsigned kind = random.below(5);
    if (kind == 0) return;
    std::vector<unsigned> values;
    for (unsigned i = 0, n = 1 + random.below(6); i < n; i++) {
        const unsigned base = random.below(30) << 16 | random.below(200) << 8 | random.below(30);
        values.push_back(kind == 1 ? random.next() & 0xFFFFFF : base + (36 << 16));
    }
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++) {
            unsigned pixel = values[random.below(unsigned(values.size()))];
            const unsigned shift = random.below(7);
            if (kind >= 3) pixel += shift * 11 + (shift << 8) - (shift * 6 << 16);
            image.setPixel(x, y, image.bitsPerPixel() == 1 ? !random.oneIn(kind * kind + 1) : pixel);
        }
}

Grid<unsigned> filtered(const Filter& filter, int argument, const TestImage& source, int width, int height) {
    Grid<unsigned> result(width, height);
    const int radius = filter.size(argument) / 2;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            Neighbours around;
            for (int dy = -radius; dy <= radius; dy++)
                for (int dx = -radius; dx <= radius; dx++)
                    around.push_back(source.pixel(int(source.image.left) + std::clamp(x + dx, 0, width - 1),
                                                  int(source.image.top) + std::clamp(y + dy, 0, height - 1)));
            result.at(x, y) = filter.plain(source.bitsPerPixel(), argument, around);
        }
    return result;
}

}  // namespace

class Filters : public testing::TestWithParam<Filter> {};
INSTANTIATE_TEST_SUITE_P(All, Filters, testing::ValuesIn(filters),
                         [](const auto& info) { return info.param.name; });

TEST_P(Filters, AgreeWithThePlainVersionOverRandomAreas) {
    const Filter& filter = GetParam();
    Random random(71);
    for (int round = 0; round < 4000; round++) {
        const MemoryWatch watch;
        const unsigned bits = filter.anyDepth(random);
        const unsigned extra = random.oneIn(50) ? 500 : 0;  // rows are worked on in parts
        auto [source, destination] = Pair(random, bits, bits, 55 + extra, 35);
        paintTies(source, random);
        source->imgkind = 1;
        const int argument = filter.anyArgument(random);
        const int width = commonWidth(source, destination), height = commonHeight(source, destination);
        const auto what = testing::Message() << describe(source, destination) << " argument " << argument;
        if (filter.size(argument) > std::min(width, height)) {
            const auto before = destination.bytes();
            ASSERT_EQ(filter.run(argument, source, destination), ERR_RANGE) << what;
            ASSERT_EQ(destination.bytes(), before);
            continue;
        }
        const auto expected = bytesWith(destination, filtered(filter, argument, source, width, height));
        const auto sourceBytes = source.bytes();
        ASSERT_EQ(filter.run(argument, source, destination), 0) << what;
        ASSERT_EQ(destination.bytes(), expected) << what;
        ASSERT_EQ(source.bytes(), sourceBytes) << what;
    }
}

// The area in its place or moved within one image: rows are read and written in a fixed order, also the
// bottom row, which is read again for the last rows.
TEST_P(Filters, OverlappingAreasAreReadAndWrittenInTheOrderOfRows) {
    const Filter& filter = GetParam();
    Random random(73);
    for (int round = 0; round < 200; round++) {
        const unsigned bits = filter.anyDepth(random);
        TestImage image(30, 30, bits);
        paintTies(image, random);
        TestImage copy(image);
        const int argument = filter.isMedian ? random.between(3, 7) : filter.anyArgument(random);
        const int k = filter.size(argument), radius = k / 2, width = 12 + random.between(0, 5), height = 15;
        const int left = random.between(0, 9), top = random.between(0, 9);
        const bool isInPlace = random.oneIn(4);
        const int toLeft = isInPlace ? left : random.between(0, 9),
                  toTop = isInPlace ? top : random.between(0, 9);
        imgdes from = image.image, to = image.image;
        setimagearea(&from, UINT(left), UINT(top), UINT(left + width - 1), UINT(top + height - 1));
        setimagearea(&to, UINT(toLeft), UINT(toTop), UINT(toLeft + width - 1), UINT(toTop + height - 1));

        std::vector<std::vector<unsigned>> rows;  // as they were when they were read
        for (int pass = 0; pass < height + k - 1; pass++) {
            rows.emplace_back();
            for (int x = 0; x < width; x++)
                rows.back().push_back(copy.pixel(left + x, top + std::clamp(pass - radius, 0, height - 1)));
            for (int x = 0; pass >= k - 1 && x < width; x++) {
                Neighbours around;
                for (int y = pass - k + 1; y <= pass; y++)
                    for (int dx = -radius; dx <= radius; dx++)
                        around.push_back(rows[std::size_t(y)][std::size_t(std::clamp(x + dx, 0, width - 1))]);
                copy.setPixel(toLeft + x, toTop + pass - k + 1, filter.plain(bits, argument, around));
            }
        }
        ASSERT_EQ(filter.run(argument, &from, &to), 0);
        ASSERT_EQ(image.bytes(), copy.bytes()) << bits << " bits, argument " << argument << ", " << left
                                               << "," << top << " to " << toLeft << "," << toTop;
    }
}

// Both ways of working on rows, whatever this processor has.
TEST(Median, OfColoursIsTheSameWithAndWithoutAvx2) {
    struct Way {
        decltype(&orn32::splitColoursSse2) split;
        orn32::ColourMedians medians;
    };
    std::vector<Way> ways = {{orn32::splitColoursSse2, orn32::colourMediansSse2}};
    if (orn32::hasAvx2()) ways.push_back({orn32::splitColoursAvx2, orn32::colourMediansAvx2});
    Random random(80);
    for (const unsigned size : {3u, 5u, 7u, 9u, 11u}) {
        for (unsigned count = 1; count < 600; count += 1 + random.below(count < 50 ? 1 : 100)) {
            const unsigned columns = count + size - 1, room = (count + 15) / 16 * 16 + 16;
            TestImage image(columns, size, 24);
            paintTies(image, random);
            for (const Way& way : ways) {
                std::vector<std::int16_t> words(std::size_t{2} * room * size);
                std::vector<orn32::ColourRow> rows;
                for (unsigned y = 0; y < size; y++) {
                    std::int16_t* const row = &words[std::size_t{2} * room * y];
                    rows.push_back({row, reinterpret_cast<std::uint16_t*>(row + room)});
                    const std::uint8_t* const bgr = image.row(int(y));
                    const GuardedBytes pixels(std::vector(bgr, bgr + 3 * columns));
                    way.split(rows.back(), pixels.data(), columns);
                }
                std::vector<std::uint8_t> result(std::size_t{3} * room);
                way.medians(rows.data(), size, result.data(), count, {result.data(), result.data()});
                for (unsigned x = 0; x < count; x++) {
                    Neighbours around;
                    for (unsigned i = 0; i < size * size; i++)
                        around.push_back(image.pixel(int(x + i % size), int(i / size)));
                    const std::uint8_t* const bgr = &result[std::size_t{3} * x];
                    ASSERT_EQ(unsigned(bgr[0] | bgr[1] << 8 | bgr[2] << 16), plainMedian(24, 0, around))
                        << "size " << size << ", " << count << " columns, column " << x << ", way "
                        << &way - ways.data();
                }
            }
        }
    }
}

TEST(FilterEngine, TakesSizesFromThreeToSixtyThree) {
    struct Count {
        int* seen;
        bool prepare(unsigned, unsigned size) { return *seen = int(size), true; }
        void row(std::uint8_t* const*, std::uint8_t*, unsigned) {}
    };
    TestImage image(70, 70, 8);
    for (const auto& [k, size] : {std::pair{3, 3}, {4, 3}, {62, 61}, {63, 63}, {2, 0}, {-3, 0}, {64, 0}}) {
        int seen = 0;
        EXPECT_EQ(orn32::filterengine_<orn32::LevelFormat>(image.image, image.image, Count{&seen}, k),
                  size ? 0 : ERR_ARGUMENT);
        EXPECT_EQ(seen, size);
    }
}
