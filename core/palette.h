// Palettes: how many colours a header has, the grey ramp, the room an image has for entries.
#pragma once

#include "orn32.h"

namespace orn32 {

constexpr unsigned greyMark = 1;  // bit of imgkind

// Palette entries that a header stands for: biClrUsed, or all that the bit count can name.
unsigned colourCount(const BITMAPINFOHEADER& header);

// Palette entries that may be written to an image before its pixels would be hit.
unsigned paletteRoom(const imgdes& image);

// The difference between neighbouring entries of the grey ramp.
unsigned greyStep(unsigned bitsPerPixel);

}  // namespace orn32
