// The thumbnail of a written picture, in a JFIF extension segment.
#pragma once

#include "io/stream.h"
#include "jpeg/encode_frame.h"

namespace orn32::jpeg {

// Sides of the thumbnail of a picture whose longer side is to become size; none is below 1.
Size thumbnailSides(Size picture, unsigned size);

// Writes the segment: indices and a palette for a grey picture, else red, green, blue. Unwinds with
// ERR_THUMB_SIZE if it does not fit into a segment, ERR_MEMORY, or the code of a short write.
void writeThumbnail(OutputStream& out, imgdes& image, const EncodeFrame& frame, unsigned size);

}  // namespace orn32::jpeg
