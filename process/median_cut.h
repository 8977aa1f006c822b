// Palettes by median cut.
#pragma once

#include "orn32.h"

namespace orn32 {

// Gives destination a palette of colours entries (2 to 256, no more than it has room for) made for the 24-bit
// pixels of source in the area that both have. Entries that the picture has no colours for repeat entry 0;
// reserved bytes stay. Returns 0 or ERR_MEMORY.
[[nodiscard]] int mediancutpalette_(const imgdes& source, imgdes& destination, unsigned colours);

}  // namespace orn32
