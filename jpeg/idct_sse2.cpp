// The inverse transform on eight columns at once. Every one-dimensional result is a sum of products of the
// inputs with 16-bit factors, which pmaddwd takes two at a time.
#include <emmintrin.h>

#include <cstring>

#include "jpeg/dct.h"
#include "jpeg/idct.h"

namespace orn32::jpeg {
namespace {

using namespace dct;

// Two 16-bit factors, repeated.
constexpr int pairOf(int a, int b) {
    return static_cast<int>((static_cast<unsigned>(b) & 0xFFFF) << 16 | (static_cast<unsigned>(a) & 0xFFFF));
}
inline __m128i products(__m128i pairs, int factors) {
    return _mm_madd_epi16(pairs, _mm_set1_epi32(factors));
}

constexpr int one = 1 << factorBits;
constexpr int even04 = pairOf(one, one), even04Minus = pairOf(one, -one);
constexpr int even26 = pairOf(f0_541196100 + f0_765366865, f0_541196100);
constexpr int even26Minus = pairOf(f0_541196100, f0_541196100 - f1_847759065);

// What the odd inputs 1, 3, 5 and 7 contribute to results 0 to 3, and negated to 7 to 4: the plain
// transform's sums multiplied out.
constexpr int z5 = f1_175875602;
constexpr int odd13[4] = {pairOf(f1_501321110 - f0_899976223 - f0_390180644 + z5, z5),
                          pairOf(z5, f3_072711026 - f2_562915447 - f1_961570560 + z5),
                          pairOf(z5 - f0_390180644, z5 - f2_562915447),
                          pairOf(z5 - f0_899976223, z5 - f1_961570560)};
constexpr int odd57[4] = {pairOf(z5 - f0_390180644, z5 - f0_899976223),
                          pairOf(z5 - f2_562915447, z5 - f1_961570560),
                          pairOf(f2_053119869 - f2_562915447 - f0_390180644 + z5, z5),
                          pairOf(z5, f0_298631336 - f0_899976223 - f1_961570560 + z5)};

// The pairs of inputs that are multiplied together, for four lines.
struct Pairs {
    __m128i p04, p26, p13, p57;
};
struct Eight {
    __m128i at[8];
};

// Results for four lines in 32 bits each. With upperZero the inputs 4 to 7 are 0.
template <int bits, bool upperZero>
Eight transform(const Pairs& in) {
    const __m128i rounding = _mm_set1_epi32(1 << (bits - 1));
    const __m128i e0 = _mm_add_epi32(products(in.p04, even04), rounding);
    const __m128i e1 = upperZero ? e0 : _mm_add_epi32(products(in.p04, even04Minus), rounding);
    const __m128i e3 = products(in.p26, even26), e2 = products(in.p26, even26Minus);
    const __m128i even[4] = {_mm_add_epi32(e0, e3), _mm_add_epi32(e1, e2), _mm_sub_epi32(e1, e2),
                             _mm_sub_epi32(e0, e3)};
    Eight out;
    for (int i = 0; i < 4; i++) {
        __m128i odd = products(in.p13, odd13[i]);
        if (!upperZero) odd = _mm_add_epi32(odd, products(in.p57, odd57[i]));
        out.at[i] = _mm_srai_epi32(_mm_add_epi32(even[i], odd), bits);
        out.at[7 - i] = _mm_srai_epi32(_mm_sub_epi32(even[i], odd), bits);
    }
    return out;
}

// Eight lines of 16-bit inputs, of which 4 to 7 may be known to be 0.
template <int bits, bool upperZero>
Eight transformLines(const Eight& in) {
    const __m128i zero = _mm_setzero_si128();
    const auto& line = in.at;
    const __m128i l4 = upperZero ? zero : line[4], l5 = upperZero ? zero : line[5];
    const __m128i l6 = upperZero ? zero : line[6], l7 = upperZero ? zero : line[7];
    const Pairs low = {_mm_unpacklo_epi16(line[0], l4), _mm_unpacklo_epi16(line[2], l6),
                       _mm_unpacklo_epi16(line[1], line[3]), _mm_unpacklo_epi16(l5, l7)};
    const Pairs high = {_mm_unpackhi_epi16(line[0], l4), _mm_unpackhi_epi16(line[2], l6),
                        _mm_unpackhi_epi16(line[1], line[3]), _mm_unpackhi_epi16(l5, l7)};
    const Eight a = transform<bits, upperZero>(low), b = transform<bits, upperZero>(high);
    Eight out;
    for (int i = 0; i < 8; i++) out.at[i] = _mm_packs_epi32(a.at[i], b.at[i]);
    return out;
}

Eight transpose(const Eight& in) {
    Eight a, b, out;
    for (int i = 0; i < 4; i++) {
        a.at[2 * i] = _mm_unpacklo_epi16(in.at[i], in.at[i + 4]);
        a.at[2 * i + 1] = _mm_unpackhi_epi16(in.at[i], in.at[i + 4]);
    }
    for (int i = 0; i < 4; i++) {
        b.at[2 * i] = _mm_unpacklo_epi16(a.at[i], a.at[i + 4]);
        b.at[2 * i + 1] = _mm_unpackhi_epi16(a.at[i], a.at[i + 4]);
    }
    for (int i = 0; i < 4; i++) {
        out.at[2 * i] = _mm_unpacklo_epi16(b.at[i], b.at[i + 4]);
        out.at[2 * i + 1] = _mm_unpackhi_epi16(b.at[i], b.at[i + 4]);
    }
    return out;
}

// The samples of eight columns, wrapped to 10 bits and cut to 8, stored as rows.
void storeSamples(const Eight& columns, std::uint8_t* out, std::ptrdiff_t stride) {
    __m128i wrapped[8];
    for (int i = 0; i < 8; i++) wrapped[i] = _mm_srai_epi16(_mm_slli_epi16(columns.at[i], 6), 6);
    const __m128i c04 = _mm_packs_epi16(wrapped[0], wrapped[4]),
                  c15 = _mm_packs_epi16(wrapped[1], wrapped[5]);
    const __m128i c26 = _mm_packs_epi16(wrapped[2], wrapped[6]),
                  c37 = _mm_packs_epi16(wrapped[3], wrapped[7]);
    const __m128i c02 = _mm_unpacklo_epi8(c04, c26), c13 = _mm_unpacklo_epi8(c15, c37);
    const __m128i c46 = _mm_unpackhi_epi8(c04, c26), c57 = _mm_unpackhi_epi8(c15, c37);
    const __m128i left[2] = {_mm_unpacklo_epi8(c02, c13), _mm_unpackhi_epi8(c02, c13)};
    const __m128i right[2] = {_mm_unpacklo_epi8(c46, c57), _mm_unpackhi_epi8(c46, c57)};
    const __m128i centre = _mm_set1_epi8(-128);
    for (int i = 0; i < 2; i++) {
        const __m128i rows[2] = {_mm_unpacklo_epi32(left[i], right[i]),
                                 _mm_unpackhi_epi32(left[i], right[i])};
        for (const __m128i& pair : rows) {
            const __m128i samples = _mm_xor_si128(pair, centre);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out), samples);
            _mm_storeh_pd(reinterpret_cast<double*>(out + stride), _mm_castsi128_pd(samples));
            out += 2 * stride;
        }
    }
}

// Whether a result of the first pass may have been cut to 16 bits.
template <int count>
bool mayBeCut(const Eight& lines) {
    __m128i low = lines.at[0], high = lines.at[0];
    for (int i = 1; i < count; i++) {
        low = _mm_min_epi16(low, lines.at[i]);
        high = _mm_max_epi16(high, lines.at[i]);
    }
    const __m128i cut = _mm_or_si128(_mm_cmpeq_epi16(high, _mm_set1_epi16(0x7FFF)),
                                     _mm_cmpeq_epi16(low, _mm_set1_epi16(-0x8000)));
    return _mm_movemask_epi8(cut) != 0;
}

void fill(std::int16_t dc, std::uint8_t* out, std::ptrdiff_t stride) {
    int x = (dc + 4) >> 3;
    x = ((x + 512) & 1023) - 512;
    const __m128i wide = _mm_set1_epi16(static_cast<short>(x));
    const __m128i samples = _mm_xor_si128(_mm_packs_epi16(wide, wide), _mm_set1_epi8(-128));
    for (int y = 0; y < 8; y++, out += stride) _mm_storel_epi64(reinterpret_cast<__m128i*>(out), samples);
}

inline __m128i dequantised(const std::int16_t* coefs, const std::uint16_t* quant, int row) {
    return _mm_mullo_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(coefs) + row),
                           _mm_load_si128(reinterpret_cast<const __m128i*>(quant) + row));
}

constexpr int firstPassBits = factorBits - passBits, secondPassBits = factorBits + passBits + 3;

[[gnu::noinline]] void transformLarge(const std::int16_t* coefs, const std::uint16_t* quant,
                                      std::uint8_t* out, std::ptrdiff_t stride) {
    alignas(16) std::int16_t block[blockSize];
    for (int i = 0; i < 8; i++)
        _mm_store_si128(reinterpret_cast<__m128i*>(block) + i, dequantised(coefs, quant, i));
    inverseDctPlain(block, out, stride);
}

// For blocks whose coefficients lie in the upper left 4 x 4, as most do: half the lines and half the
// products. firstPass gives all eight results for the four columns, two results to a vector.
Eight firstPassOf4x4(const std::int16_t* coefs, const std::uint16_t* quant) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i r0 = dequantised(coefs, quant, 0), r1 = dequantised(coefs, quant, 1);
    const __m128i r2 = dequantised(coefs, quant, 2), r3 = dequantised(coefs, quant, 3);
    const Pairs columns = {_mm_unpacklo_epi16(r0, zero), _mm_unpacklo_epi16(r2, zero),
                           _mm_unpacklo_epi16(r1, r3), zero};
    const Eight sums = transform<firstPassBits, true>(columns);
    Eight packed;
    for (int i = 0; i < 4; i++) packed.at[i] = _mm_packs_epi32(sums.at[2 * i], sums.at[2 * i + 1]);
    return packed;
}

// From rows, two to a vector, to four columns.
Eight columnsOf(const Eight& rows) {
    const auto fourRows = [&](int first, __m128i& left, __m128i& right) {
        const __m128i even = _mm_unpacklo_epi16(rows.at[first], rows.at[first + 1]);
        const __m128i odd = _mm_unpackhi_epi16(rows.at[first], rows.at[first + 1]);
        left = _mm_unpacklo_epi16(even, odd);
        right = _mm_unpackhi_epi16(even, odd);
    };
    __m128i upperLeft, upperRight, lowerLeft, lowerRight;
    fourRows(0, upperLeft, upperRight);
    fourRows(2, lowerLeft, lowerRight);
    return {{_mm_unpacklo_epi64(upperLeft, lowerLeft), _mm_unpackhi_epi64(upperLeft, lowerLeft),
             _mm_unpacklo_epi64(upperRight, lowerRight), _mm_unpackhi_epi64(upperRight, lowerRight)}};
}

constexpr unsigned lastOf4x4 = 9;  // in zigzag order, all up to here lie in the upper left 4 x 4

}  // namespace

void inverseDct(const std::int16_t* coefs, const std::uint16_t* quant, unsigned last, std::uint8_t* out,
                std::ptrdiff_t stride) {
    if (last == 0) {
        fill(static_cast<std::int16_t>(coefs[0] * quant[0]), out, stride);
    } else if (last <= lastOf4x4) {
        const Eight rows = firstPassOf4x4(coefs, quant);
        if (mayBeCut<4>(rows)) return transformLarge(coefs, quant, out, stride);
        storeSamples(transformLines<secondPassBits, true>(columnsOf(rows)), out, stride);
    } else {
        Eight rows;
        for (int i = 0; i < 8; i++) rows.at[i] = dequantised(coefs, quant, i);
        const Eight lines = transformLines<firstPassBits, false>(rows);
        if (mayBeCut<8>(lines)) return transformLarge(coefs, quant, out, stride);
        storeSamples(transformLines<secondPassBits, false>(transpose(lines)), out, stride);
    }
}

}  // namespace orn32::jpeg
