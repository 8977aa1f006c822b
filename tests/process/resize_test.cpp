#include "process/resize.h"

#include "tests/process/plain_quantiser.h"

using namespace test;

namespace {

// Which source place each destination place takes, from the mask as it is described in words: m of the N
// places of the longer side are marked, the i-th where the running count m * (i + 1) passes a multiple of N.
std::vector<int> sampledPlaces(int from, int to) {
    const int n = std::max(from, to), m = std::min(from, to);
    std::vector<int> places;
    for (int i = 0, taken = 0; i < n; i++) {
        const bool isMarked = m * (i + 1) > n * taken;
        taken += isMarked;
        if (to >= from)
            places.push_back(taken - 1);
        else if (isMarked)
            places.push_back(i);
    }
    return places;
}

Grid sampled(const Grid& from, int width, int height) {
    const auto columns = sampledPlaces(from.width, width), rows = sampledPlaces(from.height, height);
    return {width, height,
            [&](int x, int y) { return from.at(columns[std::size_t(x)], rows[std::size_t(y)]); }};
}

// One channel, with positions in steps of 1 / 32768.
int smoothedChannel(const Grid& from, int c, std::int64_t x, std::int64_t y, std::int64_t fx,
                    std::int64_t fy) {
    const std::int64_t px = x * fx / 32768, py = y * fy / 32768;
    const auto at = [&](std::int64_t column, std::int64_t row) {
        return std::int64_t{channel(from.at(int(std::min<std::int64_t>(column, from.width - 1)),
                                            int(std::min<std::int64_t>(row, from.height - 1))),
                                    c)};
    };
    if (fx <= 32768 || fy <= 32768) {
        const std::int64_t ax = x * fx % 32768, ay = y * fy % 32768;
        const auto between = [&](std::int64_t row) {
            return (at(px + 1, row) - at(px, row)) * ax + at(px, row) * 32768;
        };
        const std::int64_t top = between(py), bottom = between(py + 1);
        // The difference is truncated toward zero, as adding 32767 to a negative one gives.
        return int(((bottom - top) / 32768 * ay + top + 16384) >> 15);
    }
    const auto side = [](std::int64_t f) { return (f + (f >= 32769 && f <= 49152 ? 32767 : 16384)) / 32768; };
    std::int64_t sum = 0, n = 0;
    for (std::int64_t row = py; row < std::min<std::int64_t>(from.height, py + side(fy)); row++)
        for (std::int64_t column = px; column < std::min<std::int64_t>(from.width, px + side(fx)); column++)
            sum += at(column, row), n++;
    return int(sum / n);
}

Grid smoothed(const Grid& from, int width, int height) {
    return {width, height, [&](int x, int y) {
                return byChannel([&](int c) {
                    return smoothedChannel(from, c, x, y, from.width * 32768LL / width,
                                           from.height * 32768LL / height);
                });
            }};
}

}  // namespace

TEST(Resize, SamplingMasksOfTheWorkedExamples) {
    EXPECT_EQ(sampledPlaces(3, 5), (std::vector{0, 1, 1, 2, 2}));
    EXPECT_EQ(sampledPlaces(5, 3), (std::vector{0, 1, 3}));
}

// Areas of one image are scaled as if from a copy. Indices of a colour palette are not mixed, but their
// colours, which are matched to the palette again.
TEST(Resize, AgreesWithThePlainVersionOverRandomAreas) {
    Random random(31);
    for (int round = 0; round < 4000; round++) {
        constexpr unsigned depths[] = {1, 8, 24};
        const unsigned bits = depths[random.below(3)];
        const int mode = random.between(0, 1);
        Pair pair(random, bits, bits, 50, 40);
        if (random.oneIn(3)) pair.makeOne(random);
        pair.source->imgkind = random.below(2);
        const bool isLevels = bits == 24 || (pair.source->imgkind & 1);
        const int width = pair.destination.areaWidth(), height = pair.destination.areaHeight();
        const Grid from = areaPixels(pair.source, pair.source.areaWidth(), pair.source.areaHeight());
        const bool isSmooth = mode == 1 && bits > 1 && (from.width != width || from.height != height);
        Grid wanted;
        if (!isSmooth)
            wanted = sampled(from, width, height);
        else if (isLevels)
            wanted = smoothed(from, width, height);
        else
            wanted = plainMatch(smoothed(coloursOf(pair.source, from), width, height),
                                paletteColours(pair.source.image), 3);
        const auto run = [&](imgdes* s, imgdes* d) { return orn32::resizeimage_(s, d, mode); };
        ASSERT_TRUE(pair.becomes(run, wanted)) << "mode " << mode << ", levels " << isLevels;
        ASSERT_TRUE(!isSmooth || bits == 24 ||
                    paletteBytes(pair.destination.image) == paletteBytes(pair.source.image))
            << "round " << round;
    }
}
