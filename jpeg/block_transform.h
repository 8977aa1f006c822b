// Blocks of 8 x 8 samples to quantised coefficients, two at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "jpeg/quantise.h"

namespace orn32::jpeg {

struct TransformedPair {
    std::int16_t coefficients[2][64];  // in natural order
    std::uint8_t nonzero[2][8];        // bit x of byte y: whether the coefficient there is not 0
};

// Level shift, accurate integer DCT, and quantisation: rounded to nearest, halves away from zero. The
// samples' rows lie stride bytes apart in both blocks, which may be the same.
using TransformBlocks = void (*)(const std::uint8_t* first, const std::uint8_t* second, std::size_t stride,
                                 const Quantiser& quantiser, TransformedPair& to);

void transformBlocksSse2(const std::uint8_t* first, const std::uint8_t* second, std::size_t stride,
                         const Quantiser& quantiser, TransformedPair& to);
void transformBlocksAvx2(const std::uint8_t* first, const std::uint8_t* second, std::size_t stride,
                         const Quantiser& quantiser, TransformedPair& to);

// The faster of them that this processor can run.
TransformBlocks bestTransformBlocks();

}  // namespace orn32::jpeg
