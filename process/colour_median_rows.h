// Rows of colour medians with registers of any width (lanes.h).
#pragma once

#include <cstdint>
#include <cstring>

#include "process/colour_median.h"
#include "process/filter_engine.h"
#include "process/median_lanes.h"

namespace orn32 {

template <class Lanes>
class ColourMedianRows {
 public:
    ColourMedianRows(const ColourRow* rows, unsigned size, std::uint8_t* result, unsigned count,
                     RowsAhead ahead)
        : rows_(rows), size_(size), result_(result), count_(count), ahead_(ahead) {}

    void medians() const {
        if (size_ == 3) {
            // The rows are held by value, as is all that store needs: behind a pointer it could be what
            // writing pixels changes, and would be looked up again for every register.
            const auto rowAt = [top = rows_[0], middle = rows_[1], bottom = rows_[2]](unsigned y) {
                return y == 0 ? top : y == 1 ? middle : bottom;
            };
            mediansOfNine<Lanes>(brightnessOf(rowAt), count_, [self = *this, rowAt](unsigned x, V medians) {
                self.store(x, medians, rowAt, [](auto each) { forNine(each); });
            });
        } else {
            const auto rowAt = [rows = rows_](unsigned y) { return rows[y]; };
            mediansByCounting<Lanes>(brightnessOf(rowAt), size_, count_,
                                     [this, rowAt](unsigned x, V medians) {
                                         store(x, medians, rowAt, [size = size_](auto each) {
                                             for (unsigned y = 0; y < size; y++)
                                                 for (unsigned c = 0; c < size; c++) each(y, c);
                                         });
                                     });
        }
    }

 private:
    using V = typename Lanes::V;

    template <class RowAt>
    static auto brightnessOf(RowAt rowAt) {
        return [rowAt](unsigned y) { return rowAt(y).brightness; };
    }

    // Joins the brightness of the neighbourhoods from column x on with blue and red of the pixels that have
    // it. Ones and zeros could be collected by OR instead of as largest bytes, but compilers regroup long
    // chains of OR and run out of registers.
    template <class RowAt, class ForAllNeighbours>
    void store(unsigned x, V brightness, RowAt rowAt, ForAllNeighbours forAllNeighbours) const {
        V most = Lanes::zero(), leastInverted = most;
        forAllNeighbours([&](unsigned y, unsigned c) {
            const V same = Lanes::equal(Lanes::load(rowAt(y).brightness + x + c), brightness);
            const V blueRed = Lanes::bitAnd(same, Lanes::load(rowAt(y).blueRed + x + c));
            most = Lanes::higherBytes(most, blueRed);
            leastInverted = Lanes::higherBytes(leastInverted, Lanes::bitXor(same, blueRed));
        });
        // A bit that is in both: they are not of one colour.
        if (Lanes::shareBits(most, leastInverted))
            most = decided(rows_, size_, x, most, Lanes::nonZero(Lanes::bitAnd(most, leastInverted)));
        fetch(ahead_.source + 3 * x);
        fetch(ahead_.destination + 3 * x);
        write(x, brightness, most);
    }

    // Joined pixels spill into those of the next register, but not behind the last ones.
    void write(unsigned x, V brightness, V blueRed) const {
        constexpr unsigned spilled = 4;
        const unsigned left = 3 * (count_ - x);
        std::uint8_t* const pixels = result_ + 3 * x;
        if (left >= 3 * Lanes::count + spilled) return joinColours<Lanes>(pixels, brightness, blueRed);
        std::uint8_t last[3 * Lanes::count + spilled];
        joinColours<Lanes>(last, brightness, blueRed);
        std::memcpy(pixels, last, left < 3 * Lanes::count ? left : 3 * Lanes::count);
    }

    // Fetching in the midst of computing costs next to nothing; otherwise both ends of a row wait for memory.
    static void fetch(const std::uint8_t* p) { _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T0); }

    // Replaces the words whose two bits in undecided are set.
    [[gnu::noinline]] static V decided(const ColourRow* rows, unsigned size, unsigned x, V blueRed,
                                       unsigned undecided) {
        std::uint16_t words[Lanes::count];
        Lanes::store(words, blueRed);
        for (unsigned i = 0; i < Lanes::count; i++)
            if (undecided >> 2 * i & 1) words[i] = selectedBlueRed(rows, size, x + i);
        return Lanes::load(words);
    }

    const ColourRow* rows_;
    unsigned size_;
    std::uint8_t* result_;
    unsigned count_;
    RowsAhead ahead_;
};

}  // namespace orn32
