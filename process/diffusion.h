// Floyd-Steinberg error diffusion over rows of blue, green, red bytes.
//
// An error is spread to the neighbours that are still to come as 7/16, 3/16, 5/16 and 1/16, each share
// rounded down on its own and each sum clamped to a byte at once, so that the order of additions matters:
//
//              pixel   7
//         3      5     1
#pragma once

#include <cstdint>
#include <utility>

#include "core/memory.h"

namespace orn32 {

inline std::uint8_t clampToByte(int value) {
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

inline void addClamped(std::uint8_t& channel, int amount) {
    channel = clampToByte(channel + amount);
}

// Spreads the error of one channel of one pixel: current and below are that channel's bytes in the pixel's
// row and in the row below it.
inline void spreadError(std::uint8_t* current, std::uint8_t* below, int error) {
    addClamped(current[3], (7 * error) >> 4);
    addClamped(below[-3], (3 * error) >> 4);
    addClamped(below[0], (5 * error) >> 4);
    addClamped(below[3], error >> 4);
}

// The row at work and the one below it, each with room for a spare pixel at both ends that takes the errors
// falling off the area.
class DiffusionRows {
 public:
    explicit DiffusionRows(unsigned columns)
        : rows_(MemoryEntry::counted, 2 * (std::uint64_t{3} * columns + 6)) {
        if (!rows_) return;
        current_ = rows_.get() + 3;
        below_ = current_ + std::size_t{3} * columns + 6;
    }
    explicit operator bool() const { return static_cast<bool>(rows_); }

    // load(bgr, y) stores the area's row y in bgr; map(current, below, y) maps it and spreads its errors. Row
    // y + 1 is loaded before row y is mapped: source and destination may be the same rows. Below the last row
    // errors go where no one reads them.
    template <class Load, class Map>
    void run(unsigned height, Load load, Map map) {
        load(current_, 0u);
        for (unsigned y = 0; y < height; y++) {
            if (y + 1 < height) load(below_, y + 1);
            map(current_, below_, y);
            std::swap(current_, below_);
        }
    }

 private:
    WorkArray<std::uint8_t> rows_;
    std::uint8_t* current_ = nullptr;
    std::uint8_t* below_ = nullptr;
};

}  // namespace orn32
