// Loading a JPEG into an image.
#pragma once

#include <cstdint>

#include "io/stream.h"
#include "orn32.h"

namespace orn32::jpeg {

enum class LoadMode { full, reduced };

// Loads the picture's top-left part, or all of it reduced to the area. Takes the lock. Returns a result code.
[[nodiscard]] int load(const Source& source, imgdes* image, LoadMode mode, std::uint32_t option);

}  // namespace orn32::jpeg
