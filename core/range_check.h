// The argument check in front of every operation.
#pragma once

#include "orn32.h"

namespace orn32 {

// Sets of bits per pixel that an operation accepts; bit n stands for n bits per pixel.
enum BitCounts : unsigned {
    bits8and24 = 1u << 8 | 1u << 24,
    bits1to24 = bits8and24 | 1u << 1,
    bits1to24and16 = bits1to24 | 1u << 16,
};

// Puts swapped edges right in the caller's record and returns 0 when the area lies in the picture and the bit
// count is allowed; else ERR_BAD_BUFFER, ERR_RANGE, ERR_COMPRESSED or ERR_BITS, tested in this order.
[[nodiscard]] int checkRange(imgdes* image, BitCounts allowed);

}  // namespace orn32
