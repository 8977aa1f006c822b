// Medians of levels in time that does not depend on the size of the neighbourhood.
//
// Every column of the rows at work keeps a histogram of its levels, in sixteen parts of sixteen levels and
// with the sums of the parts. Along a row the window's histogram follows by one column added and one taken
// away: first the sums, which tell the part that the median lies in, then only that part. Counts are bytes,
// so that a part is one register: a window has at most 255 pixels.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "core/memory.h"

namespace orn32 {

class SlidingMedian {
 public:
    // False: no memory. size is odd and at most 15.
    bool prepare(unsigned columns, unsigned size);

    // The medians of count windows in size rows, each of count + size - 1 levels. From call to call the rows
    // move down by one.
    void row(std::uint8_t* const* rows, std::uint8_t* result, unsigned count);

 private:
    static constexpr unsigned parts = 16;
    struct Column {
        std::uint8_t sums[parts];
        std::uint8_t levels[parts][16];
    };

    void count(const std::uint8_t* levels, std::uint8_t step);
    void medians(std::uint8_t* result, unsigned count) const;

    unsigned size_ = 0, width_ = 0;
    bool isFirst_ = true;
    WorkArray<Column> columns_;
};

}  // namespace orn32
