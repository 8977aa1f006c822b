#include "process/viargb.h"

#include "process/lut.h"
#include "tests/process/plain_quantiser.h"

using namespace test;

namespace {

const auto tables = Random(332).bytes(768);

int ORNAPI applyLut(int, imgdes* source, imgdes* destination) {
    return orn32::applylut_(&tables[0], &tables[256], &tables[512], source, destination);
}

}  // namespace

// The area is changed as it would be in RGB, and the whole picture requantised.
TEST(RgbDetour, IsTakenByAllThatWorksOnPixelValuesOfAPaletteImage) {
    Random random(330);
    int done = 0;
    for (int round = 0; round < 500; round++) {
        constexpr decltype(&pixellize) operations[] = {dilate, erode, medianfilter, pixellize, applyLut};
        const auto operation = operations[round % 5];
        const int argument = random.between(3, 7);
        Pair pair(random, 8, 8, 40, 30);
        TestImage &source = pair.source, &destination = pair.destination;
        source->palcolors = random.between(0, 256);
        destination->imgkind = 4 + random.below(2);
        if (round % 7 == 0) setimagearea(destination, 99, 99, ~0u, ~0u);  // plays no part
        TestImage colours(unsigned(source.width()), unsigned(source.height()), 24);
        put(colours, coloursOf(source, wholePicture(source)));
        setimagearea(colours, source->left, source->top, source->right, source->bottom);
        const auto run = [&](imgdes* s, imgdes* d) { return operation(argument, s, d); };
        if (const int code = run(colours, colours)) {
            ASSERT_TRUE(pair.becomes(run, {}, code)) << "operation " << round % 5;
            continue;
        }
        const Grid picture(std::min(source.width(), destination.width()),
                           std::min(source.height(), destination.height()),
                           [&](int x, int y) { return colours.pixel(x, y); });
        ASSERT_TRUE(becomesRequantised(pair, run, picture)) << "operation " << round % 5;
        done++;
    }
    EXPECT_GT(done, 200);
}

TEST(ApplyLut, EachChannelGoesThroughItsTable) {
    Random random(333);
    for (int round = 0; round < 300; round++) {
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        Pair pair(random, bits, bits, 40, 9);
        pair.source->imgkind = 1;
        Grid wanted = pair.pixels();
        for (unsigned& pixel : wanted.pixels)
            pixel = bits == 8 ? tables[pixel] : byChannel([&](int c) {
                return tables[unsigned(512 - 256 * c + channel(pixel, c))];
            });
        ASSERT_TRUE(pair.becomes([](imgdes* s, imgdes* d) { return applyLut(0, s, d); }, wanted));
    }
}
