// The colours of a palette picture.
#pragma once

#include "io/stream.h"
#include "orn32.h"
#include "png/info.h"

namespace orn32::png {

// Stores at most room entries of the file's palette and returns how many: 0 for pictures without indices.
int readPalette(InputStream& in, const PngInfo& info, const Place& palette, RGBQUAD* entries, unsigned room);

}  // namespace orn32::png
