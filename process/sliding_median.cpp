#include "process/sliding_median.h"

#include <bit>
#include <cstring>

#include "process/lanes.h"

namespace orn32 {
namespace {

// Where in sixteen counts the element of a rank lies, and how many elements lie before that place.
struct Place {
    unsigned index, before;
};

Place placeOfRank(__m128i counts, unsigned rank) {
    __m128i upTo = _mm_add_epi8(counts, _mm_slli_si128(counts, 1));
    upTo = _mm_add_epi8(upTo, _mm_slli_si128(upTo, 2));
    upTo = _mm_add_epi8(upTo, _mm_slli_si128(upTo, 4));
    upTo = _mm_add_epi8(upTo, _mm_slli_si128(upTo, 8));
    // Unsigned: the sums that reach rank + 1.
    const __m128i reaching = ByteLanes::atLeast(upTo, _mm_set1_epi8(static_cast<char>(rank + 1)));
    const auto index =
        static_cast<unsigned>(std::countr_zero(static_cast<unsigned>(_mm_movemask_epi8(reaching))));
    alignas(16) std::uint8_t before[16];
    _mm_store_si128(reinterpret_cast<__m128i*>(before), _mm_sub_epi8(upTo, counts));
    return {index, before[index]};
}

}  // namespace

bool SlidingMedian::prepare(unsigned columns, unsigned size) {
    size_ = size;
    width_ = columns + size - 1;
    columns_ = WorkArray<Column>(MemoryEntry::second, width_);
    if (columns_) std::memset(columns_.get(), 0, width_ * sizeof(Column));
    return static_cast<bool>(columns_);
}

void SlidingMedian::count(const std::uint8_t* levels, std::uint8_t step) {
    for (unsigned x = 0; x < width_; x++) {
        Column& column = columns_[x];
        const unsigned part = levels[x] >> 4, level = levels[x] & 15;
        column.sums[part] = static_cast<std::uint8_t>(column.sums[part] + step);
        column.levels[part][level] = static_cast<std::uint8_t>(column.levels[part][level] + step);
    }
}

void SlidingMedian::row(std::uint8_t* const* rows, std::uint8_t* result, unsigned pixels) {
    for (unsigned y = isFirst_ ? 0 : size_ - 1; y < size_; y++) count(rows[y], 1);
    isFirst_ = false;
    medians(result, pixels);
    count(rows[0], 0xFF);
}

void SlidingMedian::medians(std::uint8_t* result, unsigned pixels) const {
    const Column* const columns = columns_.get();
    const unsigned middle = size_ * size_ / 2;
    __m128i sums = _mm_setzero_si128();
    for (unsigned c = 0; c < size_; c++) sums = _mm_add_epi8(sums, loadLanes(columns[c].sums));
    __m128i levels[parts];        // the window's parts, as they were when last needed:
    unsigned leftOf[parts] = {};  // for the window that begins at this column; none has been needed yet
    for (auto& part : levels) part = _mm_setzero_si128();
    bool known[parts] = {};
    for (unsigned x = 0; x < pixels; x++) {
        const Place part = placeOfRank(sums, middle);
        const unsigned p = part.index;
        __m128i counts = levels[p];
        if (known[p] && x - leftOf[p] < size_) {
            for (unsigned c = leftOf[p]; c < x; c++)
                counts = _mm_add_epi8(counts, _mm_sub_epi8(loadLanes(columns[c + size_].levels[p]),
                                                           loadLanes(columns[c].levels[p])));
        } else {
            counts = _mm_setzero_si128();
            for (unsigned c = x; c < x + size_; c++)
                counts = _mm_add_epi8(counts, loadLanes(columns[c].levels[p]));
        }
        levels[p] = counts;
        leftOf[p] = x;
        known[p] = true;
        result[x] = static_cast<std::uint8_t>(16 * p + placeOfRank(counts, middle - part.before).index);
        if (x + 1 < pixels)
            sums = _mm_add_epi8(sums,
                                _mm_sub_epi8(loadLanes(columns[x + size_].sums), loadLanes(columns[x].sums)));
    }
}

}  // namespace orn32
