// Stucki error diffusion of grey levels to black and white.
//
// An error is spread over twelve neighbours that are still to come, in forty-seconds; each share is truncated
// towards zero on its own and each sum clamped to a byte at once:
//
//               pixel  8   4
//       2   4     8    4   2
//       1   2     4    2   1
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/memory.h"

namespace orn32 {

// Replaces the row's levels by those with the errors so far, at which its pixels are decided: from 128 on
// they are white. Spreads the errors over the rest of the row and the two rows below. All rows have two spare
// pixels in front and three behind.
void diffuseStuckiRow(std::uint8_t* row, std::uint8_t* below, std::uint8_t* secondBelow, unsigned count);

// The row at work and the two below it.
class StuckiRows {
 public:
    explicit StuckiRows(unsigned columns) : columns_(columns) {
        const std::size_t step = std::size_t{columns} + 5;
        memory_ = WorkArray<std::uint8_t>(MemoryEntry::counted, 3 * step);
        for (unsigned i = 0; memory_ && i < 3; i++) rows_[i] = memory_.get() + i * step + 2;
    }
    explicit operator bool() const { return static_cast<bool>(memory_); }

    // load(levels, y) stores the area's row y in levels; place(levels, y) takes the levels at which row y is
    // decided. Rows y + 1 and y + 2 are loaded before row y is placed.
    template <class Load, class Place>
    void run(unsigned height, Load load, Place place) {
        for (unsigned y = 0; y < std::min(height, 2u); y++) load(rows_[y], y);
        for (unsigned y = 0; y < height; y++) {
            if (y + 2 < height) load(rows_[2], y + 2);
            diffuseStuckiRow(rows_[0], rows_[1], rows_[2], columns_);
            place(rows_[0], y);
            std::rotate(rows_, rows_ + 1, rows_ + 3);
        }
    }

 private:
    unsigned columns_;
    WorkArray<std::uint8_t> memory_;
    std::uint8_t* rows_[3] = {};
};

}  // namespace orn32
