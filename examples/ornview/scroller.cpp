// Scroll bars, keys and wheel all move one position; what stays in view is moved on the screen, not redrawn.
#include "scroller.h"

#include <algorithm>
#include <iterator>

namespace ornview {
namespace {

constexpr long line = 32;  // pixels
constexpr long notch = 96;

// On a device with a palette, pixels on the screen belong to the reduction that they were drawn with, and
// those of two reductions do not join without a seam.
bool pixelsCanMove(HWND window) {
    const HDC dc = GetDC(window);
    const bool can = GetDeviceCaps(dc, BITSPIXEL) > 8;
    ReleaseDC(window, dc);
    return can;
}

}  // namespace

void Scroller::setContent(SIZE content, bool reset) {
    content_ = content;
    if (reset) position_ = {0, 0};
    update();
    InvalidateRect(window_, nullptr, FALSE);
}

SIZE Scroller::client() const {
    RECT area;
    GetClientRect(window_, &area);
    return {area.right, area.bottom};
}

POINT Scroller::furthest() const {
    const SIZE view = client();
    return {std::max(0L, content_.cx - view.cx), std::max(0L, content_.cy - view.cy)};
}

// A bar that comes takes room from the other direction, which may then need one too: hence the second round.
void Scroller::update() {
    for (int round = 0; round < 2; round++)
        for (const int bar : {SB_HORZ, SB_VERT}) {
            const SIZE view = client();
            const LONG all = bar == SB_HORZ ? content_.cx : content_.cy;
            const LONG seen = bar == SB_HORZ ? view.cx : view.cy;
            const LONG at = bar == SB_HORZ ? position_.x : position_.y;
            const SCROLLINFO info = {.cbSize = sizeof info,
                                     .fMask = SIF_PAGE | SIF_POS | SIF_RANGE,
                                     .nMin = 0,
                                     .nMax = std::max(0L, all - 1),
                                     .nPage = static_cast<UINT>(seen),
                                     .nPos = at,
                                     .nTrackPos = 0};
            SetScrollInfo(window_, bar, &info, TRUE);
        }
    moveTo(position_);
}

void Scroller::moveTo(POINT position) {
    const POINT end = furthest();
    position.x = std::clamp(position.x, 0L, end.x);
    position.y = std::clamp(position.y, 0L, end.y);
    const int x = position_.x - position.x, y = position_.y - position.y;
    if (x == 0 && y == 0) return;
    position_ = position;
    SetScrollPos(window_, SB_HORZ, position.x, TRUE);
    SetScrollPos(window_, SB_VERT, position.y, TRUE);
    if (pixelsCanMove(window_))
        ScrollWindowEx(window_, x, y, nullptr, nullptr, nullptr, nullptr, SW_INVALIDATE);
    else
        InvalidateRect(window_, nullptr, FALSE);
    UpdateWindow(window_);
}

void Scroller::moveBy(int bar, long distance) {
    POINT to = position_;
    (bar == SB_HORZ ? to.x : to.y) += distance;
    moveTo(to);
}

void Scroller::onScrollBar(int bar, int code) {
    const SIZE view = client();
    const long page = std::max(line, (bar == SB_HORZ ? view.cx : view.cy) - line);
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_TRACKPOS | SIF_POS | SIF_RANGE;
    GetScrollInfo(window_, bar, &info);
    switch (code) {
        case SB_LINEUP:
            return moveBy(bar, -line);
        case SB_LINEDOWN:
            return moveBy(bar, line);
        case SB_PAGEUP:
            return moveBy(bar, -page);
        case SB_PAGEDOWN:
            return moveBy(bar, page);
        case SB_THUMBTRACK:
            return moveBy(bar, info.nTrackPos - info.nPos);
        case SB_TOP:
            return moveBy(bar, -info.nMax);
        case SB_BOTTOM:
            return moveBy(bar, info.nMax);
    }
}

void Scroller::onWheel(int bar, int delta) {
    moveBy(bar, -delta * notch / WHEEL_DELTA);
}

bool Scroller::onKey(int key) {
    struct KeyScroll {
        int key, bar, code;
    };
    static constexpr KeyScroll keys[] = {
        {VK_LEFT, SB_HORZ, SB_LINEUP},   {VK_RIGHT, SB_HORZ, SB_LINEDOWN}, {VK_UP, SB_VERT, SB_LINEUP},
        {VK_DOWN, SB_VERT, SB_LINEDOWN}, {VK_PRIOR, SB_VERT, SB_PAGEUP},   {VK_NEXT, SB_VERT, SB_PAGEDOWN},
        {VK_HOME, SB_VERT, SB_TOP},      {VK_END, SB_VERT, SB_BOTTOM},
    };
    const auto found = std::ranges::find(keys, key, &KeyScroll::key);
    if (found == std::end(keys)) return false;
    onScrollBar(found->bar, found->code);
    return true;
}

}  // namespace ornview
