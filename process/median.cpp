// The median of a neighbourhood: of levels their middle value, of colours the pixel of middle brightness.
#include <bit>
#include <cstdint>

#include "core/range_check.h"
#include "orn32.h"
#include "process/filter_engine.h"
#include "process/lanes.h"
#include "process/palette_row.h"
#include "process/quickselect.h"
#include "process/sliding_median.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

constexpr int smallestSize = 3, largestSize = 11;
constexpr int slidingFrom = 9;  // below, sixteen windows counted at once are faster than one that slides
constexpr unsigned mostNeighbours = largestSize * largestSize;

template <class Lanes>
void sortTwo(__m128i& a, __m128i& b) {
    const __m128i lower = Lanes::lower(a, b);
    b = Lanes::higher(a, b);
    a = lower;
}

template <class Lanes>
__m128i middleOfThree(__m128i a, __m128i b, __m128i c) {
    sortTwo<Lanes>(a, b);
    return Lanes::higher(a, Lanes::lower(b, c));
}

struct SortedColumn {
    __m128i low, centre, high;
};

template <class Lanes, class T>
SortedColumn sortedColumn(const T* top, const T* middle, const T* bottom) {
    SortedColumn column = {loadLanes(top), loadLanes(middle), loadLanes(bottom)};
    sortTwo<Lanes>(column.low, column.centre);
    sortTwo<Lanes>(column.centre, column.high);
    sortTwo<Lanes>(column.low, column.centre);
    return column;
}

// The middle of the highest low, the middle centre and the lowest high of the columns is the median.
template <class Lanes, class T>
__m128i medianOfNine(const T* top, const T* middle, const T* bottom) {
    const SortedColumn a = sortedColumn<Lanes>(top, middle, bottom);
    const SortedColumn b = sortedColumn<Lanes>(top + 1, middle + 1, bottom + 1);
    const SortedColumn c = sortedColumn<Lanes>(top + 2, middle + 2, bottom + 2);
    return middleOfThree<Lanes>(Lanes::higher(Lanes::higher(a.low, b.low), c.low),
                                middleOfThree<Lanes>(a.centre, b.centre, c.centre),
                                Lanes::lower(Lanes::lower(a.high, b.high), c.high));
}

// The smallest and the largest of the values that the windows of a whole register see.
struct Range {
    unsigned least, most;
};

template <class Lanes, class RowAt>
Range rangeOf(RowAt rowAt, unsigned size) {
    __m128i low = loadLanes(rowAt(0)), high = low;
    for (unsigned y = 0; y < size; y++) {
        for (unsigned x = 0; x < size; x += size / 2) {
            const __m128i values = loadLanes(rowAt(y) + x);
            low = Lanes::lower(low, values);
            high = Lanes::higher(high, values);
        }
    }
    return {Lanes::lowest(low), Lanes::highest(high)};
}

// The median is the largest value that more than half of the neighbours reach. It is found bit by bit from
// the highest, as its distance from the smallest value around.
template <class Lanes, class RowAt>
__m128i medianByCounting(RowAt rowAt, unsigned size) {
    const Range range = rangeOf<Lanes>(rowAt, size);
    const __m128i half = Lanes::all(size * size / 2);
    __m128i median = Lanes::all(range.least);
    for (auto bit = static_cast<unsigned>(std::bit_width(range.most - range.least)); bit-- > 0;) {
        const __m128i candidate = Lanes::plus(median, Lanes::all(1u << bit));
        __m128i reaching = _mm_setzero_si128();
        for (unsigned y = 0; y < size; y++) {
            const auto* row = rowAt(y);
            for (unsigned x = 0; x < size; x++)
                reaching = Lanes::minus(reaching, Lanes::atLeast(loadLanes(row + x), candidate));
        }
        median = select(Lanes::signedAbove(reaching, half), candidate, median);
    }
    return median;
}

// Small neighbourhoods of levels, sixteen at a time.
struct SmallLevelMedian {
    unsigned size = 0;

    bool prepare(unsigned, unsigned neighbourhood) {
        size = neighbourhood;
        return true;
    }
    void row(std::uint8_t* const* rows, std::uint8_t* result, unsigned count) const {
        for (unsigned x = 0; x < count; x += ByteLanes::count) {
            const __m128i median =
                size == 3 ? medianOfNine<ByteLanes>(rows[0] + x, rows[1] + x, rows[2] + x)
                          : medianByCounting<ByteLanes>([&](unsigned y) { return rows[y] + x; }, size);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(result + x), median);
        }
    }
};

// The middle brightness is one value, but several neighbours may have it. Where these are of one colour, that
// is the result; where not, the fixed order of quickselect decides between them.
class ColourMedian {
 public:
    bool prepare(unsigned, unsigned neighbourhood) {
        size_ = neighbourhood;
        return true;
    }
    void row(const ColourRow* rows, std::uint8_t* result, unsigned count) const {
        for (unsigned x = 0; x < count; x += WordLanes::count, result += 24) {
            const __m128i brightness = middleBrightness(rows, x);
            __m128i inAll = _mm_set1_epi8(-1), inAny = _mm_setzero_si128();
            forAllNeighbours([&](unsigned y, unsigned c) {
                const __m128i same = _mm_cmpeq_epi16(loadLanes(rows[y].brightness + x + c), brightness);
                const __m128i blueRed = loadLanes(rows[y].blueRed + x + c);
                inAny = _mm_or_si128(inAny, _mm_and_si128(blueRed, same));
                inAll = _mm_andnot_si128(_mm_andnot_si128(blueRed, same), inAll);
            });
            const int oneColour = _mm_movemask_epi8(_mm_cmpeq_epi16(inAny, inAll));
            if (oneColour != 0xFFFF) inAny = decide(rows, x, count, inAny, oneColour);
            joinColours(result, brightness, inAny);
        }
    }

 private:
    template <class Each>
    void forAllNeighbours(Each each) const {
        if (size_ == 3) return forNine(each);
        for (unsigned y = 0; y < size_; y++)
            for (unsigned c = 0; c < size_; c++) each(y, c);
    }

    __m128i middleBrightness(const ColourRow* rows, unsigned x) const {
        if (size_ == 3)
            return medianOfNine<WordLanes>(rows[0].brightness + x, rows[1].brightness + x,
                                           rows[2].brightness + x);
        return medianByCounting<WordLanes>([&](unsigned y) { return rows[y].brightness + x; }, size_);
    }

    // Replaces the words whose two bits in oneColour are clear.
    [[gnu::noinline]] __m128i decide(const ColourRow* rows, unsigned x, unsigned count, __m128i blueRed,
                                     int oneColour) const {
        alignas(16) std::uint16_t words[WordLanes::count];
        _mm_store_si128(reinterpret_cast<__m128i*>(words), blueRed);
        for (unsigned i = 0; i < WordLanes::count && x + i < count; i++)
            if (!(oneColour >> 2 * i & 1)) words[i] = selected(rows, x + i);
        return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
    }

    std::uint16_t selected(const ColourRow* rows, unsigned x) const {
        RankedNeighbour neighbours[mostNeighbours];
        const unsigned n = size_ * size_;
        for (unsigned y = 0, i = 0; y < size_; y++)
            for (unsigned c = 0; c < size_; c++, i++)
                neighbours[i] = {rows[y].brightness[x + c], static_cast<std::uint16_t>(i)};
        const unsigned place = quickselect(neighbours, static_cast<int>(n), static_cast<int>(n / 2)).place;
        return rows[place / size_].blueRed[x + place % size_];
    }

    unsigned size_ = 0;
};

int median(int size, imgdes* source, imgdes* destination) {
    if (size < smallestSize || size > largestSize) return ERR_ARGUMENT;
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount == 8) {
        if (size >= slidingFrom)
            return filterengine_<LevelFormat>(*source, *destination, SlidingMedian(), size);
        return filterengine_<LevelFormat>(*source, *destination, SmallLevelMedian(), size);
    }
    return filterengine_<ColourFormat>(*source, *destination, ColourMedian(), size);
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI medianfilter(int size, imgdes* source, imgdes* destination) {
    if (isColourPaletteImage(source)) return viargb_(median, source, destination, size);
    return median(size, source, destination);
}

extern "C" int ORNAPI removenoise(imgdes* source, imgdes* destination) {
    return medianfilter(smallestSize, source, destination);
}
