// Nearest palette colour, exactly: a search along the channel in which the palette is spread widest.
#pragma once

#include <cstdint>

#include "process/colour_key.h"
#include "process/palette_row.h"

namespace orn32 {

class SortedAxis {
 public:
    // count: 1 to 256 entries.
    SortedAxis(const PaletteTable& palette, unsigned count);

    // The index of the entry nearest to a pixel. Of entries equally near the one that the walk meets first.
    std::uint8_t nearest(const std::uint8_t* bgr) const;

 private:
    struct Entry {
        std::uint8_t bgr[3];
        std::uint8_t index;
    };

    void fillStarts();

    Channel axis_;
    unsigned count_;
    Entry entries_[256];        // by their value on the axis, largest first
    std::uint8_t starts_[256];  // where the walk begins for each value on the axis
};

}  // namespace orn32
