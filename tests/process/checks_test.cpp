// What every operation refuses, and what it does when memory or room is short.
#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "process/lut.h"
#include "process/resize.h"
#include "tests/process/pictures.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

const std::vector<std::uint8_t> anyTable(256, 9);

struct Operation {
    std::string name, depths;  // of source and destination, all the pairs that are taken
    bool needsPalette;         // of a destination of 8 bits
    std::function<int(imgdes*, imgdes*)> run;

    bool takes(unsigned from, unsigned to) const {
        return depths.find(" " + std::to_string(from) + "-" + std::to_string(to) + " ") != std::string::npos;
    }
};

const Operation operations[] = {
    {"dilate", " 1-1 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return dilate(3, s, d); }},
    {"erode", " 1-1 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return erode(3, s, d); }},
    {"medianfilter", " 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return medianfilter(11, s, d); }},
    {"removenoise", " 8-8 24-24 ", false, removenoise},
    {"pixellize", " 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return pixellize(3, s, d); }},
    {"cover", " 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return cover(5, s, s, d); }},
    {"coverclear", " 8-8 24-24 ", false, [](imgdes* s, imgdes* d) { return coverclear(5, s, s, d); }},
    {"a lookup table", " 8-8 24-24 ", false,
     [](imgdes* s, imgdes* d) {
         return orn32::applylut_(anyTable.data(), anyTable.data(), anyTable.data(), s, d);
     }},
    {"colordither", " 8-8 24-8 ", true, [](imgdes* s, imgdes* d) { return colordither(s, d, 1); }},
    {"colorscatter", " 8-8 24-8 ", true, [](imgdes* s, imgdes* d) { return colorscatter(s, d, 1); }},
    {"matchcolorimage", " 8-8 24-8 ", true, matchcolorimage},
    {"matchcolorimageex", " 8-8 24-8 ", true,
     [](imgdes* s, imgdes* d) { return matchcolorimageex(s, d, 3); }},
    {"colortogray", " 8-8 24-8 ", false, colortogray},
    {"convertrgbtopalex", " 24-8 ", true, [](imgdes* s, imgdes* d) { return convertrgbtopalex(9, s, d, 1); }},
    {"convertpaltorgb", " 8-24 ", false, convertpaltorgb},
    {"reduceimagecolors", " 8-8 ", true,
     [](imgdes* s, imgdes* d) {
         if (d) d->palcolors = 12;
         return reduceimagecolors(s, d, 0);
     }},
    {"convert8bitto1bit", " 8-1 ", false, [](imgdes* s, imgdes* d) { return convert8bitto1bit(0, s, d); }},
    {"convert1bitto8bit", " 1-8 ", false, convert1bitto8bit},
    {"convert1bitto8bitsmooth", " 1-8 ", false, convert1bitto8bitsmooth},
};

// Its callers check the records.
template <int mode, bool isWithin>
int resize(imgdes* source, imgdes* destination) {
    imgdes smaller = isWithin ? *destination : *source;
    setimagearea(&smaller, 4, 4, 12, 12);
    return orn32::resizeimage_(&smaller, destination, mode);
}
const Operation resizes[] = {{"sampling", " 1-1 8-8 24-24 ", false, resize<0, false>},
                             {"sampling within", " 1-1 8-8 24-24 ", false, resize<0, true>},
                             {"smoothing", " 1-1 8-8 24-24 ", false, resize<1, false>},
                             {"smoothing within", " 1-1 8-8 24-24 ", false, resize<1, true>}};

// Two pictures with colour palettes, where they have palettes at all; the areas differ.
struct Palettes {
    TestImage source, destination;

    Palettes(Random& random, unsigned from, unsigned to) : source(20, 16, from), destination(20, 16, to) {
        for (TestImage* image : {&source, &destination}) {
            image->randomise(random);
            image->randomisePalette(random);
        }
        setimagearea(destination, 1, 2, 17, 15);
    }
};

}  // namespace

TEST(Checks, RefuseBadRecordsAndTouchNothing) {
    using Spoil = void (*)(imgdes&);
    constexpr Spoil edges[] = {[](imgdes& i) { i.right = 20; }, [](imgdes& i) { i.bottom = ~0u; },
                               [](imgdes& i) { i.header = nullptr; }};
    constexpr Spoil palette = [](imgdes& i) { i.palette = nullptr, i.imgkind = 0; };
    Random random(11);
    for (const Operation& operation : operations)
        for (const unsigned from : {1u, 8u, 16u, 24u})
            for (const unsigned to : {1u, 8u, 16u, 24u}) {
                Palettes pair(random, from, to);
                pair.source->imgkind |= 1;
                const auto before = pair.destination.bytes();
                const auto expectCode = [&](imgdes* source, imgdes* destination, int code, const char* what) {
                    EXPECT_EQ(operation.run(source, destination), code)
                        << operation.name << ", " << from << " to " << to << " bits: " << what;
                    EXPECT_EQ(pair.destination.bytes() == before, code != 0) << operation.name << what;
                };
                if (!operation.takes(from, to)) {
                    expectCode(pair.source, pair.destination, ERR_BITS, "depths");
                    continue;
                }
                expectCode(nullptr, pair.destination, ERR_RANGE, "no source");
                expectCode(pair.source, nullptr, ERR_RANGE, "no destination");
                for (const bool ofSource : {true, false}) {
                    const imgdes& good = ofSource ? pair.source.image : pair.destination.image;
                    const auto expectRefusal = [&](Spoil spoil, const char* what) {
                        imgdes spoilt = good;
                        spoil(spoilt);
                        expectCode(ofSource ? &spoilt : &pair.source.image,
                                   ofSource ? &pair.destination.image : &spoilt, ERR_RANGE, what);
                    };
                    for (const Spoil spoil : edges) expectRefusal(spoil, ofSource ? "source" : "destination");
                    if (ofSource ? from == 8 : to == 8 && operation.needsPalette)
                        expectRefusal(palette, ofSource ? "source's palette" : "destination's palette");
                }
                expectCode(pair.source, pair.destination, 0, "all well");
            }
}

// Colour palettes lead through a copy in RGB, grey ones do not.
TEST(Checks, EveryAllocationMayFailAndThePixelsAreUntouched) {
    Random random(76);
    int tried = 0;
    std::vector<Operation> all(std::begin(operations), std::end(operations));
    all.insert(all.end(), std::begin(resizes), std::end(resizes));
    for (const Operation& operation : all)
        for (const auto& [from, to, mark] : {std::array{1u, 1u, 0u},
                                             {1u, 8u, 0u},
                                             {8u, 1u, 0u},
                                             {8u, 1u, 1u},
                                             {8u, 8u, 0u},
                                             {8u, 8u, 1u},
                                             {8u, 24u, 0u},
                                             {24u, 8u, 0u},
                                             {24u, 24u, 0u}}) {
            if (!operation.takes(from, to)) continue;
            Palettes pair(random, from, to);
            pair.source->imgkind |= mark;
            const auto before = pair.destination.bytes();
            const auto check = [&](int n, int code, const MemoryWatch& watch) {
                EXPECT_EQ(code, ERR_MEMORY) << operation.name << ", allocation " << n;
                EXPECT_EQ(watch.live(), 0) << operation.name << ", allocation " << n;
                EXPECT_EQ(pair.destination.bytes(), before) << operation.name << ", allocation " << n;
            };
            tried += failEveryAllocation([&] { return operation.run(pair.source, pair.destination); }, check);
        }
    EXPECT_GT(tried, 80);
}

TEST(Checks, TheFirstThingThatIsWrongIsReported) {
    TestImage pal(8, 8, 8), bits(8, 8, 1), rgb(8, 8, 24), other(8, 8, 16), grey(8, 8, 8);
    Random random(75);
    for (TestImage* image : {&pal, &bits, &rgb, &grey}) image->randomise(random);
    pal.randomisePalette(random);
    const auto with = [](imgdes image, auto change) { return change(image), image; };
    const auto outside = [](imgdes& i) { i.right = 8; };
    const auto tiny = [](imgdes& i) { setimagearea(&i, 4, 4, 5, 5); };
    const auto bareOf = [](imgdes& i) { i.palette = nullptr; };
    const auto colours = [&](int n) { return with(pal.image, [&](imgdes& i) { i.palcolors = n; }); };
    imgdes off = with(pal.image, outside), offRgb = with(rgb.image, outside), bare = with(pal.image, bareOf);
    imgdes tinyGrey = with(grey.image, tiny), tinyRgb = with(rgb.image, tiny);
    imgdes bareGrey = with(grey.image, bareOf), none = colours(0), negative = colours(-1);
    imgdes unreadable = with(pal.image, [](imgdes& i) { i.bits = nullptr; });
    imgdes empty = with(pal.image, [](imgdes& i) { i.right = ~0u; });
    imgdes noHeader = with(pal.image, [](imgdes& i) { i.header = nullptr; });
    imgdes single = colours(1), few = colours(19), some = colours(20), full = colours(256),
           many = colours(257);
    const auto before = pal.bytes(), rgbBefore = rgb.bytes();

    EXPECT_EQ(dilate(256, other, other), ERR_ARGUMENT) << "the argument before the images";
    EXPECT_EQ(erode(-1, grey, grey), ERR_ARGUMENT);
    EXPECT_EQ(medianfilter(2, grey, grey), ERR_ARGUMENT);
    EXPECT_EQ(medianfilter(12, other, other), ERR_ARGUMENT);
    EXPECT_EQ(dilate(0, &tinyGrey, &tinyRgb), ERR_BITS) << "depths before sizes";
    EXPECT_EQ(medianfilter(3, &off, rgb), ERR_RANGE) << "the source's area before the bit counts";

    EXPECT_EQ(cover(-1, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(cover(256, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(coverclear(0x1000000, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(coverclear(0xFFFFFF, grey, grey, grey), 0);
    EXPECT_EQ(cover(1, bits, &off, grey), ERR_BITS) << "the lower image is checked first";
    EXPECT_EQ(cover(1, grey, &off, bits), ERR_RANGE) << "the upper one before the result";
    EXPECT_EQ(cover(1, grey, rgb, &off), ERR_RANGE) << "the result before the bit counts are compared";
    EXPECT_EQ(cover(1, grey, rgb, grey), ERR_BITS);
    EXPECT_EQ(cover(1, pal, &bare, grey), ERR_RANGE);
    EXPECT_EQ(cover(1, pal, grey, &bare), ERR_RANGE);

    EXPECT_EQ(pixellize(1, &off, pal), ERR_RANGE) << "the source before the size";
    EXPECT_EQ(pixellize(99, bits, rgb), ERR_BITS);
    EXPECT_EQ(pixellize(64, rgb, &offRgb), ERR_ARGUMENT) << "the size before the destination";
    EXPECT_EQ(pixellize(-1, rgb, rgb), ERR_ARGUMENT);

    EXPECT_EQ(pixellize(2, &unreadable, pal), ERR_BAD_BUFFER) << "colours are read before all else";
    for (imgdes* to : {&bare, &noHeader, static_cast<imgdes*>(nullptr)})
        EXPECT_EQ(pixellize(2, pal, to), ERR_RANGE) << "on the way back from RGB";
    EXPECT_EQ(pixellize(2, pal, rgb), ERR_BITS);

    EXPECT_EQ(orn32::resizeimage_(pal, rgb, 0), ERR_BITS);
    EXPECT_EQ(orn32::resizeimage_(&empty, grey, 1), ERR_RANGE);
    EXPECT_EQ(orn32::resizeimage_(&off, &tinyGrey, 1), ERR_RANGE);

    EXPECT_EQ(colordither(&offRgb, rgb, 1), ERR_RANGE) << "the source's area first";
    EXPECT_EQ(colortogray(bits, &off), ERR_BITS);
    EXPECT_EQ(convert8bitto1bit(2, &off, other), ERR_RANGE);
    EXPECT_EQ(convert8bitto1bit(2, &bareGrey, bits), 0) << "levels need no colours";
    EXPECT_EQ(convertpaltorgb(&bare, pal), ERR_BITS) << "depths before palettes";
    EXPECT_EQ(convertpaltorgb(bits, nullptr), ERR_BITS);

    for (const int count : {-1, 0, 1, 257}) EXPECT_EQ(convertrgbtopalex(count, rgb, pal, 0), ERR_ARGUMENT);
    EXPECT_EQ(convertrgbtopalex(256, rgb, pal, 4), ERR_ARGUMENT);
    EXPECT_EQ(convertrgbtopalex(256, rgb, pal, -1), ERR_ARGUMENT);
    EXPECT_EQ(convertrgbtopalex(-1, rgb, &bare, -1), ERR_RANGE) << "the records before the arguments";
    EXPECT_EQ(convertrgbtopalex(256, pal, &bare, 0), ERR_BITS);
    EXPECT_EQ(convertrgbtopalex(256, &offRgb, bits, 0), ERR_RANGE);
    EXPECT_EQ(convertrgbtopalex(256, bits, &off, 0), ERR_BITS);

    EXPECT_EQ(matchcolorimageex(rgb, pal, 4), ERR_ARGUMENT);
    EXPECT_EQ(matchcolorimageex(rgb, pal, -1), ERR_ARGUMENT);
    for (imgdes* palette : {&bare, &none, &negative, &many})
        EXPECT_EQ(matchcolorimageex(rgb, palette, 9), ERR_RANGE) << palette->palcolors;
    EXPECT_EQ(matchcolorimageex(&bare, grey, 9), ERR_RANGE);
    EXPECT_EQ(matchcolorimageex(&none, grey, 9), ERR_RANGE);
    EXPECT_EQ(matchcolorimageex(&bare, rgb, 0), ERR_BITS);

    EXPECT_EQ(reduceimagecolors(pal, &full, 7), ERR_RANGE);
    EXPECT_EQ(reduceimagecolors(pal, &single, 7), ERR_RANGE);
    EXPECT_EQ(reduceimagecolors(pal, &negative, 7), ERR_RANGE);
    EXPECT_EQ(reduceimagecolors(&few, &some, 7), ERR_RANGE);
    EXPECT_EQ(reduceimagecolors(rgb, &bare, 7), ERR_BITS);
    EXPECT_EQ(reduceimagecolors(bits, &full, 7), ERR_BITS);
    const RGBQUAD first = pal->palette[0];
    EXPECT_EQ(reduceimagecolors(grey, &some, 4), ERR_ARGUMENT);
    EXPECT_NE(std::memcmp(&first, pal->palette, 3), 0) << "the mode after the palette is written";

    EXPECT_EQ(pal.bytes(), before);
    EXPECT_EQ(rgb.bytes(), rgbBefore);
}

TEST(Checks, ADibSectionsColourTableFollowsThePalette) {
    Random random(304);
    for (const Operation& operation : operations) {
        if (!operation.needsPalette) continue;
        TestImage source(7, 7, operation.takes(24, 8) ? 24 : 8), destination(7, 7, 8, true);
        for (TestImage* image : {&source, &destination}) image->randomise(random);
        destination.randomisePalette(random);
        ASSERT_EQ(operation.run(source, destination), 0);
        EXPECT_EQ(sectionColours(destination.image, 9), paletteColours(destination.image, 9))
            << operation.name;
    }
}

// Its pixels follow the palette at once.
TEST(Checks, APackedBitmapIsNotGivenMorePaletteEntriesThanItHasRoomFor) {
    TestImage colour(8, 5, 24), palette(8, 5, 8);
    const struct {
        const char* name;
        unsigned entries;  // that it asks for
        std::function<int(imgdes*)> run;
    } cases[] = {
        {"convertrgbtopalex", 17, [&](imgdes* to) { return convertrgbtopalex(17, colour, to, 2); }},
        {"colordither", 16, [&](imgdes* to) { return colordither(colour, to, 0); }},
        {"colordither cube", 256, [&](imgdes* to) { return colordither(colour, to, 1); }},
        {"colorscatter", 16, [&](imgdes* to) { return colorscatter(colour, to, 0); }},
        {"colorscatter cube", 256, [&](imgdes* to) { return colorscatter(colour, to, 1); }},
        {"reduceimagecolors", 5,
         [&](imgdes* to) { return to->palcolors = 5, reduceimagecolors(palette, to, 0); }},
    };
    for (const auto& [name, entries, run] : cases)
        for (const unsigned room : {entries - 1, entries}) {
            std::vector<std::uint8_t> block(sizeof(BITMAPINFOHEADER) + room * 4 + 8 * 5, 0x5A);
            auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
            *header = {sizeof(BITMAPINFOHEADER), 8, 5, 1, 8, BI_RGB, 40, 0, 0, room, room};
            imgdes packed;
            ASSERT_EQ(setupimgdes(header, &packed), 0);
            const auto before = block;
            EXPECT_EQ(run(&packed), room == entries ? 0 : ERR_RANGE) << name << ", room " << room;
            EXPECT_EQ(block == before, room < entries) << name;
        }
}
