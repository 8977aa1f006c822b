// Drawing images into device contexts.
#pragma once

#include "orn32.h"

namespace orn32 {

// What a drawing call is given by its caller.
struct Canvas {
    HWND window;
    HDC dc;
    HPALETTE* palette;  // where the caller gets the image's palette
};

// viewimageex for a device of depth bits per pixel.
int viewOnDepth(const Canvas& canvas, int depth, POINT offset, imgdes* image, POINT screen, int mode);

}  // namespace orn32
