// BMP run lengths: decoding one row of RLE8 or RLE4 data, encoding one row as RLE8.
#pragma once

#include <cstdint>

#include "io/file_window.h"

namespace orn32::bmp {

enum class RowEnd {
    row,       // the row's end mark
    bitmap,    // the end mark of the whole picture
    data,      // the file ends here
    unusable,  // a delta, or more pixels than the picture is wide
};

// Decode one file row of width pixels into a row of bytes, of which only the first columns are stored. Pixels
// that the file leaves out stay as they were.
RowEnd decodeRle8Row(FileWindow& in, std::uint8_t* row, std::uint32_t columns, std::uint32_t width);
RowEnd decodeRle4Row(FileWindow& in, std::uint8_t* row, std::uint32_t columns, std::uint32_t width);

// Encodes width pixels with the row's end mark; takes at most 2 * width + 2 bytes. Returns the bytes written.
std::uint32_t encodeRle8Row(std::uint8_t* out, const std::uint8_t* row, std::uint32_t width);

}  // namespace orn32::bmp
