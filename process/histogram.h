// Counting how often each byte occurs.
#pragma once

#include <cstdint>

#include "orn32.h"

namespace orn32 {

// Adds the pixels of an 8-bit area, which has passed the range check, to 256 counters.
void countIndices(const imgdes& image, std::uint32_t* counters);

}  // namespace orn32
