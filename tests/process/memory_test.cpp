// Operations on pictures where memory runs out, or is short from the start.
#include <gtest/gtest.h>

#include <functional>

#include "process/resize.h"
#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

struct Operation {
    const char* name;
    unsigned bits;  // of the destination
    std::function<int(imgdes*)> run;
    enum GreyMark { kept, cleared, either } greyMark = kept;  // of the destination, when it fails
};

}  // namespace

TEST(Operations, EveryAllocationMayFailAndTheDestinationIsUntouched) {
    TestImage colour(20, 16, 24), grey(20, 16, 8), palette(20, 16, 8), bits(20, 16, 1);
    Random random(76);
    for (TestImage* image : {&colour, &grey, &palette, &bits}) image->randomise(random);
    paintPalette(palette, random);
    imgdes part = palette.image, partOfBits = bits.image;
    setimagearea(&part, 0, 0, 9, 9);
    setimagearea(&partOfBits, 0, 0, 9, 9);
    const auto resizeWithin = [](int mode) {
        return [mode](imgdes* to) {
            imgdes from = *to, smaller = *to;
            setimagearea(&smaller, 1, 1, 5, 5);
            return orn32::resizeimage_(&from, &smaller, mode);
        };
    };
    long counts[3][256];
    std::vector<Operation> operations = {
        {"dilate 1", 1, [&](imgdes* to) { return dilate(3, bits, to); }},
        {"dilate 8", 8, [&](imgdes* to) { return dilate(3, grey, to); }},
        {"dilate 24", 24, [&](imgdes* to) { return dilate(3, colour, to); }},
        {"dilate palette", 8, [&](imgdes* to) { return dilate(3, palette, to); }, Operation::either},
        {"erode 8", 8, [&](imgdes* to) { return erode(3, grey, to); }},
        {"median 3", 8, [&](imgdes* to) { return medianfilter(3, grey, to); }},
        {"median 11", 8, [&](imgdes* to) { return medianfilter(11, grey, to); }},
        {"median 24", 24, [&](imgdes* to) { return medianfilter(11, colour, to); }},
        {"median palette", 8, [&](imgdes* to) { return medianfilter(3, palette, to); }, Operation::either},
        {"pixellize palette", 8, [&](imgdes* to) { return pixellize(3, palette, to); }, Operation::either},
        {"colordither", 8, [&](imgdes* to) { return colordither(colour, to, 1); }},
        {"colorscatter", 8, [&](imgdes* to) { return colorscatter(colour, to, 1); }},
        {"cover", 8, [&](imgdes* to) { return cover(5, grey, palette, to); }},
        {"cover palette", 8, [&](imgdes* to) { return cover(5, palette, grey, to); }, Operation::either},
        {"coverclear palette", 8, [&](imgdes* to) { return coverclear(5, palette, grey, to); },
         Operation::either},
        {"convertpaltorgb", 24, [&](imgdes* to) { return convertpaltorgb(palette, to); }},
        {"calchistorgb", 8,
         [&](imgdes*) { return calchistorgb(palette, counts[0], counts[1], counts[2], 1); }},
        {"sampling", 8, [&](imgdes* to) { return orn32::resizeimage_(&part, to, 0); }},
        {"sampling 1", 1, [&](imgdes* to) { return orn32::resizeimage_(&partOfBits, to, 1); }},
        {"sampling within", 8, resizeWithin(0)},
        {"smoothing within", 8, resizeWithin(1)},
        {"smoothing palette", 8, [&](imgdes* to) { return orn32::resizeimage_(&part, to, 1); },
         Operation::either},
    };
    for (const int mode : {0, 1, 2, 3}) {
        operations.push_back({"convertrgbtopalex", 8,
                              [&, mode](imgdes* to) { return convertrgbtopalex(20, colour, to, mode); },
                              Operation::cleared});
        operations.push_back(
            {"matchcolorimageex", 8, [&, mode](imgdes* to) { return matchcolorimageex(colour, to, mode); }});
        operations.push_back({"reduceimagecolors", 8,
                              [&, mode](imgdes* to) {
                                  to->palcolors = 12;
                                  return reduceimagecolors(palette, to, mode);
                              },
                              Operation::either});
        operations.push_back(
            {"convert8bitto1bit", 1, [&, mode](imgdes* to) { return convert8bitto1bit(mode, palette, to); }});
    }
    for (const Operation& operation : operations) {
        TestImage destination(20, 16, operation.bits);
        destination.randomise(random);
        const auto before = destination.bytes();
        const UINT kind = operation.greyMark == Operation::cleared ? 0 : destination->imgkind;
        const int tried = failEveryAllocation(
            [&] { return operation.run(destination); },
            [&](int n, int code, const MemoryWatch& watch) {
                EXPECT_EQ(code, ERR_MEMORY) << operation.name << ", allocation " << n;
                EXPECT_EQ(watch.live(), 0) << operation.name << ", allocation " << n;
                EXPECT_EQ(destination.bytes(), before) << operation.name << ", allocation " << n;
                EXPECT_TRUE(destination->imgkind == kind || operation.greyMark == Operation::either)
                    << operation.name << ", allocation " << n << ": " << destination->imgkind;
            });
        EXPECT_GE(tried, 1) << operation.name;
    }
}

// Its pixels follow the palette at once.
TEST(Operations, APackedBitmapIsNotGivenMorePaletteEntriesThanItHasRoomFor) {
    TestImage colour(8, 5, 24), palette(8, 5, 8);
    const struct {
        const char* name;
        unsigned entries;  // that it asks for
        std::function<int(imgdes*)> run;
    } operations[] = {
        {"convertrgbtopalex", 17, [&](imgdes* to) { return convertrgbtopalex(17, colour, to, 2); }},
        {"colordither", 16, [&](imgdes* to) { return colordither(colour, to, 0); }},
        {"colordither cube", 256, [&](imgdes* to) { return colordither(colour, to, 1); }},
        {"colorscatter", 16, [&](imgdes* to) { return colorscatter(colour, to, 0); }},
        {"colorscatter cube", 256, [&](imgdes* to) { return colorscatter(colour, to, 1); }},
        {"reduceimagecolors", 5,
         [&](imgdes* to) {
             to->palcolors = 5;
             return reduceimagecolors(palette, to, 0);
         }},
    };
    for (const auto& operation : operations)
        for (const unsigned room : {operation.entries - 1, operation.entries}) {
            std::vector<std::uint8_t> block(sizeof(BITMAPINFOHEADER) + room * 4 + 8 * 5, 0x5A);
            auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
            *header = {sizeof(BITMAPINFOHEADER), 8, 5, 1, 8, BI_RGB, 40, 0, 0, room, room};
            imgdes packed;
            ASSERT_EQ(setupimgdes(header, &packed), 0);
            const auto before = block;
            const bool fits = room == operation.entries;
            EXPECT_EQ(operation.run(&packed), fits ? 0 : ERR_RANGE) << operation.name << ", room " << room;
            EXPECT_EQ(block == before, !fits) << operation.name;
        }
}
