// From pixels to samples: rows of blue, green, red to rows of Y, Cb, Cr; colour at half the resolution.
#pragma once

#include <cstdint>

#include "core/platform.h"

namespace orn32::jpeg {

// One row of each component.
struct YccRow {
    std::uint8_t* y;
    std::uint8_t* cb;
    std::uint8_t* cr;
};

// Converts a row of width pixels, 3 bytes each.
void convertRow(const YccRow& to, const std::uint8_t* pixels, unsigned width);

// The same for palette indices: every entry is converted once.
class PaletteConverter {
 public:
    // Entries beyond the image's palette are black.
    explicit PaletteConverter(const RGBQUAD* palette, unsigned entries);
    void convertRow(const YccRow& to, const std::uint8_t* indices, unsigned width) const;

 private:
    std::uint8_t y_[256], cb_[256], cr_[256];
};

// Halves two neighbouring rows of width samples, a multiple of 16, into one: means of 2 x 2, which are
// rounded down at even and up at odd columns where they lie halfway, so that no bias adds up.
void halveRows(std::uint8_t* to, const std::uint8_t* upper, const std::uint8_t* lower, unsigned width);

}  // namespace orn32::jpeg
