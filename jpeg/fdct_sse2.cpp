// The forward DCT of Loeffler, Ligtenberg and Moschytz in integers with 13-bit constants, eight lines at
// once.
//
// A pass takes eight vectors, vector i holding sample i of eight lines, to eight vectors of coefficients.
// Sums and differences of samples stay within 16 bits in both passes; the rotations are products of two
// neighbouring words added in 32 bits. Each output of the odd part is a sum of four products: the shared
// terms of the flow graph are multiplied out, which changes no bit, as nothing is rounded before the end.
#include <emmintrin.h>

#include "jpeg/fdct.h"

namespace orn32::jpeg {
namespace {

// The flow graph's constants times 8192.
constexpr int c0298 = 2446, c0390 = 3196, c0541 = 4433, c0765 = 6270, c0899 = 7373, c1175 = 9633,
              c1501 = 12299, c1847 = 15137, c1961 = 16069, c2053 = 16819, c2562 = 20995, c3072 = 25172;

constexpr int constantBits = 13;
constexpr int extraBits = 2;  // kept between the passes

struct Lines {
    __m128i v[8];
};

inline __m128i pairOf(int first, int second) {
    return _mm_set1_epi32(static_cast<int>(static_cast<unsigned>(second) << 16 | (first & 0xFFFF)));
}

// Two rows of words, interleaved for products of pairs.
struct Pairs {
    __m128i low, high;

    Pairs(__m128i a, __m128i b) : low(_mm_unpacklo_epi16(a, b)), high(_mm_unpackhi_epi16(a, b)) {}
};

template <int shift>
inline __m128i descale(__m128i sum) {
    return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(1 << (shift - 1))), shift);
}

// a * ca + b * cb, rounded and scaled down.
template <int shift>
inline __m128i rotate(const Pairs& ab, int ca, int cb) {
    const __m128i c = pairOf(ca, cb);
    return _mm_packs_epi32(descale<shift>(_mm_madd_epi16(ab.low, c)),
                           descale<shift>(_mm_madd_epi16(ab.high, c)));
}

template <int shift>
inline __m128i rotate(const Pairs& ab, int ca, int cb, const Pairs& cd, int cc, int ce) {
    const __m128i c1 = pairOf(ca, cb), c2 = pairOf(cc, ce);
    const __m128i low = _mm_add_epi32(_mm_madd_epi16(ab.low, c1), _mm_madd_epi16(cd.low, c2));
    const __m128i high = _mm_add_epi32(_mm_madd_epi16(ab.high, c1), _mm_madd_epi16(cd.high, c2));
    return _mm_packs_epi32(descale<shift>(low), descale<shift>(high));
}

// The terms without a rotation carry the extra bits from the first pass and lose them in the second.
template <bool first>
inline __m128i scaleSum(__m128i sum) {
    if (first) return _mm_slli_epi16(sum, extraBits);
    return _mm_srai_epi16(_mm_add_epi16(sum, _mm_set1_epi16(1 << (extraBits - 1))), extraBits);
}

template <bool first>
inline void transformLines(Lines& x) {
    constexpr int shift = first ? constantBits - extraBits : constantBits + extraBits;
    const __m128i sum07 = _mm_add_epi16(x.v[0], x.v[7]), difference07 = _mm_sub_epi16(x.v[0], x.v[7]);
    const __m128i sum16 = _mm_add_epi16(x.v[1], x.v[6]), difference16 = _mm_sub_epi16(x.v[1], x.v[6]);
    const __m128i sum25 = _mm_add_epi16(x.v[2], x.v[5]), difference25 = _mm_sub_epi16(x.v[2], x.v[5]);
    const __m128i sum34 = _mm_add_epi16(x.v[3], x.v[4]), difference34 = _mm_sub_epi16(x.v[3], x.v[4]);

    const __m128i outer = _mm_add_epi16(sum07, sum34), inner = _mm_add_epi16(sum16, sum25);
    x.v[0] = scaleSum<first>(_mm_add_epi16(outer, inner));
    x.v[4] = scaleSum<first>(_mm_sub_epi16(outer, inner));
    const Pairs even(_mm_sub_epi16(sum07, sum34), _mm_sub_epi16(sum16, sum25));
    x.v[2] = rotate<shift>(even, c0541 + c0765, c0541);
    x.v[6] = rotate<shift>(even, c0541, c0541 - c1847);

    // In the flow graph's names: z3 = d34 + d16, z4 = d25 + d07, z5 = (z3 + z4) * 1.175875602.
    const Pairs p(difference34, difference25), q(difference16, difference07);
    x.v[7] = rotate<shift>(p, c0298 - c0899 - c1961 + c1175, c1175, q, c1175 - c1961, c1175 - c0899);
    x.v[5] = rotate<shift>(p, c1175, c2053 - c2562 - c0390 + c1175, q, c1175 - c2562, c1175 - c0390);
    x.v[3] = rotate<shift>(p, c1175 - c1961, c1175 - c2562, q, c3072 - c2562 - c1961 + c1175, c1175);
    x.v[1] = rotate<shift>(p, c1175 - c0899, c1175 - c0390, q, c1175, c1501 - c0899 - c0390 + c1175);
}

inline void transpose(Lines& x) {
    __m128i a[8], b[8];
    for (int i = 0; i < 4; i++) {
        a[2 * i] = _mm_unpacklo_epi16(x.v[2 * i], x.v[2 * i + 1]);
        a[2 * i + 1] = _mm_unpackhi_epi16(x.v[2 * i], x.v[2 * i + 1]);
    }
    for (int i = 0; i < 2; i++) {
        b[4 * i] = _mm_unpacklo_epi32(a[4 * i], a[4 * i + 2]);
        b[4 * i + 1] = _mm_unpackhi_epi32(a[4 * i], a[4 * i + 2]);
        b[4 * i + 2] = _mm_unpacklo_epi32(a[4 * i + 1], a[4 * i + 3]);
        b[4 * i + 3] = _mm_unpackhi_epi32(a[4 * i + 1], a[4 * i + 3]);
    }
    for (int i = 0; i < 4; i++) {
        x.v[2 * i] = _mm_unpacklo_epi64(b[i], b[i + 4]);
        x.v[2 * i + 1] = _mm_unpackhi_epi64(b[i], b[i + 4]);
    }
}

}  // namespace

void forwardDct(const std::uint8_t* samples, std::size_t stride, std::int16_t* coefficients) {
    const __m128i zero = _mm_setzero_si128(), middle = _mm_set1_epi16(128);
    Lines x;
    for (unsigned y = 0; y < 8; y++) {
        const __m128i row = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples + y * stride));
        x.v[y] = _mm_sub_epi16(_mm_unpacklo_epi8(row, zero), middle);
    }
    transpose(x);
    transformLines<true>(x);
    transpose(x);
    transformLines<false>(x);
    for (unsigned y = 0; y < 8; y++)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(coefficients + 8 * y), x.v[y]);
}

}  // namespace orn32::jpeg
