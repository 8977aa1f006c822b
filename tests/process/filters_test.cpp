// Dilation, erosion and medians against plain versions that look at one neighbourhood at a time.
#include "core/cpu.h"
#include "process/colour_median.h"
#include "process/filter_engine.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

using Neighbours = std::vector<unsigned>;  // pixel numbers, row by row from the top-left

int keyOf(unsigned bits, unsigned pixel) {
    return bits == 24 ? 11 * channel(pixel, 0) + 59 * channel(pixel, 1) + 30 * channel(pixel, 2) : int(pixel);
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
    const auto key = [&](unsigned a, unsigned b) { return keyOf(bits, a) < keyOf(bits, b); };
    const unsigned darkest = *std::min_element(around.begin(), around.end(), key);  // the first of several
    return sum > 9 * amount ? centre : darkest;
}

unsigned plainErode(unsigned bits, int amount, const Neighbours& around) {
    const unsigned centre = around[4];
    const int sum = sumOf(bits, around);
    if (bits == 1) return centre || sum > 9 * (255 - amount) / 255;
    const auto key = [&](unsigned a, unsigned b) { return keyOf(bits, a) < keyOf(bits, b); };
    const unsigned brightest = *std::max_element(around.rbegin(), around.rend(), key);  // the last of several
    return sum < 9 * (255 - amount) ? centre : brightest;
}

// Selection in place, written from its description: exchanges of whole pixels by their keys.
unsigned plainMedian(unsigned bits, int, const Neighbours& around) {
    Neighbours list = around;
    const auto key = [&](int i) { return keyOf(bits, list[std::size_t(i)]); };
    const auto exchange = [&](int a, int b) { std::swap(list[std::size_t(a)], list[std::size_t(b)]); };
    const int middle = int(list.size()) / 2;
    for (int lo = 0, hi = int(list.size()) - 1; hi > lo;) {
        const int v = key(hi);
        int i = lo - 1, j = hi;
        for (;;) {
            do i++;
            while (key(i) < v);
            do j--;
            while (j > lo && key(j) > v);
            if (j <= i) break;
            exchange(i, j);
        }
        exchange(i, hi);
        if (i >= middle) hi = i - 1;
        if (i <= middle) lo = i + 1;
    }
    return list[std::size_t(middle)];
}

struct Filter {
    const char* name;
    int(ORNAPI* run)(int, imgdes*, imgdes*);
    unsigned (*plain)(unsigned bits, int argument, const Neighbours&);
    bool isMedian;

    int size(int argument) const { return run == medianfilter ? (argument - 1) | 1 : 3; }
};

// The smallest median, whatever the argument.
int ORNAPI removeNoise(int, imgdes* source, imgdes* destination) {
    return removenoise(source, destination);
}

const Filter filters[] = {{"dilate", dilate, plainDilate, false},
                          {"erode", erode, plainErode, false},
                          {"medianfilter", medianfilter, plainMedian, true},
                          {"removenoise", removeNoise, plainMedian, true}};

// The rows but for those at the top and bottom that are only looked at.
Grid filtered(const Filter& filter, int argument, unsigned bits, const Grid& rows) {
    const int radius = filter.size(argument) / 2;
    return {rows.width, rows.height - 2 * radius, [&](int x, int y) {
                Neighbours around;
                for (int row = y; row <= y + 2 * radius; row++)
                    for (int dx = -radius; dx <= radius; dx++)
                        around.push_back(rows.at(std::clamp(x + dx, 0, rows.width - 1), row));
                return filter.plain(bits, argument, around);
            }};
}

}  // namespace

class Filters : public testing::TestWithParam<Filter> {};
INSTANTIATE_TEST_SUITE_P(All, Filters, testing::ValuesIn(filters),
                         [](const auto& info) { return info.param.name; });

TEST_P(Filters, AgreeWithThePlainVersionOverRandomAreas) {
    const Filter& filter = GetParam();
    Random random(71);
    for (int round = 0; round < 4000; round++) {
        constexpr unsigned depths[] = {8, 24, 1};
        const unsigned bits = depths[random.below(filter.isMedian ? 2 : 3)];
        const unsigned extra = random.oneIn(50) ? 500 : 0;  // rows are worked on in parts
        Pair pair(random, bits, bits, 55 + extra, 35);
        if (!extra && random.oneIn(5)) pair.makeOne(random);
        pair.source->imgkind = 1;
        const int argument = filter.isMedian   ? random.between(3, 11)
                             : random.oneIn(4) ? int(random.below(2)) * 255
                                               : random.byte();
        const int size = filter.size(argument);
        const auto run = [&](imgdes* s, imgdes* d) { return filter.run(argument, s, d); };
        const auto plain = [&](const Grid& rows) { return filtered(filter, argument, bits, rows); };
        ASSERT_TRUE(size > std::min(pair.width(), pair.height())
                        ? pair.becomes(run, {}, ERR_RANGE)
                        : pair.becomes(run, plain, {size / 2, size / 2}))
            << "argument " << argument;
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
            paint(image, random);
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
                const GuardedBytes result(std::size_t{3} * count);
                way.medians(rows.data(), size, result.data(), count, {result.data(), result.data()});
                for (unsigned x = 0; x < count; x++) {
                    Neighbours around;
                    for (unsigned i = 0; i < size * size; i++)
                        around.push_back(image.pixel(int(x + i % size), int(i / size)));
                    const std::uint8_t* const bgr = result.data() + std::size_t{3} * x;
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
                  size ? 0 : ERR_ARGUMENT)
            << k;
        EXPECT_EQ(seen, size) << k;
    }
}
