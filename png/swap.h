// Red, green, blue to blue, green, red, and back.
#pragma once

#include <cstdint>

namespace orn32::png {

// Copies count pixels of three bytes, the outer two exchanged. The rows do not overlap.
void swapRedAndBlue(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count);

}  // namespace orn32::png
