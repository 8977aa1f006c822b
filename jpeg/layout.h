// How the components of a frame divide into blocks and MCUs.
#pragma once

#include <cstdint>

#include "jpeg/headers.h"

namespace orn32::jpeg {

struct ComponentLayout {
    unsigned h, v;                      // blocks of the component in an MCU, across and down
    unsigned blocksAcross, blocksDown;  // of a scan of this component alone
};

struct Layout {
    unsigned count = 0;
    unsigned hMax = 1, vMax = 1;
    unsigned mcuWidth = 8, mcuHeight = 8;  // pixels
    unsigned mcusPerRow = 0, mcuRows = 0;
    unsigned mcusPerRestartStep = 1;  // see setLayout
    ComponentLayout components[maxComponents] = {};
};

// 0, or ERR_BAD_JPEG for a frame whose MCU has too many blocks.
[[nodiscard]] int checkBlocksPerMcu(const Headers& headers);

// Whether the decoder takes the frame, and into an image of the given bit count.
// Returns 0, ERR_BAD_JPEG, ERR_RANGE or ERR_BITS.
[[nodiscard]] int checkFrame(const Headers& headers, unsigned imageBits);

// The layout of a frame that has passed both checks. The only component of a frame has its blocks row by row
// whatever its sampling factors; its restart interval counts steps of h * v of them.
Layout layoutOf(const Headers& headers);

constexpr unsigned ceilDivide(unsigned a, unsigned b) {
    return (a + b - 1) / b;
}

}  // namespace orn32::jpeg
