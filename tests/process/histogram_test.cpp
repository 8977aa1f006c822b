#include <gtest/gtest.h>

#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

struct Tables {
    long red[256], green[256], blue[256];
    Tables() { std::fill_n(&red[0], 3 * 256, 12345L); }
    bool operator==(const Tables&) const = default;
};

}  // namespace

TEST(Histogram, EveryPixelOfTheAreaIsCountedOnce) {
    Random random(350);
    for (int round = 0; round < 600; round++) {
        const MemoryWatch watch;
        const unsigned bits = random.oneIn(2) ? 8 : 24;
        TestImage image(1 + random.below(90), 1 + random.below(12), bits);
        paint(image, random);
        if (random.oneIn(4)) std::memset(image->bits, 7, image->header->biSizeImage);
        if (bits == 8) paintPalette(image, random);
        image->imgkind = random.below(4);
        image.randomArea(random);
        const int colorflag = random.between(-1, 1);
        const bool colours = bits == 24 || (colorflag && !(image->imgkind & 1));
        Tables have, want;
        std::vector<long> indices(256);
        std::fill_n(want.red, 256, 0L);
        if (colours) std::fill_n(want.green, 256, 0L), std::fill_n(want.blue, 256, 0L);
        const Grid<Colour> picture = commonColours(image, image);
        for (int y = 0; y < image.areaHeight(); y++)
            for (int x = 0; x < image.areaWidth(); x++) {
                const unsigned pixel = areaPixel(image, x, y);
                const Colour c = picture.at(x, y);
                if (bits == 8) indices[pixel]++;
                want.red[colours ? c.red : pixel]++;
                if (colours) want.green[c.green]++, want.blue[c.blue]++;
            }
        ASSERT_EQ(calchistorgb(image, have.red, have.green, have.blue, colorflag), 0);
        ASSERT_TRUE(have == want) << image.describe() << ", colorflag " << colorflag << ", kind "
                                  << image->imgkind;
        if (bits == 24) {
            long all[256];  // the three tables may be one
            ASSERT_EQ(calchisto(image, all, all, all), 0);
            for (unsigned i = 0; i < 256; i++)
                ASSERT_EQ(all[i], want.red[i] + want.green[i] + want.blue[i]) << i;
        } else {
            Tables again;
            ASSERT_EQ(calchisto(image, again.red, nullptr, nullptr), 0);
            ASSERT_TRUE(std::equal(again.red, again.red + 256, indices.begin())) << image.describe();
            ASSERT_EQ(again.green[0], 12345);
        }
    }
}

TEST(Histogram, AMissingTableIsReportedAfterTheRedOneIsCleared) {
    TestImage rgb(5, 5, 24), pal(5, 5, 8), one(5, 5, 1);
    pal->imgkind = 0;
    Tables t;
    EXPECT_EQ(calchistorgb(one, nullptr, t.green, t.blue, 0), ERR_BITS);
    EXPECT_EQ(calchistorgb(rgb, nullptr, t.green, t.blue, 0), ERR_RANGE);
    EXPECT_TRUE(t == Tables());
    for (const auto& [green, blue] : {std::pair{t.green, static_cast<long*>(nullptr)}, {nullptr, t.blue}})
        for (TestImage* image : {&rgb, &pal}) {
            t = Tables();
            EXPECT_EQ(calchistorgb(*image, t.red, green, blue, 1), ERR_RANGE);
            EXPECT_EQ(t.red[0] + t.red[255], 0);
            EXPECT_EQ(t.green[0], 12345);
            EXPECT_EQ(t.blue[0], 12345);
        }
    pal->palette = nullptr;
    EXPECT_EQ(calchistorgb(pal, t.red, t.green, t.blue, 1), ERR_RANGE);
    EXPECT_EQ(calchistorgb(pal, t.red, t.green, t.blue, 0), 0);
    EXPECT_EQ(calchistorgb(nullptr, t.red, t.green, t.blue, 1), ERR_RANGE);
}
