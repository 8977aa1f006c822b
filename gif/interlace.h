// The order of an interlaced frame's rows.
#pragma once

#include <algorithm>
#include <cstdint>

namespace orn32::gif {

// Four passes: rows 0, 8, 16 ..., rows 4, 12 ..., rows 2, 6 ..., rows 1, 3 ...
struct GifInterlaceTable {
    std::uint32_t pass1end, pass2end, pass3end;

    constexpr explicit GifInterlaceTable(std::uint32_t height)
        : pass1end(std::max(rows(height, 0, 8), std::uint32_t{1})),
          pass2end(pass1end + rows(height, 4, 8)),
          pass3end(pass2end + rows(height, 2, 4)) {}

    // The picture row that the stream's row i belongs to.
    constexpr std::uint32_t row(std::uint32_t i) const {
        if (i < pass1end) return i * 8;
        if (i < pass2end) return (i - pass1end) * 8 + 4;
        if (i < pass3end) return (i - pass2end) * 4 + 2;
        return (i - pass3end) * 2 + 1;
    }

 private:
    static constexpr std::uint32_t rows(std::uint32_t height, std::uint32_t first, std::uint32_t step) {
        return height > first ? (height - first - 1) / step + 1 : 0;
    }
};

}  // namespace orn32::gif
