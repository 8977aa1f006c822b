// A pixel at a time, all its samples together: the way from left to right is a chain that cannot be cut, so
// that its length, not the work beside it, is what counts.
#include "png/unfilter.h"

#include <emmintrin.h>

#include <cstring>

#include "png/paeth_sse2.h"

namespace orn32::png {
namespace {

// A pixel and bytes behind it, which do no harm: every byte goes its own way.
template <unsigned step>
__m128i loadPixel(const std::uint8_t* p) {
    if constexpr (step > 4) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return _mm_cvtsi32_si128(bytes);
}

// Pixels of 3 and 6 bytes are stored with the bytes behind them.
template <unsigned step>
void storePixelAndMore(std::uint8_t* p, __m128i pixel) {
    if constexpr (step > 4) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), pixel);
    } else {
        const int bytes = _mm_cvtsi128_si32(pixel);
        std::memcpy(p, &bytes, step == 3 ? 4 : step);
    }
}

template <unsigned step>
void storePixel(std::uint8_t* p, __m128i pixel) {
    std::uint8_t bytes[8];
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), pixel);
    std::memcpy(p, bytes, step);
}

// Each turns the filtered pixel x back. Pixels are loaded into, and stored from, the form that suits it;
// start is a pixel of zeros. In the same form two pixels of up to 4 bytes can be side by side.
struct Sub {
    static __m128i start() { return _mm_setzero_si128(); }
    static __m128i load(__m128i pixel) { return pixel; }
    static __m128i loadUp(__m128i pixel) { return pixel; }
    static __m128i store(__m128i pixel) { return pixel; }
    static __m128i beside(__m128i a, __m128i b) { return _mm_unpacklo_epi32(a, b); }
    static __m128i undo(__m128i x, __m128i left, __m128i, __m128i) { return _mm_add_epi8(x, left); }
};

// SSE2's average rounds up and the filter's rounds down, which is the same for complements. So pixels are
// kept as complements, and left's way to the result is two steps: ~(x + ~a) is a - x.
struct Average {
    static __m128i complement(__m128i a) { return _mm_xor_si128(a, _mm_set1_epi8(-1)); }
    static __m128i start() { return _mm_set1_epi8(-1); }
    static __m128i load(__m128i pixel) { return pixel; }
    static __m128i loadUp(__m128i pixel) { return complement(pixel); }
    static __m128i store(__m128i pixel) { return complement(pixel); }
    static __m128i beside(__m128i a, __m128i b) { return _mm_unpacklo_epi32(a, b); }
    static __m128i undo(__m128i x, __m128i left, __m128i up, __m128i) {
        return _mm_sub_epi8(_mm_avg_epu8(left, up), x);
    }
};

struct Paeth {
    static __m128i start() { return _mm_setzero_si128(); }
    static __m128i load(__m128i pixel) { return _mm_unpacklo_epi8(pixel, _mm_setzero_si128()); }
    static __m128i loadUp(__m128i pixel) { return load(pixel); }
    static __m128i store(__m128i pixel) { return _mm_packus_epi16(pixel, pixel); }
    static __m128i beside(__m128i a, __m128i b) { return _mm_unpacklo_epi64(a, b); }
    static __m128i undo(__m128i x, __m128i left, __m128i up, __m128i upLeft) {
        return paethPlus(x, left, up, upLeft);
    }
};

// Every pixel is loaded before the one in front of it is stored, which may spoil its first bytes.
template <class Guess, unsigned step, bool firstRow>
void undoRow(std::uint8_t* row, const std::uint8_t* previous, std::size_t count) {
    __m128i left = Guess::start(), upLeft = left, up = left;
    __m128i x = Guess::load(loadPixel<step>(row));
    const auto turnBack = [&] {
        if constexpr (!firstRow) up = Guess::loadUp(loadPixel<step>(previous));
        left = Guess::undo(x, left, up, upLeft);
        upLeft = up;
    };
    for (; count > step; count -= step, row += step, previous += step) {
        const __m128i next = Guess::load(loadPixel<step>(row + step));
        turnBack();
        storePixelAndMore<step>(row, Guess::store(left));
        x = next;
    }
    turnBack();
    storePixel<step>(row, Guess::store(left));
}

template <class Guess, bool firstRow>
void undo(std::uint8_t* row, const std::uint8_t* previous, std::size_t count, unsigned step) {
    switch (step) {
        case 1:
            return undoRow<Guess, 1, firstRow>(row, previous, count);
        case 2:
            return undoRow<Guess, 2, firstRow>(row, previous, count);
        case 3:
            return undoRow<Guess, 3, firstRow>(row, previous, count);
        case 4:
            return undoRow<Guess, 4, firstRow>(row, previous, count);
        case 6:
            return undoRow<Guess, 6, firstRow>(row, previous, count);
        default:
            return undoRow<Guess, 8, firstRow>(row, previous, count);
    }
}

// A pixel of the upper row and, beside it, the one of the lower row that is below its left neighbour: what is
// above that one has just been turned back, and both take the time of one.
template <class Guess, unsigned step>
void undoTwoRows(std::uint8_t* upper, std::uint8_t* lower, const std::uint8_t* previous, std::size_t count) {
    const auto load = [&](std::size_t at) {
        return Guess::load(
            _mm_unpacklo_epi32(loadPixel<step>(upper + at), loadPixel<step>(lower + at - step)));
    };
    const auto lowerOf = [](__m128i both) { return _mm_srli_epi64(both, 32); };
    const std::uint8_t behind = upper[count];  // the last pixel is stored with it
    __m128i up = Guess::loadUp(loadPixel<step>(previous)), x = load(step);
    __m128i left = Guess::undo(Guess::load(loadPixel<step>(upper)), Guess::start(), up, Guess::start());
    storePixelAndMore<step>(upper, Guess::store(left));
    left = Guess::beside(left, Guess::start());
    __m128i upLeft = Guess::beside(up, Guess::start());
    for (std::size_t at = step; at < count; at += step) {
        const __m128i next = load(at + step);
        up = Guess::beside(Guess::loadUp(loadPixel<step>(previous + at)), left);
        left = Guess::undo(x, left, up, upLeft);
        upLeft = up;
        const __m128i both = Guess::store(left);
        storePixelAndMore<step>(upper + at, both);
        storePixelAndMore<step>(lower + at - step, lowerOf(both));
        x = next;
    }
    upper[count] = behind;
    left = Guess::undo(x, left, Guess::beside(up, left), upLeft);
    storePixel<step>(lower + count - step, lowerOf(Guess::store(left)));
}

template <class Guess>
void undoTwo(std::uint8_t* upper, std::uint8_t* lower, const std::uint8_t* previous, std::size_t count,
             unsigned step) {
    step == 3 ? undoTwoRows<Guess, 3>(upper, lower, previous, count)
              : undoTwoRows<Guess, 4>(upper, lower, previous, count);
}

void undoUp(std::uint8_t* row, const std::uint8_t* previous, std::size_t count) {
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        auto* here = reinterpret_cast<__m128i*>(row + i);
        const __m128i up = _mm_loadu_si128(reinterpret_cast<const __m128i*>(previous + i));
        _mm_storeu_si128(here, _mm_add_epi8(_mm_loadu_si128(here), up));
    }
    for (; i < count; i++) row[i] = static_cast<std::uint8_t>(row[i] + previous[i]);
}

// Below a row of zeros Paeth's guess is always what is to the left.
void undoFirstRow(unsigned filter, std::uint8_t* row, std::size_t count, unsigned step) {
    if (filter == filterSub || filter == filterPaeth) undo<Sub, true>(row, row, count, step);
    if (filter == filterAverage) undo<Average, true>(row, row, count, step);
}

}  // namespace

void unfilter(unsigned filter, std::uint8_t* row, const std::uint8_t* previous, std::size_t count,
              unsigned step) {
    if (count == 0) return;
    if (!previous) return undoFirstRow(filter, row, count, step);
    switch (filter) {
        case filterSub:
            return undo<Sub, true>(row, row, count, step);
        case filterUp:
            return undoUp(row, previous, count);
        case filterAverage:
            return undo<Average, false>(row, previous, count, step);
        case filterPaeth:
            return undo<Paeth, false>(row, previous, count, step);
    }
}

bool unfilterTwo(const Rows& rows, std::size_t bytes, unsigned step) {
    if (bytes == 0 || rows.count < 3) return false;
    std::uint8_t *const previous = rows.first, *upper = previous + rows.stride, *lower = upper + rows.stride;
    const std::uint8_t filter = *upper;
    if (*previous != filterNone || *lower != filter) return false;
    switch (filter) {
        case filterSub:
            undoTwo<Sub>(upper + 1, lower + 1, previous + 1, bytes, step);
            break;
        case filterAverage:
            undoTwo<Average>(upper + 1, lower + 1, previous + 1, bytes, step);
            break;
        case filterPaeth:
            undoTwo<Paeth>(upper + 1, lower + 1, previous + 1, bytes, step);
            break;
        default:
            return false;
    }
    *upper = *lower = filterNone;
    return true;
}

bool unfilterTogether(const Rows& rows, std::size_t bytes, unsigned step) {
    if (step == 1) return unfilterWavefront(rows, bytes);
    return rowsTogetherFor(step) == 2 && unfilterTwo(rows, bytes, step);
}

}  // namespace orn32::png
