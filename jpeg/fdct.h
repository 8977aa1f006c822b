// The forward transform of one block of 8 x 8 samples.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orn32::jpeg {

// Level shift and accurate integer DCT. The samples' rows lie stride bytes apart; the 64 coefficients come
// out row by row, eight times their true size, within 16 bits.
void forwardDct(const std::uint8_t* samples, std::size_t stride, std::int16_t* coefficients);

}  // namespace orn32::jpeg
