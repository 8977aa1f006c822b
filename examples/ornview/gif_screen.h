// The frames of a GIF put together as they are meant to be seen. A frame covers only part of the file's
// screen, has holes where its transparent colour is, and says what becomes of it before the next one comes.
#pragma once

#include <windows.h>

#include <optional>
#include <vector>

#include "ornconvert/picture.h"

namespace ornview {

using ornconvert::Picture;

class GifScreen {
 public:
    // Whether the frames as they are do not show what is meant.
    static bool neededFor(const std::vector<Picture>& frames);

    // An empty screen for the frames; where it stays empty, it has the colour of the ground. Throws a
    // Failure.
    GifScreen(const std::vector<Picture>& frames, COLORREF ground);

    // Puts the frames from the first to this one on the screen, always of the same vector.
    void show(const std::vector<Picture>& frames, std::size_t frame);

    Picture& picture() { return screen_; }
    const Picture& picture() const { return screen_; }

 private:
    void clear(const RECT& area);
    void draw(const Picture& frame);
    void remove(const Picture& frame);
    RECT visiblePart(const Picture& frame) const;

    Picture screen_;  // 24 bits
    COLORREF ground_;
    std::size_t shown_ = 0;          // how many frames lie on the screen
    std::optional<Picture> before_;  // the screen before the last of them, where a frame asks for that
};

}  // namespace ornview
