#include "process/bit_rows.h"

namespace orn32 {
namespace {

// Sixteen bits, the first the highest of the low byte, to sixteen bytes.
__m128i spread(unsigned pair) {
    const __m128i masks = _mm_set1_epi64x(0x0102040810204080);
    __m128i v = _mm_cvtsi32_si128(static_cast<int>(pair));
    v = _mm_unpacklo_epi8(v, v);
    v = _mm_shufflelo_epi16(v, _MM_SHUFFLE(1, 1, 0, 0));
    v = _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 1, 0, 0));
    return _mm_cmpeq_epi8(_mm_and_si128(v, masks), masks);
}

}  // namespace

void unpackBits(std::uint8_t* levels, const std::uint8_t* source, unsigned firstBit, unsigned count) {
    unsigned x = 0;
    for (; x + 16 <= count; x += 16, source += 2) {
        unsigned pair = source[0] | source[1] << 8;
        if (firstBit) {
            const unsigned bits = static_cast<unsigned>(source[0] << 16 | source[1] << 8 | source[2]);
            const unsigned shifted = bits >> (8 - firstBit);
            pair = (shifted >> 8 & 0xFF) | (shifted & 0xFF) << 8;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(levels + x), spread(pair));
    }
    for (unsigned bit = firstBit; x < count; x++, bit++)
        levels[x] = source[bit / 8] & 0x80 >> bit % 8 ? 255 : 0;
}

}  // namespace orn32
