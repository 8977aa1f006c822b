// From coefficients to samples: the accurate integer inverse transform of Loeffler, Ligtenberg and Moschytz,
// exact to the bit for every input.
#pragma once

#include <cstddef>
#include <cstdint>

#include "jpeg/format.h"

namespace orn32::jpeg {

// Dequantises a block (natural order; products cut to 16 bits) and transforms it into 8 rows of 8 samples.
// All coefficients behind index last in zigzag order are 0; 63 is always true. coefs and quant are aligned to
// 16 bytes.
void inverseDct(const std::int16_t* coefs, const std::uint16_t* quant, unsigned last, std::uint8_t* out,
                std::ptrdiff_t stride);

// The whole transform without vector instructions, for products of any size. coefs are dequantised already.
void inverseDctPlain(const std::int16_t* coefs, std::uint8_t* out, std::ptrdiff_t stride);

}  // namespace orn32::jpeg
