// The information parse in front of every call that reads a JPEG stream.
#pragma once

#include "io/stream.h"
#include "jpeg/headers.h"

namespace orn32::jpeg {

// Reads a stream's headers up to its first scan. headers must be new.
// Returns 0, ERR_SOURCE_BUFFER, ERR_OPEN, ERR_MEMORY or ERR_BAD_JPEG.
[[nodiscard]] int readInformation(const Source& source, Headers& headers);

}  // namespace orn32::jpeg
