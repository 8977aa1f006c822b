// The rows of an image area, top row first whatever their order in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "orn32.h"

namespace orn32 {

struct Size {
    unsigned width;
    unsigned height;
};

inline Size areaSize(const imgdes& image) {
    return {image.right - image.left + 1, image.bottom - image.top + 1};
}

// Two-image operations work on what both areas have, from the top-left corner of each.
inline Size commonSize(const imgdes& a, const imgdes& b) {
    const Size sa = areaSize(a), sb = areaSize(b);
    return {std::min(sa.width, sb.width), std::min(sa.height, sb.height)};
}

// Walks the rows of an area whose record has passed the range check.
class AreaRows {
 public:
    explicit AreaRows(const imgdes& image)
        : step_(-static_cast<std::ptrdiff_t>(image.rowbytes)),
          bit_(image.header->biBitCount == 1 ? image.left & 7 : 0) {
        const std::size_t row = static_cast<unsigned>(image.header->biHeight) - 1 - image.top;
        top_ = image.bits + image.rowbytes * row + std::size_t{image.left} * image.header->biBitCount / 8;
    }

    // The byte that holds the first pixel of the area's row y; 0 is the top row.
    std::uint8_t* operator[](std::size_t y) const { return top_ + static_cast<std::ptrdiff_t>(y) * step_; }

    // From a row to the one below it in the picture.
    std::ptrdiff_t step() const { return step_; }

    // Where in that byte a 1-bit area begins: 0 is the highest bit.
    unsigned bit() const { return bit_; }

 private:
    std::uint8_t* top_;
    std::ptrdiff_t step_;
    unsigned bit_;
};

}  // namespace orn32
