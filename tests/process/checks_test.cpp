// What every operation refuses, and what it does when memory or room is short.
#include "process/lut.h"
#include "process/resize.h"
#include "tests/process/pictures.h"

using namespace test;

namespace {

const std::vector<std::uint8_t> anyTable(256, 9);

enum Kind { plain, needsPalette /* in a destination of 8 bits */, unchecked /* by itself */ };

struct Operation {
    std::string name, depths;  // of source and destination, all the pairs that are taken
    Kind kind;
    std::function<int(imgdes*, imgdes*)> run;

    bool takes(unsigned from, unsigned to) const {
        return depths.find(" " + std::to_string(from) + "-" + std::to_string(to) + " ") != std::string::npos;
    }
};

template <int mode, bool isWithin>
int resize(imgdes* source, imgdes* destination) {
    imgdes smaller = isWithin ? *destination : *source;
    setimagearea(&smaller, 4, 4, 12, 12);
    return orn32::resizeimage_(&smaller, destination, mode);
}

const Operation operations[] = {
    {"dilate", " 1-1 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return dilate(3, s, d); }},
    {"erode", " 1-1 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return erode(3, s, d); }},
    {"medianfilter", " 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return medianfilter(11, s, d); }},
    {"removenoise", " 8-8 24-24 ", plain, removenoise},
    {"pixellize", " 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return pixellize(3, s, d); }},
    {"cover", " 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return cover(5, s, s, d); }},
    {"coverclear", " 8-8 24-24 ", plain, [](imgdes* s, imgdes* d) { return coverclear(5, s, s, d); }},
    {"a lookup table", " 8-8 24-24 ", plain,
     [](imgdes* s, imgdes* d) {
         return orn32::applylut_(anyTable.data(), anyTable.data(), anyTable.data(), s, d);
     }},
    {"colordither", " 8-8 24-8 ", needsPalette, [](imgdes* s, imgdes* d) { return colordither(s, d, 1); }},
    {"colorscatter", " 8-8 24-8 ", needsPalette, [](imgdes* s, imgdes* d) { return colorscatter(s, d, 1); }},
    {"matchcolorimage", " 8-8 24-8 ", needsPalette, matchcolorimage},
    {"matchcolorimageex", " 8-8 24-8 ", needsPalette,
     [](imgdes* s, imgdes* d) { return matchcolorimageex(s, d, 3); }},
    {"colortogray", " 8-8 24-8 ", plain, colortogray},
    {"convertrgbtopalex", " 24-8 ", needsPalette,
     [](imgdes* s, imgdes* d) { return convertrgbtopalex(9, s, d, 1); }},
    {"convertpaltorgb", " 8-24 ", plain, convertpaltorgb},
    {"reduceimagecolors", " 8-8 ", needsPalette,
     [](imgdes* s, imgdes* d) {
         if (d) d->palcolors = 12;
         return reduceimagecolors(s, d, 0);
     }},
    {"convert8bitto1bit", " 8-1 ", plain, [](imgdes* s, imgdes* d) { return convert8bitto1bit(0, s, d); }},
    {"convert1bitto8bit", " 1-8 ", plain, convert1bitto8bit},
    {"convert1bitto8bitsmooth", " 1-8 ", plain, convert1bitto8bitsmooth},
    {"sampling", " 1-1 8-8 24-24 ", unchecked, resize<0, false>},
    {"sampling within", " 1-1 8-8 24-24 ", unchecked, resize<0, true>},
    {"smoothing", " 1-1 8-8 24-24 ", unchecked, resize<1, false>},
    {"smoothing within", " 1-1 8-8 24-24 ", unchecked, resize<1, true>},
};

// A changed record, for one call.
struct Record {
    imgdes image;
    operator imgdes*() { return &image; }
};
template <class Change>
Record with(imgdes image, Change change) {
    change(image);
    return {image};
}

constexpr auto outside = [](imgdes& i) { i.right = i.header->biWidth; };
constexpr auto withoutPalette = [](imgdes& i) { i.palette = nullptr, i.imgkind = 0; };
constexpr auto withoutHeader = [](imgdes& i) { i.header = nullptr; };

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

// Memory may be short for each block in turn, too. Colour palettes lead through a copy in RGB, grey ones do
// not.
TEST(Checks, FailuresTouchNoPixel) {
    constexpr void (*spoils[])(imgdes&) = {outside, withoutHeader, [](imgdes& i) { i.bottom = ~0u; },
                                           withoutPalette};
    Random random(11);
    int allocations = 0;
    const auto tryOut = [&](const Operation& operation, unsigned from, unsigned to, bool isMarked) {
        SCOPED_TRACE(operation.name + ", " + std::to_string(from) + " to " + std::to_string(to) + " bits");
        Palettes pair(random, from, to);
        if (isMarked) pair.source->imgkind |= 1;
        const auto before = pair.destination.bytes();
        const auto expectCode = [&](imgdes* source, imgdes* destination, int code, const char* what) {
            EXPECT_EQ(operation.run(source, destination), code) << what;
            EXPECT_EQ(pair.destination.bytes() == before, code != 0) << what;
        };
        const bool isChecked = operation.kind != unchecked && isMarked;
        if (!operation.takes(from, to)) {
            if (isChecked) expectCode(pair.source, pair.destination, ERR_BITS, "depths");
            return;
        }
        for (const auto spoil : spoils) {
            const bool isPalette = spoil == spoils[3];
            if (isChecked && (!isPalette || from == 8))
                expectCode(with(pair.source.image, spoil), pair.destination, ERR_RANGE, "source");
            if (isChecked && (!isPalette || (to == 8 && operation.kind == needsPalette)))
                expectCode(pair.source, with(pair.destination.image, spoil), ERR_RANGE, "destination");
        }
        if (isChecked) expectCode(nullptr, pair.destination, ERR_RANGE, "no source");
        if (isChecked) expectCode(pair.source, nullptr, ERR_RANGE, "no destination");
        allocations += failEveryAllocation([&] { return operation.run(pair.source, pair.destination); },
                                           [&](int n, int code, const MemoryWatch& watch) {
                                               EXPECT_EQ(code, ERR_MEMORY) << "allocation " << n;
                                               EXPECT_EQ(watch.live(), 0) << "allocation " << n;
                                               EXPECT_EQ(pair.destination.bytes(), before)
                                                   << "allocation " << n;
                                           });
        expectCode(pair.source, pair.destination, 0, "all well");
    };
    for (const Operation& operation : operations)
        for (const unsigned from : {1u, 8u, 16u, 24u})
            for (const unsigned to : {1u, 8u, 16u, 24u})
                for (const bool isMarked : {false, true}) tryOut(operation, from, to, isMarked);
    EXPECT_GT(allocations, 80);
}

TEST(Checks, TheFirstThingThatIsWrongIsReported) {
    TestImage pal(8, 8, 8), bits(8, 8, 1), rgb(8, 8, 24), other(8, 8, 16), grey(8, 8, 8);
    Random random(75);
    for (TestImage* image : {&pal, &bits, &rgb, &grey}) image->randomise(random);
    pal.randomisePalette(random);
    const auto tiny = [](imgdes& i) { setimagearea(&i, 4, 4, 5, 5); };
    const auto everywhere = [](imgdes& i) { setimagearea(&i, 0, 0, ~0u, ~0u); };
    const auto colours = [&](int n) { return with(pal.image, [=](imgdes& i) { i.palcolors = n; }); };
    Record off = with(pal.image, outside), offRgb = with(rgb.image, outside);
    Record bare = with(pal.image, withoutPalette);
    const auto before = pal.bytes(), rgbBefore = rgb.bytes();

    EXPECT_EQ(dilate(256, other, other), ERR_ARGUMENT) << "the argument before the images";
    EXPECT_EQ(erode(-1, grey, grey), ERR_ARGUMENT);
    EXPECT_EQ(medianfilter(2, grey, grey), ERR_ARGUMENT);
    EXPECT_EQ(medianfilter(12, other, other), ERR_ARGUMENT);
    EXPECT_EQ(dilate(0, with(grey.image, tiny), with(rgb.image, tiny)), ERR_BITS) << "depths before sizes";
    EXPECT_EQ(medianfilter(3, off, rgb), ERR_RANGE) << "the source's area before the bit counts";

    EXPECT_EQ(cover(-1, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(cover(256, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(coverclear(0x1000000, bits, bits, bits), ERR_ARGUMENT);
    EXPECT_EQ(coverclear(0xFFFFFF, grey, grey, grey), 0);
    EXPECT_EQ(cover(1, bits, off, grey), ERR_BITS) << "the lower image is checked first";
    EXPECT_EQ(cover(1, grey, off, bits), ERR_RANGE) << "the upper one before the result";
    EXPECT_EQ(cover(1, grey, rgb, off), ERR_RANGE) << "the result before the bit counts are compared";
    EXPECT_EQ(cover(1, grey, rgb, grey), ERR_BITS);
    EXPECT_EQ(cover(1, pal, bare, grey), ERR_RANGE);
    EXPECT_EQ(cover(1, pal, grey, bare), ERR_RANGE);

    EXPECT_EQ(pixellize(1, off, pal), ERR_RANGE) << "the source before the size";
    EXPECT_EQ(pixellize(99, bits, rgb), ERR_BITS);
    EXPECT_EQ(pixellize(64, rgb, offRgb), ERR_ARGUMENT) << "the size before the destination";
    EXPECT_EQ(pixellize(-1, rgb, rgb), ERR_ARGUMENT);
    EXPECT_EQ(pixellize(2, rgb, with(rgb.image, everywhere)), ERR_RANGE);
    EXPECT_EQ(pixellize(2, with(pal.image, [](imgdes& i) { i.bits = nullptr; }), pal), ERR_BAD_BUFFER)
        << "colours are read before all else";
    EXPECT_EQ(pixellize(2, pal, rgb), ERR_BITS) << "on the way back from RGB";
    EXPECT_EQ(pixellize(2, pal, bare), ERR_RANGE);
    EXPECT_EQ(pixellize(2, pal, with(pal.image, withoutHeader)), ERR_RANGE);
    EXPECT_EQ(pixellize(2, pal, nullptr), ERR_RANGE);

    EXPECT_EQ(orn32::resizeimage_(pal, rgb, 0), ERR_BITS);
    EXPECT_EQ(orn32::resizeimage_(with(pal.image, everywhere), grey, 1), ERR_RANGE);
    EXPECT_EQ(orn32::resizeimage_(off, with(grey.image, tiny), 1), ERR_RANGE);

    EXPECT_EQ(colordither(offRgb, rgb, 1), ERR_RANGE) << "the source's area first";
    EXPECT_EQ(colortogray(bits, off), ERR_BITS);
    EXPECT_EQ(convert8bitto1bit(2, off, other), ERR_RANGE);
    EXPECT_EQ(convert8bitto1bit(2, with(grey.image, [](imgdes& i) { i.palette = nullptr; }), bits), 0)
        << "levels need no colours";
    EXPECT_EQ(convertpaltorgb(bare, pal), ERR_BITS) << "depths before palettes";
    EXPECT_EQ(convertpaltorgb(bits, nullptr), ERR_BITS);

    for (const int count : {-1, 0, 1, 257}) EXPECT_EQ(convertrgbtopalex(count, rgb, pal, 0), ERR_ARGUMENT);
    for (const int mode : {-1, 4}) EXPECT_EQ(convertrgbtopalex(256, rgb, pal, mode), ERR_ARGUMENT);
    EXPECT_EQ(convertrgbtopalex(-1, rgb, bare, -1), ERR_RANGE) << "the records before the arguments";
    EXPECT_EQ(convertrgbtopalex(256, pal, bare, 0), ERR_BITS);
    EXPECT_EQ(convertrgbtopalex(256, offRgb, bits, 0), ERR_RANGE);
    EXPECT_EQ(convertrgbtopalex(256, bits, off, 0), ERR_BITS);

    for (const int mode : {-1, 4}) EXPECT_EQ(matchcolorimageex(rgb, pal, mode), ERR_ARGUMENT);
    for (const int n : {0, -1, 257}) EXPECT_EQ(matchcolorimageex(rgb, colours(n), 9), ERR_RANGE) << n;
    EXPECT_EQ(matchcolorimageex(rgb, bare, 9), ERR_RANGE);
    EXPECT_EQ(matchcolorimageex(bare, grey, 9), ERR_RANGE);
    EXPECT_EQ(matchcolorimageex(colours(0), grey, 9), ERR_RANGE);
    EXPECT_EQ(matchcolorimageex(bare, rgb, 0), ERR_BITS);

    for (const int n : {256, 1, -1}) EXPECT_EQ(reduceimagecolors(pal, colours(n), 7), ERR_RANGE) << n;
    EXPECT_EQ(reduceimagecolors(colours(19), colours(20), 7), ERR_RANGE);
    EXPECT_EQ(reduceimagecolors(rgb, bare, 7), ERR_BITS);
    EXPECT_EQ(reduceimagecolors(bits, colours(256), 7), ERR_BITS);
    const auto entries = paletteColours(pal.image, 1);
    EXPECT_EQ(reduceimagecolors(grey, colours(20), 4), ERR_ARGUMENT);
    EXPECT_NE(paletteColours(pal.image, 1), entries) << "the mode after the palette is written";

    EXPECT_EQ(pal.bytes(), before);
    EXPECT_EQ(rgb.bytes(), rgbBefore);
}

TEST(Checks, ADibSectionsColourTableFollowsThePalette) {
    Random random(304);
    const HDC context = CreateCompatibleDC(nullptr);
    for (const Operation& operation : operations) {
        if (operation.kind != needsPalette) continue;
        TestImage source(7, 7, operation.takes(24, 8) ? 24 : 8), destination(7, 7, 8, true);
        source.randomise(random), destination.randomise(random);
        destination.randomisePalette(random);
        ASSERT_EQ(operation.run(source, destination), 0);
        RGBQUAD table[9] = {};
        const HGDIOBJ previous = SelectObject(context, destination->hbitmap);
        GetDIBColorTable(context, 0, 9, table);
        SelectObject(context, previous);
        EXPECT_EQ(std::memcmp(table, destination->palette, sizeof table), 0) << operation.name;
    }
    DeleteDC(context);
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
