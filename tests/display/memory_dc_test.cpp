// Drawing into memory device contexts: every pixel, wherever the picture and the client area lie.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <optional>

#include "core/display.h"
#include "tests/display/canvas.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

namespace {

using namespace test;

// Header, palette and rows: what drawing must leave as it was.
std::vector<std::uint8_t> bytesOf(const imgdes& image) {
    const auto* head = reinterpret_cast<const std::uint8_t*>(image.header);
    std::vector<std::uint8_t> bytes(
        head, head + sizeof(BITMAPINFOHEADER) + static_cast<unsigned>(image.palcolors) * 4);
    bytes.insert(bytes.end(), image.bits, image.bits + image.header->biSizeImage);
    return bytes;
}

// A packed picture moved to where memory ends with it.
class Guarded {
 public:
    explicit Guarded(const TestImage& image)
        : block_(static_cast<std::size_t>(image.image.bits - reinterpret_cast<BYTE*>(image.image.header)) +
                 image.image.header->biSizeImage) {
        std::memcpy(block_.data(), image.image.header, block_.size());
        const std::ptrdiff_t moved = block_.data() - reinterpret_cast<BYTE*>(image.image.header);
        record = image.image;
        record.header = reinterpret_cast<BITMAPINFOHEADER*>(block_.data());
        record.bits += moved;
        if (record.palette)
            record.palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<BYTE*>(record.palette) + moved);
    }
    imgdes record;

 private:
    GuardedBytes block_;
};

// The colours that the picture's palette should have.
std::vector<std::uint32_t> coloursOf(const imgdes& image) {
    std::vector<std::uint32_t> colours;
    for (int i = 0; i < image.palcolors; i++) colours.push_back(colourOf(image.palette[i]));
    return colours;
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
    const std::string stateBefore = stateOf(surface.dc());
    for (int round = 0; round < 3000; round++) {
        const Kind kind = kinds[round % 6];
        TestImage image(1 + random.below(70), 1 + random.below(50), kind.bits, kind.dibSection);
        image.randomise(random);
        image.randomisePalette(random);
        updatebitmapcolortable(image);
        image.randomArea(random);  // plays no part
        if (kind.bits == 8) image->palcolors = random.between(1, 256);
        std::optional<Guarded> guarded;
        if (!kind.dibSection) guarded.emplace(image);
        imgdes* const shown = guarded ? &guarded->record : static_cast<imgdes*>(image);
        window.resize({random.between(0, 50), random.between(0, 40)});
        const SIZE client = clientSizeOf(window);
        const int x = anyOffset(random, image.width()), y = anyOffset(random, image.height());
        const bool ex = random.oneIn(2);
        const int screenX = ex ? anyOffset(random, client.cx) : 0;
        const int screenY = ex ? anyOffset(random, client.cy) : 0;
        const auto bytes = bytesOf(*shown);
        const imgdes record = *shown;
        surface.clear();

        MadePalette palette;
        const int code = ex ? viewimageex(window, surface.dc(), &palette, x, y, shown, screenX, screenY, 0)
                            : viewimage(window, surface.dc(), &palette, x, y, shown);
        const Pixels want = picturedOn(blank(60, 50), client, image, x, y, screenX, screenY);
        const std::string what = image.describe() + " from " + std::to_string(x) + "," + std::to_string(y) +
                                 " at " + std::to_string(screenX) + "," + std::to_string(screenY) +
                                 " in a client area of " + std::to_string(client.cx) + "x" +
                                 std::to_string(client.cy);
        ASSERT_EQ(code, 0) << what;
        ASSERT_EQ(difference(surface.pixels(), want), "") << what;
        ASSERT_EQ(palette.colours(), coloursOf(*shown)) << what;
        ASSERT_EQ(stateOf(surface.dc()), stateBefore) << what;
        ASSERT_TRUE(bytesOf(*shown) == bytes) << what;
        ASSERT_EQ(std::memcmp(&record, shown, sizeof record), 0) << what;
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

TEST(MemoryDc, EveryFailedAllocationIsReportedAndNothingDrawn) {
    Random random(15);
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    TestImage packed(20, 20, 8), section(20, 20, 8, true), colours(20, 20, 24);
    colours.randomise(random);
    MadePalette palette;
    const auto reduced = [&](int mode) {
        return orn32::viewOnDepth({window, surface.dc(), &palette}, 8, {0, 0}, colours, {0, 0}, mode);
    };
    const struct {
        const char* what;
        std::function<int()> call;
        int least;  // allocations: of a reduction the image, its work, the palette
    } cases[] = {
        {"packed", [&] { return viewimage(window, surface.dc(), &palette, 0, 0, packed); }, 1},
        {"section", [&] { return viewimageex(window, surface.dc(), &palette, 0, 0, section, 0, 0, 0); }, 1},
        {"reduced, mode 0", [&] { return reduced(0); }, 3},
        {"reduced, mode 1", [&] { return reduced(1); }, 3},
        {"reduced, mode 2", [&] { return reduced(2); }, 3},
    };
    for (const auto& c : cases) {
        surface.clear();
        const int before = gdiObjects();
        const int failures = failEveryAllocation(c.call, [&](int n, int result, MemoryWatch& watch) {
            EXPECT_EQ(result, ERR_MEMORY) << c.what << " " << n;
            EXPECT_EQ(palette.handle, nullptr) << c.what << " " << n;
            EXPECT_EQ(watch.live(), 0) << c.what << " " << n;
            EXPECT_EQ(difference(surface.pixels(), blank(40, 30)), "") << c.what << " " << n;
        });
        EXPECT_GE(failures, c.least) << c.what;
        EXPECT_NE(surface.pixels().at(5, 5), backdrop) << c.what;  // in the end it was drawn
        palette.clear();
        EXPECT_EQ(gdiObjects(), before) << c.what;
    }
}

TEST(MemoryDc, TenThousandDrawsLeaveNoGdiObjectsBehind) {
    Random random(16);
    Window window(Window::sizeOnly, {40, 30});
    Surface surface(40, 30);
    std::vector<std::unique_ptr<TestImage>> images;
    for (const Kind kind : kinds)
        images.push_back(std::make_unique<TestImage>(20, 20, kind.bits, kind.dibSection));
    std::vector<std::vector<std::uint8_t>> bytes;
    for (const auto& image : images) bytes.push_back(bytesOf(image->image));
    const std::string stateBefore = stateOf(surface.dc());
    const int before = gdiObjects();
    for (int i = 0; i < 10000; i++) {
        TestImage& image = *images[static_cast<std::size_t>(i % 6)];
        MadePalette palette;
        HPALETTE* const to = i % 5 ? &palette : nullptr;  // who wants none gets none to delete
        const int x = random.between(-5, 25), y = random.between(-5, 25), depth = random.between(1, 8);
        const int code = i % 3 == 0   ? viewimage(window, surface.dc(), to, x, y, image)
                         : i % 3 == 1 ? viewimageex(window, surface.dc(), to, x, y, image, 3, 4, 0)
                                      : orn32::viewOnDepth({window, surface.dc(), to}, depth, {x, y}, image,
                                                           {3, 4}, i % 4);
        ASSERT_EQ(code, 0) << i;
    }
    EXPECT_EQ(gdiObjects(), before);
    EXPECT_EQ(stateOf(surface.dc()), stateBefore);
    for (std::size_t i = 0; i < images.size(); i++) EXPECT_EQ(bytesOf(images[i]->image), bytes[i]) << i;
}

}  // namespace
