// Adam7: the seven passes of an interlaced picture, and a picture in order as one pass of another kind.
#pragma once

#include <cstdint>

namespace orn32::png {

// A pass holds every columnStep-th pixel of every rowStep-th row.
struct Pass {
    std::uint32_t firstColumn, columnStep, firstRow, rowStep;

    // Pixels that the pass takes from a row of a picture (or of a part that starts at its left edge).
    std::uint32_t columns(std::uint32_t width) const { return count(width, firstColumn, columnStep); }
    std::uint32_t rows(std::uint32_t height) const { return count(height, firstRow, rowStep); }

 private:
    static std::uint32_t count(std::uint32_t size, std::uint32_t first, std::uint32_t step) {
        return size > first ? (size - first - 1) / step + 1 : 0;
    }
};

struct Passes {
    const Pass* first;
    const Pass* last;
    const Pass* begin() const { return first; }
    const Pass* end() const { return last; }
};

Passes passesOf(bool interlaced);

// Puts count pixels of pixelBytes (1 or 3) into a row whose first byte is that of the picture's first column:
// the pass's pixels from index on.
void spreadPixels(std::uint8_t* row, const Pass& pass, std::uint32_t index, const std::uint8_t* pixels,
                  std::uint32_t count, unsigned pixelBytes);

// The same for 1-bit pixels, with column 0 at bit firstBit of the row's first byte.
void spreadBits(std::uint8_t* row, unsigned firstBit, const Pass& pass, const std::uint8_t* bits,
                std::uint32_t count);

// The way back: out of a row, count of the pass's pixels from index on, or all of its bits.
void pickPixels(std::uint8_t* pixels, const std::uint8_t* row, const Pass& pass, std::uint32_t index,
                std::uint32_t count, unsigned pixelBytes);
void pickBits(std::uint8_t* bits, const std::uint8_t* row, unsigned firstBit, const Pass& pass,
              std::uint32_t count);

}  // namespace orn32::png
