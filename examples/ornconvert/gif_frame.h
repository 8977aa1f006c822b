// What a frame of an animation carries beside its pixels.
#pragma once

namespace ornconvert {

struct GifFrameFacts {
    bool known = false;  // whether the picture comes from a GIF
    int left = 0, top = 0;
    int screenWidth = 0, screenHeight = 0;
    int delay = 0;  // hundredths of a second
    int disposal = 0;
    int transparent = -1;  // colour index
    int loops = -1;        // of the whole file
};

}  // namespace ornconvert
