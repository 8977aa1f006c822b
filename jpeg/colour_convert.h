// From pixels to samples: two rows of blue, green, red to two rows of Y and one each of Cb and Cr, which have
// half the resolution both ways.
#pragma once

#include <cstdint>

namespace orn32::jpeg {

struct PixelRows {
    const std::uint8_t* upper;
    const std::uint8_t* lower;
};

struct SampleRows {
    std::uint8_t* upperY;
    std::uint8_t* lowerY;
    std::uint8_t* cb;
    std::uint8_t* cr;
};

// Room for this many pixels more than a row has is needed behind rows of samples (for colour: half as many).
constexpr unsigned sampleSlack = 32;

// Converts rows of width pixels; the last one is repeated up to the next multiple of 16 at least. Cb and Cr
// are means of 2 x 2, where those that lie halfway are rounded down at even and up at odd columns, so that no
// bias adds up.
using ConvertRows = void (*)(const SampleRows& to, const PixelRows& from, unsigned width);

void convertRowsSse2(const SampleRows& to, const PixelRows& from, unsigned width);
void convertRowsAvx2(const SampleRows& to, const PixelRows& from, unsigned width);

// The faster of them that this processor can run.
ConvertRows bestConvertRows();

}  // namespace orn32::jpeg
