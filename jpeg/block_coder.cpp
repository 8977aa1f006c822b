#include "jpeg/block_coder.h"

#include <emmintrin.h>

#include <array>

namespace orn32::jpeg {
namespace {

// For each four neighbouring positions in natural order and each pattern of them: the bits in zigzag order.
struct NibbleTable {
    std::uint64_t bits[16][16];
};

constexpr NibbleTable makeNibbleTable() {
    NibbleTable table = {};
    for (unsigned k = 0; k < 64; k++) {
        const unsigned position = naturalOrder[k];
        for (unsigned pattern = 0; pattern < 16; pattern++)
            if (pattern >> position % 4 & 1) table.bits[position / 4][pattern] |= std::uint64_t{1} << k;
    }
    return table;
}

constexpr NibbleTable nibbles = makeNibbleTable();

}  // namespace

NonzeroMask inZigzagOrder(std::uint64_t natural) {
    __m128i sum = _mm_setzero_si128();
    const auto add = [&](std::uint32_t half, unsigned first) {
        for (unsigned i = 0; i < 8; i++) {
            const std::uint64_t& bits = nibbles.bits[first + i][half >> 4 * i & 15];
            sum = _mm_or_si128(sum, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&bits)));
        }
    };
    add(static_cast<std::uint32_t>(natural), 0);
    if (const auto upper = static_cast<std::uint32_t>(natural >> 32)) add(upper, 8);
    return {static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum)),
            static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_epi64(sum, 32)))};
}

}  // namespace orn32::jpeg
