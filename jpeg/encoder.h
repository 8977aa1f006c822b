// The two ways of coding a picture behind its headers: in one pass, or from whole-image coefficient buffers.
#pragma once

#include "io/stream.h"
#include "jpeg/encode_frame.h"
#include "orn32.h"

namespace orn32::jpeg {

// One interleaved scan with the standard tables; its headers have been written. Keeps one row of MCUs.
// Returns 0, ERR_MEMORY, or the code of a write that came up short; unwinds when that happens before the end.
[[nodiscard]] int encodeSequential(OutputStream& out, const EncodeFrame& frame, const imgdes& image);

// All scans of an optimised or progressive picture, each with its own tables and headers. Results as above.
[[nodiscard]] int encodeFromCoefficients(OutputStream& out, const EncodeFrame& frame, const imgdes& image);

}  // namespace orn32::jpeg
