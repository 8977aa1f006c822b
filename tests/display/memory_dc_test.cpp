// Drawing into memory device contexts: every pixel, wherever the picture and the client area lie.
#include <gtest/gtest.h>

#include <climits>

#include "core/display.h"
#include "tests/display/canvas.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

namespace {

using namespace test;

// A palette that a drawing call has made.
struct MadePalette {
    ~MadePalette() { clear(); }
    HPALETTE* operator&() { return &handle; }
    void clear() {
        if (handle) DeleteObject(handle);
        handle = nullptr;
    }
    std::vector<std::uint32_t> colours() const {
        PALETTEENTRY entries[300];
        const UINT n = GetPaletteEntries(handle, 0, 300, entries);
        std::vector<std::uint32_t> all;
        for (UINT i = 0; i < n; i++)
            all.push_back(static_cast<std::uint32_t>(entries[i].peRed << 16 | entries[i].peGreen << 8 |
                                                     entries[i].peBlue));
        return all;
    }
    HPALETTE handle = nullptr;
};

std::vector<std::uint8_t> headBytes(const TestImage& image) {
    const auto* head = reinterpret_cast<const std::uint8_t*>(image.image.header);
    return {head, head + sizeof(BITMAPINFOHEADER) + static_cast<unsigned>(image.image.palcolors) * 4};
}

// An offset of any size; mostly one at which something is to be seen.
int anyOffset(Random& random, int picture) {
    const int special[] = {0, 0, picture - 1, picture, INT_MIN, INT_MAX, INT_MIN + 1, -picture};
    return random.oneIn(3) ? special[random.below(8)] : random.between(-picture, picture + 3);
}

struct Kind {
    unsigned bits;
    bool dibSection;
};
constexpr Kind kinds[] = {{1, false}, {8, false}, {24, false}, {1, true}, {8, true}, {24, true}};

TEST(MemoryDc, ShowsThePictureAtEveryOffsetAndLeavesEverythingElse) {
    Random random(11);
    Window window(Window::sizeOnly, {40, 30});
    ASSERT_TRUE(window);
    Surface surface(60, 50);
    const HGDIOBJ paletteBefore = GetCurrentObject(surface.dc(), OBJ_PAL);
    for (int round = 0; round < 3000; round++) {
        const Kind kind = kinds[round % 6];
        TestImage image(1 + random.below(70), 1 + random.below(50), kind.bits, kind.dibSection);
        image.randomise(random);
        image.randomisePalette(random);
        updatebitmapcolortable(image);
        image.randomArea(random);  // plays no part
        window.resize({random.between(0, 50), random.between(0, 40)});
        const SIZE client = window.client();
        const int x = anyOffset(random, image.width()), y = anyOffset(random, image.height());
        const bool ex = random.oneIn(2);
        const int screenX = ex ? anyOffset(random, client.cx) : 0;
        const int screenY = ex ? anyOffset(random, client.cy) : 0;
        const auto head = headBytes(image), bytes = image.bytes();
        const imgdes record = image.image;
        surface.clear();

        MadePalette palette;
        const int code = ex ? viewimageex(window, surface.dc(), &palette, x, y, image, screenX, screenY, 0)
                            : viewimage(window, surface.dc(), &palette, x, y, image);
        const Pixels want = picturedOn(blank(60, 50), client, image, x, y, screenX, screenY);
        const std::string what = image.describe() + " from " + std::to_string(x) + "," + std::to_string(y) +
                                 " at " + std::to_string(screenX) + "," + std::to_string(screenY) +
                                 " in a client area of " + std::to_string(client.cx) + "x" +
                                 std::to_string(client.cy);
        ASSERT_EQ(code, 0) << what;
        ASSERT_EQ(difference(surface.pixels(), want), "") << what;
        ASSERT_EQ(palette.handle == nullptr, kind.bits == 24) << what;
        ASSERT_EQ(GetCurrentObject(surface.dc(), OBJ_PAL), paletteBefore) << what;
        ASSERT_TRUE(headBytes(image) == head && image.bytes() == bytes) << what;
        ASSERT_EQ(std::memcmp(&record, &image.image, sizeof record), 0) << what;
    }
}

TEST(MemoryDc, ReadsNothingBesideAPackedPictureThatFillsItsMemory) {
    Random random(12);
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    for (const unsigned bits : {1u, 8u, 24u})
        for (int round = 0; round < 200; round++) {
            TestImage image(1 + random.below(60), 1 + random.below(40), bits);
            image.randomise(random);
            image.randomisePalette(random);
            GuardedBytes packed(
                static_cast<std::size_t>(image->bits - reinterpret_cast<BYTE*>(image->header)) +
                image->header->biSizeImage);
            std::memcpy(packed.data(), image->header, packed.size());
            imgdes record;
            ASSERT_EQ(setupimgdes(reinterpret_cast<BITMAPINFOHEADER*>(packed.data()), &record), 0);
            const int x = anyOffset(random, image.width()), y = anyOffset(random, image.height());
            surface.clear();
            MadePalette palette;
            EXPECT_EQ(viewimage(window, surface.dc(), &palette, x, y, &record), 0);
            EXPECT_EQ(difference(surface.pixels(), picturedOn(blank(40, 30), {40, 30}, image, x, y, 0, 0)),
                      "")
                << image.describe() << " from " << x << "," << y;
        }
}

TEST(MemoryDc, AWindowThatIsGoneGetsNothingButAPalette) {
    TestImage image(20, 20, 8);
    Surface surface(30, 30);
    MadePalette palette;
    EXPECT_EQ(viewimage(reinterpret_cast<HWND>(0x12345), surface.dc(), &palette, 0, 0, image), 0);
    EXPECT_EQ(palette.colours().size(), 256u);
    EXPECT_EQ(difference(surface.pixels(), blank(30, 30)), "");
}

TEST(MemoryDc, ThePaletteHasTheColoursThatTheImageUses) {
    Random random(13);
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    for (const int count : {1, 2, 16, 17, 255, 256}) {
        TestImage image(20, 20, 8);
        image.randomisePalette(random);
        image->palcolors = count;
        std::vector<std::uint32_t> want;
        for (int i = 0; i < count; i++) {
            const RGBQUAD& entry = image->palette[i];
            want.push_back(
                static_cast<std::uint32_t>(entry.rgbRed << 16 | entry.rgbGreen << 8 | entry.rgbBlue));
        }
        MadePalette first, second;
        ASSERT_EQ(viewimage(window, surface.dc(), &first, 0, 0, image), 0);
        ASSERT_EQ(viewimageex(window, surface.dc(), &second, 0, 0, image, 0, 0, 0), 0);
        EXPECT_EQ(first.colours(), want) << count;
        EXPECT_EQ(second.colours(), want) << count;
        EXPECT_NE(first.handle, second.handle) << count;
    }
}

TEST(MemoryDc, AnImageWithoutColoursGetsTheGreyOnes) {
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    for (const bool dibSection : {false, true}) {
        Random random(14);
        TestImage image(40, 30, 8, dibSection);
        image.randomise(random);
        image.randomisePalette(random);
        image->palcolors = 0;
        MadePalette palette;
        ASSERT_EQ(viewimage(window, surface.dc(), &palette, 0, 0, image), 0);
        EXPECT_EQ(image->palcolors, 256);
        EXPECT_EQ(isgrayscaleimage(image), 1);
        EXPECT_EQ(palette.colours().size(), 256u);
        EXPECT_EQ(difference(surface.pixels(), picturedOn(blank(40, 30), {40, 30}, image, 0, 0, 0, 0)), "");
    }
}

TEST(MemoryDc, RecordsThatCannotBeDrawnAreRefused) {
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    TestImage image(20, 20, 8);
    const auto refused = [&](imgdes* record, int want) {
        HPALETTE palette = reinterpret_cast<HPALETTE>(1);
        EXPECT_EQ(viewimage(window, surface.dc(), &palette, 0, 0, record), want);
        EXPECT_EQ(palette, nullptr);
        palette = reinterpret_cast<HPALETTE>(1);
        EXPECT_EQ(viewimageex(window, surface.dc(), &palette, 0, 0, record, 0, 0, 0), want);
        EXPECT_EQ(palette, nullptr);
    };
    refused(nullptr, ERR_RANGE);
    imgdes record = image.image;
    record.header = nullptr;
    refused(&record, ERR_RANGE);
    record = image.image;
    record.bits = nullptr;
    refused(&record, ERR_RANGE);
    record = image.image;
    record.palcolors = -1;
    refused(&record, ERR_MEMORY);
    record.palcolors = 70000;
    refused(&record, ERR_MEMORY);
    EXPECT_EQ(difference(surface.pixels(), blank(40, 30)), "");

    record = image.image;
    record.palette = nullptr;
    refused(&record, 0);  // drawn, without a palette
}

TEST(MemoryDc, NothingIsDrawnWhenMemoryForThePaletteIsMissing) {
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    for (const bool dibSection : {false, true}) {
        TestImage image(20, 20, 8, dibSection);
        for (const bool ex : {false, true}) {
            MadePalette palette;
            const auto call = [&] {
                palette.clear();
                return ex ? viewimageex(window, surface.dc(), &palette, 0, 0, image, 0, 0, 0)
                          : viewimage(window, surface.dc(), &palette, 0, 0, image);
            };
            const int failures = failEveryAllocation(call, [&](int, int result, MemoryWatch& watch) {
                EXPECT_EQ(result, ERR_MEMORY);
                EXPECT_EQ(palette.handle, nullptr);
                EXPECT_EQ(watch.live(), 0);
                EXPECT_EQ(difference(surface.pixels(), blank(40, 30)), "");
            });
            EXPECT_EQ(failures, 1);
            EXPECT_EQ(surface.pixels().at(5, 5), 0u);
            surface.clear();
        }
    }
}

TEST(MemoryDc, TenThousandDrawsLeaveNoGdiObjectsBehind) {
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    TestImage packed(20, 20, 8), section(20, 20, 8, true), colours(20, 20, 24);
    const int before = spareGdiObjects();
    for (int i = 0; i < 10000; i++) {
        imgdes* const image = i % 2 ? packed : section;
        HPALETTE palette;
        ASSERT_EQ(viewimage(window, surface.dc(), &palette, i % 30 - 5, 0, image), 0) << i;
        ASSERT_TRUE(DeleteObject(palette)) << i;
        ASSERT_EQ(viewimage(window, surface.dc(), nullptr, 0, 0, image), 0) << i;
        if (i % 10) continue;
        for (const int depth : {1, 4, 8}) {
            const orn32::Canvas canvas = {window, surface.dc(), &palette};
            ASSERT_EQ(orn32::viewOnDepth(canvas, depth, {i % 30, 0}, colours, {0, 0}, i / 10 % 3), 0) << i;
            if (palette) DeleteObject(palette);
        }
    }
    EXPECT_EQ(spareGdiObjects(), before);
}

}  // namespace
