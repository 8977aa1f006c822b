// Disposal and transparency as browsers have them: what a file gives back to the background becomes
// transparent.
#include "gif_screen.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ornview {
namespace {

enum Disposal { toBackground = 2, toPrevious = 3 };  // all others leave the frame where it is

constexpr unsigned bytesPerPixel = 3;

BYTE* pixelOf(Picture& screen, LONG x, LONG y) {
    const imgdes& image = *screen.image();
    return image.bits + static_cast<UINT>(image.header->biHeight - 1 - y) * image.rowbytes +
           static_cast<UINT>(x) * bytesPerPixel;
}

int indexAt(const imgdes& image, LONG x, LONG y) {
    const BYTE* row = image.bits + static_cast<UINT>(image.header->biHeight - 1 - y) * image.rowbytes;
    return image.header->biBitCount == 8 ? row[x] : row[x / 8] >> (7 - x % 8) & 1;
}

SIZE sizeOf(const Picture& picture) {
    return {picture.image()->header->biWidth, picture.image()->header->biHeight};
}

// The file's screen; but the first frame is wholly seen, even where the file gives too small a one.
SIZE screenSize(const Picture& first) {
    const SIZE size = sizeOf(first);
    return {std::max<LONG>(first.gif.screenWidth, first.gif.left + size.cx),
            std::max<LONG>(first.gif.screenHeight, first.gif.top + size.cy)};
}

}  // namespace

bool GifScreen::neededFor(const std::vector<Picture>& frames) {
    const Picture& first = frames.front();
    const SIZE screen = screenSize(first), size = sizeOf(first);
    return first.gif.known &&
           (frames.size() > 1 || first.gif.transparent >= 0 || screen.cx != size.cx || screen.cy != size.cy);
}

// All memory is taken here, so that a window can go from frame to frame without a thought of failing.
GifScreen::GifScreen(const std::vector<Picture>& frames, COLORREF ground)
    : screen_(screenSize(frames.front()).cx, screenSize(frames.front()).cy, 24), ground_(ground) {
    const auto wantsPrevious = [](const Picture& frame) { return frame.gif.disposal == toPrevious; };
    const SIZE size = sizeOf(screen_);
    if (std::ranges::any_of(frames, wantsPrevious)) before_.emplace(size.cx, size.cy, 24);
}

void GifScreen::show(const std::vector<Picture>& frames, std::size_t frame) {
    if (shown_ == 0 || frame + 1 < shown_) {
        const SIZE size = sizeOf(screen_);
        clear({0, 0, size.cx, size.cy});
        shown_ = 0;
    }
    for (; shown_ <= frame; shown_++) {
        if (shown_ > 0) remove(frames[shown_ - 1]);
        draw(frames[shown_]);
    }
}

RECT GifScreen::visiblePart(const Picture& frame) const {
    const SIZE screen = sizeOf(screen_), size = sizeOf(frame);
    const LONG left = frame.gif.left, top = frame.gif.top;
    return {std::min(left, screen.cx), std::min(top, screen.cy), std::min(left + size.cx, screen.cx),
            std::min(top + size.cy, screen.cy)};
}

void GifScreen::clear(const RECT& area) {
    for (LONG y = area.top; y < area.bottom; y++)
        for (LONG x = area.left; x < area.right; x++) {
            BYTE* const pixel = pixelOf(screen_, x, y);
            pixel[0] = GetBValue(ground_);
            pixel[1] = GetGValue(ground_);
            pixel[2] = GetRValue(ground_);
        }
}

void GifScreen::draw(const Picture& frame) {
    const imgdes& screen = *screen_.image();
    if (frame.gif.disposal == toPrevious)
        std::memcpy(before_->image()->bits, screen.bits,
                    std::size_t{screen.rowbytes} * static_cast<UINT>(screen.header->biHeight));
    const imgdes& image = *frame.image();
    const RECT area = visiblePart(frame);
    for (LONG y = area.top; y < area.bottom; y++)
        for (LONG x = area.left; x < area.right; x++) {
            const int index = indexAt(image, x - frame.gif.left, y - frame.gif.top);
            if (index == frame.gif.transparent) continue;
            const RGBQUAD& colour = image.palette[index];
            BYTE* const pixel = pixelOf(screen_, x, y);
            pixel[0] = colour.rgbBlue;
            pixel[1] = colour.rgbGreen;
            pixel[2] = colour.rgbRed;
        }
}

void GifScreen::remove(const Picture& frame) {
    if (frame.gif.disposal == toBackground) clear(visiblePart(frame));
    if (frame.gif.disposal == toPrevious) screen_ = std::move(*before_);  // they change places
}

}  // namespace ornview
