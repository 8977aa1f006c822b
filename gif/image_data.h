// Image data without string codes: every pixel is a code of its own.
#pragma once

#include "io/stream.h"
#include "orn32.h"

namespace orn32::gif {

// Decodes the frame whose first sub-block the stream stands at into the image's area, from its top-left
// corner, as many rows and columns as both have. The code size must be 1 to 8, the image 1- or 8-bit. Returns
// 0, ERR_MEMORY, ERR_LZW_CODE (at a string code) or ERR_TRUNCATED (the stream ends before the data does),
// with the rows that were complete by then stored.
[[nodiscard]] int readImageData(InputStream& in, const GifFrameInfo& frame, const imgdes& image);

struct ImageDataOptions {
    unsigned pixelBits;  // what is written of every pixel, 1 to 8
    bool interlaced;
};

// The code size that pixels of so many bits are written with: there is none below 2.
constexpr unsigned codeSizeFor(unsigned pixelBits) {
    return pixelBits < 2 ? 2 : pixelBits;
}

// Writes the sub-blocks of an image's area, with the terminator. Returns 0 or ERR_MEMORY; a failed write is
// the stream's to report.
[[nodiscard]] int writeImageData(OutputStream& out, const imgdes& image, const ImageDataOptions& options);

}  // namespace orn32::gif
