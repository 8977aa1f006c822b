// Scaling one image area into another.
#pragma once

#include "orn32.h"
#include "process/temporary_image.h"

namespace orn32 {

// Scales the source's area into the destination's, both of the same bit count (1, 8 or 24).
// mode 0 picks source pixels; any other interpolates when enlarging and averages when reducing, except that
// 1-bit images are always picked from. The destination gets the source's palette. The areas may overlap.
// Returns 0, ERR_BITS, ERR_RANGE (an empty area), the range check's codes, ERR_MEMORY.
[[nodiscard]] int resizeimage_(imgdes* source, imgdes* destination, int mode);

// The two ways to do it, for areas of different size.
[[nodiscard]] int resizeBySampling(imgdes* source, imgdes* destination);
[[nodiscard]] int resizeSmoothly(imgdes* source, imgdes* destination);

// Whether two areas share memory, as far as a copy must care.
bool areasOverlap(const imgdes& a, const imgdes& b);

}  // namespace orn32
