// The scroll bars of a window that shows part of something larger.
#pragma once

#include <windows.h>

namespace ornview {

class Scroller {
 public:
    void attach(HWND window) { window_ = window; }

    // The size of what is shown. Its top left corner comes back into view if reset is true.
    void setContent(SIZE content, bool reset);
    void windowResized() { update(); }

    POINT position() const { return position_; }  // of the window's corner within the content
    void moveTo(POINT position);

    void onScrollBar(int bar, int code);  // WM_HSCROLL, WM_VSCROLL
    void onWheel(int bar, int delta);     // a notch is 120, away from the user positive
    bool onKey(int key);                  // arrows, page and end keys

 private:
    void update();
    void moveBy(int bar, long distance);
    SIZE client() const;
    POINT furthest() const;

    HWND window_ = nullptr;
    SIZE content_ = {0, 0};
    POINT position_ = {0, 0};
};

}  // namespace ornview
