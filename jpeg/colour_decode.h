// From component planes to pixels: one row at a time, bytes in blue, green, red order.
#pragma once

#include <cstdint>

#include "jpeg/headers.h"

namespace orn32::jpeg {

// The rows of one line of pixels in each plane: Y, Cb, Cr, or red, green, blue, or C, M, Y; the fourth is K,
// or null. Up to rowMargin samples behind the last one may be read.
constexpr unsigned rowMargin = 16;
struct PlaneRows {
    const std::uint8_t* at[maxComponents];
};

using RowConverter = void (*)(const PlaneRows& rows, unsigned columns, std::uint8_t* out);

enum class Conversion { ycbcr, copy, cmyk, ycck };

// The conversion that a load's option word asks for; option 0 and 0x84 leave it to the file.
Conversion chooseConversion(std::uint32_t option, unsigned components, unsigned adobeTransform);

RowConverter rowConverter(Conversion conversion);

void convertYcbcr(const PlaneRows& rows, unsigned columns, std::uint8_t* out);

// The same for planes Cb and Cr that have one sample for two columns.
void convertYcbcrHalf(const PlaneRows& rows, unsigned columns, std::uint8_t* out);

// What red, green and blue differ from Y by, for x = Cb - 128 or Cr - 128. Rounded toward zero.
constexpr int crToRed(int x) {
    return (91881 * x + 32768) / 65536;
}
constexpr int cbToBlue(int x) {
    return (116130 * x + 32768) / 65536;
}
constexpr int chromaToGreen(int cb, int cr) {
    return (-22554 * cb - 46802 * cr + 32768) >> 16;
}

constexpr std::uint8_t limited(int sample) {
    return static_cast<std::uint8_t>(sample < 0 ? 0 : sample > 255 ? 255 : sample);
}

}  // namespace orn32::jpeg
