#include "png/swap.h"

#include <emmintrin.h>

namespace orn32::png {
namespace {

__m128i load(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// The bytes of a 16-byte piece at which a pixel's first sample lies, when the piece starts at byte `start` of
// a row.
__m128i firstSamples(int start) {
    alignas(16) std::uint8_t mask[16];
    for (int i = 0; i < 16; i++) mask[i] = (start + i) % 3 == 0 ? 0xFF : 0;
    return _mm_load_si128(reinterpret_cast<const __m128i*>(mask));
}

}  // namespace

// A first sample comes from two bytes further on, a last one from two bytes before, a middle one stays. The
// pattern comes round after three pieces of 16 bytes.
void swapRedAndBlue(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    const std::uint32_t bytes = count * 3;
    std::uint32_t at = 0;
    if (bytes >= 64) {
        // The first pixel by hand: the pieces look at two bytes in front of them.
        to[0] = from[2], to[1] = from[1], to[2] = from[0];
        const __m128i zero = firstSamples(0), one = firstSamples(1), two = firstSamples(2);
        for (at = 3; at + 50 <= bytes; at += 48) {
            const auto piece = [&](std::uint32_t i, __m128i first, __m128i middle, __m128i last) {
                const __m128i a = _mm_and_si128(load(from + i + 2), first);
                const __m128i b = _mm_and_si128(load(from + i), middle);
                const __m128i c = _mm_and_si128(load(from + i - 2), last);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), _mm_or_si128(_mm_or_si128(a, b), c));
            };
            piece(at, zero, two, one);
            piece(at + 16, one, zero, two);
            piece(at + 32, two, one, zero);
        }
    }
    for (; at < bytes; at += 3) {
        to[at] = from[at + 2];
        to[at + 1] = from[at + 1];
        to[at + 2] = from[at];
    }
}

}  // namespace orn32::png
