#include "jpeg/block_coder.h"

#include <emmintrin.h>

namespace orn32::jpeg {
namespace {

// For each row in natural order and each pattern of its bits: the bits in zigzag order.
struct RowTable {
    std::uint64_t bits[8][256];
};

constexpr RowTable makeRowTable() {
    RowTable table = {};
    for (unsigned k = 0; k < 64; k++) {
        const unsigned row = naturalOrder[k] / 8, bit = naturalOrder[k] % 8;
        for (unsigned pattern = 0; pattern < 256; pattern++)
            if (pattern >> bit & 1) table.bits[row][pattern] |= std::uint64_t{1} << k;
    }
    return table;
}

constexpr RowTable rows = makeRowTable();

inline __m128i load(const std::uint64_t& bits) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&bits));
}

}  // namespace

NonzeroMask inZigzagOrder(const std::uint8_t (&natural)[8]) {
    const auto pair = [&](unsigned y) {
        return _mm_or_si128(load(rows.bits[y][natural[y]]), load(rows.bits[y + 1][natural[y + 1]]));
    };
    const __m128i sum = _mm_or_si128(_mm_or_si128(pair(0), pair(2)), _mm_or_si128(pair(4), pair(6)));
    NonzeroMask mask;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&mask), sum);
    return mask;
}

}  // namespace orn32::jpeg
