// A picture of the window.
#include "screenshot.h"

#include "ornconvert/messages.h"

namespace ornview {

using ornconvert::Picture;

// A picture of the library is a DIB section, so that GDI copies the screen right into it.
Picture pictureOfWindow(HWND window) {
    RECT frame;
    GetWindowRect(window, &frame);
    const int width = frame.right - frame.left, height = frame.bottom - frame.top;
    Picture picture(width, height, 24);
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HGDIOBJ previous = SelectObject(memory, picture.image()->hbitmap);
    const BOOL copied = BitBlt(memory, 0, 0, width, height, screen, frame.left, frame.top, SRCCOPY);
    SelectObject(memory, previous);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    GdiFlush();
    if (!copied) throw ornconvert::Failure{L"the screen cannot be read"};
    return picture;
}

}  // namespace ornview
