// Frames put together, against a plain answer for every pixel on its own: what is seen there after a frame
// follows from the frames before, looked at backwards.
#include <gtest/gtest.h>

#include "ornview/document.h"
#include "tests/display/canvas.h"
#include "tests/support/files.h"

namespace {

using namespace test;
using namespace ornview;
using ornconvert::GifFrameFacts;

class PlainScreen {
 public:
    explicit PlainScreen(const std::vector<Picture>& frames) : frames_(frames) {}

    std::uint32_t after(int n, int x, int y) const {
        const Picture& frame = frames_[static_cast<std::size_t>(n)];
        if (!covers(frame, x, y)) return before(n, x, y);
        x -= frame.gif.left, y -= frame.gif.top;
        const imgdes& image = *frame.image();
        const bool isHole = static_cast<int>(pixelOf(image, x, y)) == frame.gif.transparent;
        return isHole ? before(n, x + frame.gif.left, y + frame.gif.top) : colourOf(image, x, y);
    }

 private:
    std::uint32_t before(int n, int x, int y) const {
        if (n == 0) return surroundings;
        const Picture& previous = frames_[static_cast<std::size_t>(n) - 1];
        if (previous.gif.disposal == 2 && covers(previous, x, y)) return surroundings;
        return previous.gif.disposal == 3 ? before(n - 1, x, y) : after(n - 1, x, y);
    }
    static bool covers(const Picture& frame, int x, int y) {
        return x >= frame.gif.left && x < frame.gif.left + frame.image()->header->biWidth &&
               y >= frame.gif.top && y < frame.gif.top + frame.image()->header->biHeight;
    }
    const std::vector<Picture>& frames_;
};

// Frames of all sizes and places, some of them beyond the screen, in few colours so that many pixels are
// holes.
std::vector<Picture> randomFrames(Random& random) {
    const int screenWidth = random.between(0, 12), screenHeight = random.between(0, 10);
    std::vector<Picture> frames;
    for (int n = random.between(1, 7); n > 0; n--) {
        Picture frame(random.between(1, 12), random.between(1, 10), random.oneIn(3) ? 1 : 8);
        const imgdes& image = *frame.image();
        for (UINT i = 0; i < image.header->biSizeImage; i++)
            image.bits[i] = frame.bits() == 8 ? static_cast<BYTE>(random.below(4)) : random.byte();
        for (int i = 0; i < (frame.bits() == 8 ? 4 : 2); i++)
            image.palette[i] = {random.byte(), random.byte(), random.byte(), 0};
        frame.gif.known = true;
        frame.gif.left = random.between(0, 14), frame.gif.top = random.between(0, 12);
        frame.gif.screenWidth = screenWidth, frame.gif.screenHeight = screenHeight;
        frame.gif.disposal = random.between(0, 4), frame.gif.transparent = random.between(-1, 3);
        frames.push_back(std::move(frame));
    }
    return frames;
}

TEST(GifScreen, ShowsEveryFrameAsItIsMeantInWhateverOrderTheyAreLookedAt) {
    Random random(51);
    for (int round = 0; round < 500; round++) {
        const std::vector<Picture> frames = randomFrames(random);
        const PlainScreen plain(frames);
        GifScreen screen(frames, surroundings);
        for (int look = 0; look < 12; look++) {
            const unsigned n = random.below(static_cast<unsigned>(frames.size()));
            screen.show(frames, n);
            const imgdes& seen = *screen.picture().image();
            ASSERT_GE(seen.header->biWidth, frames[0].gif.screenWidth);
            for (int y = 0; y < seen.header->biHeight; y++)
                for (int x = 0; x < seen.header->biWidth; x++)
                    ASSERT_EQ(colourOf(seen, x, y), plain.after(static_cast<int>(n), x, y))
                        << "round " << round << ", frame " << n << " at " << x << "," << y;
        }
    }
}

TEST(GifScreen, IsNotNeededForOneFrameThatFillsIt) {
    struct Case {
        int left, screenWidth, transparent;
        bool known, needed;
    };
    for (const Case& c :
         {Case{0, 4, -1, true, false}, Case{0, 3, -1, true, false}, Case{0, 4, 2, true, true},
          Case{0, 5, -1, true, true}, Case{1, 4, -1, true, true}, Case{0, 0, -1, false, false}}) {
        std::vector<Picture> frames;
        frames.emplace_back(4, 4, 8);
        frames[0].gif = {c.known, c.left, 0, c.screenWidth, 4, 0, 0, c.transparent, -1};
        EXPECT_EQ(GifScreen::neededFor(frames), c.needed)
            << c.left << " " << c.screenWidth << " " << c.transparent;
    }
}

// A file of frames that are told apart by their delays.
void saveAnimation(const wchar_t* file, int frames, int loops) {
    for (int i = 0; i < frames; i++) {
        Picture frame(5, 4, 8);
        GifGlobalInfo global = {};
        global.screenwidth = 6, global.screenheight = 5, global.loopcount = loops,
        global.hasglobalpalette = i == 0;
        GifFrameInfo info = {};
        info.delay = i, info.transcolor = -1, info.haslocalpalette = i > 0;
        ASSERT_EQ(savegifframeW(file, frame.image(), &global, &info, GIF_BITS(8)), 0);
    }
}

TEST(Playing, GoesThroughTheFramesAsOftenAsTheFileSaysAndEndsWithTheLast) {
    for (const int loops : {1, 3}) {
        const TempFile file(".gif");
        saveAnimation(file.wideName(), 4, loops);
        Document document;
        document.open(file.wideName());
        ASSERT_EQ(document.frameCount(), 4u) << document.message();
        for (int again = 0; again < 2; again++) {
            document.startPlaying();
            std::vector<unsigned> delays = {document.frameDelay()}, want;
            while (document.playOn() && delays.size() < 100) delays.push_back(document.frameDelay());
            for (int i = 0; i <= loops; i++) want.insert(want.end(), {100, 100, 20, 30});
            EXPECT_EQ(delays, want) << loops;
        }
    }
    const TempFile file(".gif");
    saveAnimation(file.wideName(), 2, 0);
    Document document;
    document.open(file.wideName());
    document.startPlaying();
    for (int i = 0; i < 100; i++) EXPECT_TRUE(document.playOn());
}

TEST(Saving, KeepsAnAnimationWholeInAGifAndWhatIsSeenOfItElsewhere) {
    const TempFile file(".gif"), copy(".gif"), still(".bmp");
    saveAnimation(file.wideName(), 4, 3);
    Document document;
    document.open(file.wideName());
    document.showFrame(2);
    document.saveAs(copy.wideName());
    GifGlobalInfo global;
    GifFrameInfo frames[4];
    ASSERT_EQ(gifinfoallframesW(copy.wideName(), &global, frames, 4), 0);
    EXPECT_EQ(global.loopcount, 3);
    for (int i = 0; i < 4; i++) EXPECT_EQ(frames[i].delay, i);

    document.saveAs(still.wideName());
    BITMAPINFOHEADER header;
    ASSERT_EQ(bmpinfoW(still.wideName(), &header), 0);
    EXPECT_EQ(header.biWidth, 6);  // the screen
    EXPECT_EQ(header.biBitCount, 24);
}

}  // namespace
