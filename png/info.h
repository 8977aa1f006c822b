// The walk over all chunks of a file: what it says of itself, and where its parts lie.
#pragma once

#include "io/stream.h"
#include "orn32.h"
#include "png/chunks.h"

namespace orn32::png {

struct Places {
    Place palette;  // the first PLTE
    Place data;     // the first IDAT
    Place comment;  // the text under the keyword asked for
};

// Fills the record and the places; a file found faulty leaves in the record what came before the fault.
// Without a keyword no comment is looked for. Fails as PNG calls do.
Places walk(InputStream& in, PngInfo& info, const char* keyword = nullptr);

// Opens the source and walks over it. Returns 0 or ERR_OPEN.
[[nodiscard]] int openAndWalk(const Source& source, PngInfo& info);

}  // namespace orn32::png
