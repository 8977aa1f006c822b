// The pictures that all rows work on, made by integer arithmetic alone, so that every compiler and system
// makes the same bytes.
#pragma once

#include "bench.h"

namespace bench {

struct Picture {
    unsigned width, height, bits;
    Bytes pixels;   // rows from the top without padding: palette indices, or blue, green, red
    Bytes palette;  // blue, green, red, 0 for each of 256 colours; empty for 24 bits

    unsigned rowBytes() const { return width * bits / 8; }
    const std::uint8_t* row(unsigned y) const { return pixels.data() + std::size_t{y} * rowBytes(); }
    double pixelCount() const { return 1.0 * width * height; }
};

// 2048 x 1536 pixels each, made on first use.
const Picture& photograph();  // 24-bit: a lake before mountains, with a photograph's statistics and grain
const Picture& graphic();     // 8-bit: windows with text, charts, ramps and icons on a plain desktop

const Picture& photograph256();   // 8-bit: the photograph reduced to 256 colours by median cut, not dithered
const Picture& greyPhotograph();  // 8-bit: its grey levels, with a grey palette

// The picture of a 24-bit BMP file without compression.
Picture pictureFrom(const Bytes& bmp);

// The picture as a bottom-up BMP file; runLengths needs 8 bits.
Bytes bmpFile(const Picture& picture, bool runLengths = false);

}  // namespace bench
