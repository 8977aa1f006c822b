// Rows of 1-bit pixels as bytes and back: operations count, compare and diffuse bytes.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace orn32 {

// Writes count bytes, 255 for a set bit and 0 for a clear one, from the bits that begin at bit firstBit (0 to
// 7) of source. Reads only the bytes that hold them.
void unpackBits(std::uint8_t* levels, const std::uint8_t* source, unsigned firstBit, unsigned count);

// Packs count levels to bits: flag(sixteen levels) sets the highest bit of those that become 1. Writes whole
// pairs of bytes; the bits behind the last level mean nothing. The bits may take the place of the levels.
template <class Flag>
void packBits(std::uint8_t* bits, const std::uint8_t* levels, unsigned count, Flag flag) {
    const auto pack = [&](__m128i sixteen, std::uint8_t* to) {
        // The first of eight pixels goes to the highest bit: reverse the eight.
        __m128i v = flag(sixteen);
        v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(0, 1, 2, 3)), _MM_SHUFFLE(0, 1, 2, 3));
        v = _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
        const auto pair = static_cast<std::uint16_t>(_mm_movemask_epi8(v));
        std::memcpy(to, &pair, sizeof pair);
    };
    unsigned x = 0;
    for (; x + 16 <= count; x += 16)
        pack(_mm_loadu_si128(reinterpret_cast<const __m128i*>(levels + x)), bits + x / 8);
    if (x == count) return;
    alignas(16) std::uint8_t rest[16] = {};
    std::memcpy(rest, levels + x, count - x);
    pack(_mm_load_si128(reinterpret_cast<const __m128i*>(rest)), bits + x / 8);
}

}  // namespace orn32
