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

// A row while its errors are spread, pixel by pixel. Both rows need a spare pixel at each end.
//
// Of the row below two pixels are held back: the one to the left still misses one share, the one straight
// below two. What is stored of them runs one byte into the next pixel, which has been read by then.
class RowDiffusion {
 public:
    RowDiffusion(const std::uint8_t* current, std::uint8_t* below)
        : current_(current),
          below_(below),
          pixel_(PixelLanes::load(current)),
          straightBelow_(PixelLanes::load(below)) {}

    // The pixel at work with the errors so far, as blue | green << 8 | red << 16 | noise << 24.
    std::uint32_t value() const { return pixel_.clampedWord(); }

    // The pixel at work becomes that colour, and the one to its right is the next.
    void replaceBy(PixelLanes chosen) {
        const PixelLanes belowRight = PixelLanes::load(below_ + 3);
        const PixelLanes error = PixelLanes(value()) - chosen;
        pixel_ = PixelLanes::load(current_ + 3) + error.sixteenths<7>();
        (belowLeft_ + error.sixteenths<3>()).store(below_ - 3);
        belowLeft_ = (straightBelow_ + error.sixteenths<5>()).clamped();
        straightBelow_ = (belowRight + error.sixteenths<1>()).clamped();
        current_ += 3;
        below_ += 3;
    }

    // To be called behind the last pixel.
    void finish() { belowLeft_.store(below_ - 3); }

 private:
    const std::uint8_t* current_;
    std::uint8_t* below_;
    PixelLanes pixel_, belowLeft_, straightBelow_;
};

// Maps a row of count pixels and spreads their errors. choose(x, value) returns the colour that takes the
// place of pixel x, as PixelLanes; see RowDiffusion::value.
template <class Choose>
void diffuseRow(const std::uint8_t* current, std::uint8_t* below, unsigned count, Choose choose) {
    RowDiffusion row(current, below);
    for (unsigned x = 0; x < count; x++) row.replaceBy(choose(x, row.value()));
    row.finish();
}

// Maps two rows like diffuseRow one after the other, but both at once: a pixel has to wait for the one to its
// left, and two rows that wait take hardly longer than one. Where a choice depends on earlier ones, the lower
// row must not choose before the upper one has ended: when mayChoose(value) is false it waits.
template <class ChooseUpper, class ChooseLower, class MayChoose>
void diffuseTwoRows(const std::uint8_t* upper, std::uint8_t* lower, std::uint8_t* below, unsigned count,
                    ChooseUpper chooseUpper, ChooseLower chooseLower, MayChoose mayChoose) {
    // Far enough behind for the upper row's overlapping stores to have reached memory.
    constexpr unsigned lag = 16;
    if (count <= lag) {
        diffuseRow(upper, lower, count, chooseUpper);
        diffuseRow(lower, below, count, chooseLower);
        return;
    }
    RowDiffusion ahead(upper, lower);
    unsigned x = 0, behind = 0;
    for (; x < lag; x++) ahead.replaceBy(chooseUpper(x, ahead.value()));
    RowDiffusion follower(lower, below);
    for (; x < count && mayChoose(follower.value()); x++, behind++) {
        ahead.replaceBy(chooseUpper(x, ahead.value()));
        follower.replaceBy(chooseLower(behind, follower.value()));
    }
    for (; x < count; x++) ahead.replaceBy(chooseUpper(x, ahead.value()));
    ahead.finish();
    for (; behind < count; behind++) follower.replaceBy(chooseLower(behind, follower.value()));
    follower.finish();
}

// The rows at work: two, or three for diffuseTwoRows, each with room for a spare pixel at both ends that
// takes the errors falling off the area. Pixels may be read in fours of bytes.
class DiffusionRows {
 public:
    explicit DiffusionRows(unsigned columns, unsigned rows = 2)
        : bytes_(MemoryEntry::counted, rows * (std::uint64_t{3} * columns + 6) + 1) {
        for (unsigned i = 0; i < rows && bytes_; i++)
            rows_[i] = bytes_.get() + i * (std::size_t{3} * columns + 6) + 3;
    }
    explicit operator bool() const { return static_cast<bool>(bytes_); }

    // load(bgr, y) stores the area's row y in bgr; map(current, below, y) maps it and spreads its errors. Row
    // y + 1 is loaded before row y is mapped: source and destination may be the same rows. Below the last row
    // errors go where no one reads them.
    template <class Load, class Map>
    void run(unsigned height, Load load, Map map) {
        load(rows_[0], 0u);
        for (unsigned y = 0; y < height; y++) {
            if (y + 1 < height) load(rows_[1], y + 1);
            map(rows_[0], rows_[1], y);
            std::swap(rows_[0], rows_[1]);
        }
    }

    // The same with three rows: mapTwo(upper, lower, below, y) maps rows y and y + 1, and map a last single
    // one. Row y + 2 is loaded before row y is mapped.
    template <class Load, class Map, class MapTwo>
    void runInPairs(unsigned height, Load load, Map map, MapTwo mapTwo) {
        load(rows_[0], 0u);
        unsigned y = 0;
        for (; y + 1 < height; y += 2) {
            load(rows_[1], y + 1);
            if (y + 2 < height) load(rows_[2], y + 2);
            mapTwo(rows_[0], rows_[1], rows_[2], y);
            std::swap(rows_[0], rows_[2]);
        }
        if (y < height) map(rows_[0], rows_[1], y);
    }

 private:
    WorkArray<std::uint8_t> bytes_;
    std::uint8_t* rows_[3] = {};
};

}  // namespace orn32
