// Medians of a row of neighbourhoods, as many at a time as a register has lanes (lanes.h).
#pragma once

namespace orn32 {

template <class Lanes>
void sortTwo(typename Lanes::V& a, typename Lanes::V& b) {
    const auto lower = Lanes::lower(a, b);
    b = Lanes::higher(a, b);
    a = lower;
}

template <class Lanes>
typename Lanes::V middleOfThree(typename Lanes::V a, typename Lanes::V b, typename Lanes::V c) {
    sortTwo<Lanes>(a, b);
    return Lanes::higher(a, Lanes::lower(b, c));
}

// The columns of three rows, each sorted by itself: it serves the three neighbourhoods that it is in.
template <class Lanes>
class SortedColumns {
 public:
    using V = typename Lanes::V;
    static constexpr unsigned most = 512;  // more, and they push the rows out of the cache

    // Reads count columns from left on, and up to a register more.
    template <class RowAt>
    SortedColumns(RowAt rowAt, unsigned left, unsigned count) {
        for (unsigned x = 0; x < count; x += Lanes::count) {
            V a = Lanes::load(rowAt(0) + left + x), b = Lanes::load(rowAt(1) + left + x),
              c = Lanes::load(rowAt(2) + left + x);
            sortTwo<Lanes>(a, b);
            sortTwo<Lanes>(b, c);
            sortTwo<Lanes>(a, b);
            Lanes::store(low_ + x, a);
            Lanes::store(middle_ + x, b);
            Lanes::store(high_ + x, c);
        }
    }

    // Of the columns from x on: the middle of the highest low, the middle one and the lowest high of three.
    V medians(unsigned x) const {
        const auto at = [x](const auto* values, unsigned c) { return Lanes::load(values + x + c); };
        const V low = Lanes::higher(Lanes::higher(at(low_, 0), at(low_, 1)), at(low_, 2));
        const V high = Lanes::lower(Lanes::lower(at(high_, 0), at(high_, 1)), at(high_, 2));
        return middleOfThree<Lanes>(low, middleOfThree<Lanes>(at(middle_, 0), at(middle_, 1), at(middle_, 2)),
                                    high);
    }

 private:
    static constexpr unsigned room = most + 2 * Lanes::count;
    typename Lanes::Element low_[room], middle_[room], high_[room];
};

// The medians of count neighbourhoods of 3 x 3 elements. rowAt(y) tells where row y of the first one begins,
// the others follow one element to the right each; take(x, medians) receives a register of them at a time.
// Rows are read in registers.
template <class Lanes, class RowAt, class Take>
void mediansOfNine(RowAt rowAt, unsigned count, Take take) {
    constexpr unsigned most = SortedColumns<Lanes>::most;
    for (unsigned left = 0; left < count; left += most) {
        const unsigned width = count - left < most ? count - left : most;
        const SortedColumns<Lanes> columns(rowAt, left, width + 2);
        for (unsigned x = 0; x < width; x += Lanes::count) take(left + x, columns.medians(x));
    }
}

// The smallest and the largest of the values that the neighbourhoods of a whole register see.
struct ValueRange {
    unsigned least, most;
};

template <class Lanes, class RowAt>
ValueRange rangeOf(RowAt rowAt, unsigned left, unsigned size) {
    auto low = Lanes::load(rowAt(0) + left), high = low;
    for (unsigned y = 0; y < size; y++) {
        for (unsigned x = 0; x < size; x += size / 2) {
            const auto values = Lanes::load(rowAt(y) + left + x);
            low = Lanes::lower(low, values);
            high = Lanes::higher(high, values);
        }
    }
    return {Lanes::lowest(low), Lanes::highest(high)};
}

// The median is the largest value that no more than half of the neighbours are below. It is found bit by bit
// from the highest, as its distance from the smallest value around.
template <class Lanes, class RowAt>
typename Lanes::V medianByCounting(RowAt rowAt, unsigned left, unsigned size) {
    const ValueRange range = rangeOf<Lanes>(rowAt, left, size);
    const auto half = Lanes::all(size * size / 2);
    auto median = Lanes::all(range.least);
    unsigned step = 1;
    while (step <= range.most - range.least) step *= 2;
    while (step /= 2) {
        const auto candidate = Lanes::plus(median, Lanes::all(step));
        auto below = Lanes::zero();
        for (unsigned y = 0; y < size; y++) {
            const auto* row = rowAt(y) + left;
            for (unsigned x = 0; x < size; x++)
                below = Lanes::minus(below, Lanes::above(candidate, Lanes::load(row + x)));
        }
        median = Lanes::select(Lanes::above(below, half), median, candidate);
    }
    return median;
}

// Like mediansOfNine, of size x size elements.
template <class Lanes, class RowAt, class Take>
void mediansByCounting(RowAt rowAt, unsigned size, unsigned count, Take take) {
    for (unsigned x = 0; x < count; x += Lanes::count) take(x, medianByCounting<Lanes>(rowAt, x, size));
}

}  // namespace orn32
