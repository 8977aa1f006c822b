// Copying for a picture that is larger than the caches.
#pragma once

#include <cstdint>

namespace orn32::png {

// Copies a row without bringing its place into the caches first. Other threads may see such stores late;
// giving back a lock, as every call does at its end, puts them in order.
void copyPastCaches(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count);

}  // namespace orn32::png
