// Floyd-Steinberg error diffusion over rows of blue, green, red bytes.
//
// An error is spread to the neighbours that are still to come as 7/16, 3/16, 5/16 and 1/16, each share
// rounded down on its own and each sum clamped to a byte at once, so that the order of additions matters:
//
//              pixel   7
//         3      5     1
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#include <utility>

#include "core/memory.h"

namespace orn32 {

// The channels of one pixel in four 16-bit lanes: blue, green, red, and one that means nothing.
class PixelLanes {
 public:
    PixelLanes() : lanes_(_mm_setzero_si128()) {}
    explicit PixelLanes(__m128i lanes) : lanes_(lanes) {}
    // blue | green << 8 | red << 16
    explicit PixelLanes(std::uint32_t bgr)
        : lanes_(_mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(bgr)), _mm_setzero_si128())) {}

    // The fourth byte is read and means nothing.
    static PixelLanes load(const std::uint8_t* bgr) {
        std::uint32_t word;
        std::memcpy(&word, bgr, sizeof word);
        return PixelLanes(word);
    }
    // Clamps to bytes, and writes a fourth one that means nothing.
    void store(std::uint8_t* bgr) const {
        const std::uint32_t word = clampedWord();
        std::memcpy(bgr, &word, sizeof word);
    }
    std::uint32_t clampedWord() const {
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(lanes_, lanes_)));
    }
    PixelLanes clamped() const {
        return PixelLanes(_mm_unpacklo_epi8(_mm_packus_epi16(lanes_, lanes_), _mm_setzero_si128()));
    }

    template <int weight>
    PixelLanes sixteenths() const {
        const __m128i product = weight == 7   ? _mm_sub_epi16(_mm_slli_epi16(lanes_, 3), lanes_)
                                : weight == 5 ? _mm_add_epi16(_mm_slli_epi16(lanes_, 2), lanes_)
                                : weight == 3 ? _mm_add_epi16(_mm_slli_epi16(lanes_, 1), lanes_)
                                              : lanes_;
        return PixelLanes(_mm_srai_epi16(product, 4));
    }
    friend PixelLanes operator+(PixelLanes a, PixelLanes b) {
        return PixelLanes(_mm_add_epi16(a.lanes_, b.lanes_));
    }
    friend PixelLanes operator-(PixelLanes a, PixelLanes b) {
        return PixelLanes(_mm_sub_epi16(a.lanes_, b.lanes_));
    }

 private:
    __m128i lanes_;
};

// Maps a row of count pixels and spreads their errors. choose(x, bgr) gets the value of pixel x with the
// errors so far, as blue | green << 8 | red << 16 | noise << 24, and returns the PixelLanes of the colour
// that takes its place. Both rows need a spare pixel at each end; below is read and written, current is read.
//
// Of the row below two pixels are held back: the one to the left still misses one share, the one straight
// below two. What is stored of them runs one byte into the next pixel, which has been read by then.
template <class Choose>
void diffuseRow(const std::uint8_t* current, std::uint8_t* below, unsigned count, Choose choose) {
    PixelLanes pixel = PixelLanes::load(current);
    PixelLanes belowLeft, straightBelow = PixelLanes::load(below);
    for (unsigned x = 0; x < count; x++, current += 3, below += 3) {
        const PixelLanes belowRight = PixelLanes::load(below + 3);
        const std::uint32_t value = pixel.clampedWord();
        const PixelLanes error = PixelLanes(value) - choose(x, value);
        pixel = PixelLanes::load(current + 3) + error.sixteenths<7>();
        (belowLeft + error.sixteenths<3>()).store(below - 3);
        belowLeft = (straightBelow + error.sixteenths<5>()).clamped();
        straightBelow = (belowRight + error.sixteenths<1>()).clamped();
    }
    belowLeft.store(below - 3);
}

// The row at work and the one below it, each with room for a spare pixel at both ends that takes the errors
// falling off the area. Pixels may be read in fours of bytes.
class DiffusionRows {
 public:
    explicit DiffusionRows(unsigned columns)
        : rows_(MemoryEntry::counted, 2 * (std::uint64_t{3} * columns + 6) + 1) {
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
