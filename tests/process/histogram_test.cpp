#include <array>

#include "tests/process/pictures.h"

using namespace test;

namespace {

using Table = std::array<long, 256>;

struct Tables {
    Table of[3];  // blue, green, red
    Tables() {
        for (Table& table : of) table.fill(12345);
    }
    int count(imgdes* image, int colorflag) {
        return calchistorgb(image, of[2].data(), of[1].data(), of[0].data(), colorflag);
    }
};

}  // namespace

TEST(Histogram, EveryPixelOfTheAreaIsCountedOnce) {
    Random random(350);
    for (int round = 0; round < 600; round++) {
        const bool isRgb = random.oneIn(2);
        Pair pair(random, isRgb ? 24 : 8, 8, 90, 12);
        TestImage& image = pair.source;
        image->imgkind = random.below(4);
        const int colorflag = random.between(-1, 1);
        const bool inColours = isRgb || (colorflag && !(image->imgkind & 1));
        const Grid pixels = areaPixels(image, image.areaWidth(), image.areaHeight());
        const Grid shown = inColours ? coloursOf(image, pixels) : pixels;
        Tables have, want;
        for (int c = inColours ? 0 : 2; c < 3; c++) {
            want.of[c].fill(0);
            for (const unsigned pixel : shown.pixels)
                want.of[c][unsigned(channel(pixel, inColours ? c : 0))]++;
        }
        ASSERT_EQ(have.count(image, colorflag), 0);
        for (int c = 0; c < 3; c++)
            ASSERT_EQ(have.of[c], want.of[c])
                << image.describe() << ", flag " << colorflag << ", channel " << c;
        Table all, sum{};  // the three tables may be one
        for (const unsigned pixel : pixels.pixels)
            for (int c = 0; c < (isRgb ? 3 : 1); c++) sum[unsigned(channel(pixel, c))]++;
        ASSERT_EQ(calchisto(image, all.data(), isRgb ? all.data() : nullptr, isRgb ? all.data() : nullptr),
                  0);
        ASSERT_EQ(all, sum) << image.describe();
    }
}

TEST(Histogram, AMissingTableIsReportedAfterTheRedOneIsCleared) {
    TestImage rgb(5, 5, 24), pal(5, 5, 8), one(5, 5, 1);
    pal->imgkind = 0;
    Table red{}, other{};
    EXPECT_EQ(calchistorgb(one, nullptr, other.data(), other.data(), 0), ERR_BITS);
    EXPECT_EQ(calchistorgb(rgb, nullptr, other.data(), other.data(), 0), ERR_RANGE);
    other.fill(12345);
    for (imgdes* image : {&rgb.image, &pal.image})
        for (const bool hasGreen : {false, true}) {
            red.fill(12345);
            EXPECT_EQ(calchistorgb(image, red.data(), hasGreen ? other.data() : nullptr,
                                   hasGreen ? nullptr : other.data(), 1),
                      ERR_RANGE);
            EXPECT_EQ(red, Table{});
            EXPECT_EQ(std::count(other.begin(), other.end(), 12345), 256);
        }
    pal->palette = nullptr;
    Tables tables;
    EXPECT_EQ(tables.count(pal, 1), ERR_RANGE);
    EXPECT_EQ(tables.count(pal, 0), 0);
    EXPECT_EQ(tables.count(nullptr, 1), ERR_RANGE);
}
