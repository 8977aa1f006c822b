#include "png/filter.h"

#include <emmintrin.h>

#include <algorithm>

#include "png/paeth_sse2.h"

namespace orn32::png {
namespace {

__m128i load(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Sixteen bytes of a row and their neighbours.
struct Piece {
    __m128i here, left, up, upLeft;

    Piece(const std::uint8_t* row, const std::uint8_t* previous, unsigned step)
        : here(load(row)), left(load(row - step)), up(load(previous)), upLeft(load(previous - step)) {}
};

// The average rounded down; SSE2's own rounds up.
__m128i average(__m128i a, __m128i b) {
    const __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1));
    return _mm_sub_epi8(_mm_avg_epu8(a, b), odd);
}

template <Filter filter>
__m128i filtered(const Piece& p) {
    switch (filter) {
        case filterSub:
            return _mm_sub_epi8(p.here, p.left);
        case filterUp:
            return _mm_sub_epi8(p.here, p.up);
        case filterAverage:
            return _mm_sub_epi8(p.here, average(p.left, p.up));
        case filterPaeth:
            return _mm_sub_epi8(p.here, paethPlus8(_mm_setzero_si128(), p.left, p.up, p.upLeft));
        default:
            return p.here;
    }
}

template <Filter filter>
void apply(std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* previous, std::size_t count,
           unsigned step) {
    for (std::size_t i = 0; i < count; i += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i),
                         filtered<filter>(Piece(row + i, previous + i, step)));
}

// The first count bytes of a piece; all of them from 16 up.
__m128i firstBytes(std::size_t count) {
    static constexpr std::uint8_t mask[32] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                              0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    return load(mask + 16 - std::min<std::size_t>(count, 16));
}

// Sums of magnitudes, in two lanes.
struct Measure {
    __m128i sums = _mm_setzero_si128();

    void add(__m128i bytes, __m128i mask) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i magnitudes = _mm_min_epu8(bytes, _mm_sub_epi8(zero, bytes));
        sums = _mm_add_epi64(sums, _mm_sad_epu8(_mm_and_si128(magnitudes, mask), zero));
    }
    std::uint32_t total() const {
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sums)) +
               static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(sums, 8)));
    }
};

}  // namespace

void applyFilter(Filter filter, std::uint8_t* to, const std::uint8_t* row, const std::uint8_t* previous,
                 std::size_t count, unsigned step) {
    static constexpr decltype(&apply<filterNone>) kernels[filterCount] = {
        apply<filterNone>, apply<filterSub>, apply<filterUp>, apply<filterAverage>, apply<filterPaeth>};
    kernels[filter](to, row, previous, count, step);
}

Filter bestFilter(const std::uint8_t* row, const std::uint8_t* previous, std::size_t count, unsigned step) {
    Measure measures[filterCount];
    for (std::size_t i = 0; i < count; i += 16) {
        const Piece piece(row + i, previous + i, step);
        const __m128i mask = firstBytes(count - i);
        measures[filterNone].add(filtered<filterNone>(piece), mask);
        measures[filterSub].add(filtered<filterSub>(piece), mask);
        measures[filterUp].add(filtered<filterUp>(piece), mask);
        measures[filterAverage].add(filtered<filterAverage>(piece), mask);
        measures[filterPaeth].add(filtered<filterPaeth>(piece), mask);
    }
    const Measure* best =
        std::min_element(measures, measures + filterCount,
                         [](const Measure& a, const Measure& b) { return a.total() < b.total(); });
    return static_cast<Filter>(best - measures);
}

}  // namespace orn32::png
