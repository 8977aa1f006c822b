// Single samples of the inverse transform, for reduced pictures that show only a few of a block's: their rows
// of all eight columns first, then their places in these.
#pragma once

#include <emmintrin.h>

#include <initializer_list>

#include "jpeg/dct.h"
#include "jpeg/idct.h"

namespace orn32::jpeg {
namespace sample {

using namespace dct;

// What each input contributes to each result of the one-dimensional transform: the plain transform's sums
// multiplied out. Once as rows, and once as pairs of inputs four times over.
struct Matrix {
    alignas(16) std::int16_t rows[8][8];
    alignas(16) std::int16_t pairs[8][4][8];
};

constexpr Matrix makeMatrix() {
    constexpr int one = 1 << factorBits, z5 = f1_175875602;
    constexpr int even2 = f0_541196100 + f0_765366865, even6 = f0_541196100 - f1_847759065;
    constexpr int even[4][4] = {{one, even2, one, f0_541196100},
                                {one, f0_541196100, -one, even6},
                                {one, -f0_541196100, -one, -even6},
                                {one, -even2, one, -f0_541196100}};
    constexpr int odd[4][4] = {
        {f1_501321110 - f0_899976223 - f0_390180644 + z5, z5, z5 - f0_390180644, z5 - f0_899976223},
        {z5, f3_072711026 - f2_562915447 - f1_961570560 + z5, z5 - f2_562915447, z5 - f1_961570560},
        {z5 - f0_390180644, z5 - f2_562915447, f2_053119869 - f2_562915447 - f0_390180644 + z5, z5},
        {z5 - f0_899976223, z5 - f1_961570560, z5, f0_298631336 - f0_899976223 - f1_961570560 + z5}};
    Matrix m = {};
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) {
            m.rows[i][2 * j] = m.rows[7 - i][2 * j] = static_cast<std::int16_t>(even[i][j]);
            m.rows[i][2 * j + 1] = static_cast<std::int16_t>(odd[i][j]);
            m.rows[7 - i][2 * j + 1] = static_cast<std::int16_t>(-odd[i][j]);
        }
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < 32; j++) m.pairs[i][j / 8][j % 8] = m.rows[i][j / 8 * 2 + j % 2];
    return m;
}

inline constexpr Matrix matrix = makeMatrix();

constexpr int firstPassBits = factorBits - passBits, secondPassBits = factorBits + passBits + 3;
constexpr unsigned lastOf4x4 = 9;  // in zigzag order, all up to here lie in the upper left 4 x 4

inline __m128i aligned(const void* p, unsigned i) {
    return _mm_load_si128(static_cast<const __m128i*>(p) + i);
}
inline __m128i halfOf(const void* p, unsigned i) {
    return _mm_loadl_epi64(static_cast<const __m128i*>(p) + i);
}

// Some rows of the first pass, cut to 16 bits where need be.
template <unsigned count>
struct FirstPassRows {
    __m128i at[count];
};

inline __m128i firstPassSums(__m128i left, __m128i right) {
    const __m128i rounding = _mm_set1_epi32(1 << (firstPassBits - 1));
    return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(left, rounding), firstPassBits),
                           _mm_srai_epi32(_mm_add_epi32(right, rounding), firstPassBits));
}

template <unsigned count>
[[gnu::always_inline]] inline FirstPassRows<count> firstPass(const std::int16_t* coefs,
                                                             const std::uint16_t* quant, const unsigned* y) {
    FirstPassRows<count> left = {}, right = {};
    for (unsigned i = 0; i < 4; i++) {
        const __m128i a = _mm_mullo_epi16(aligned(coefs, 2 * i), aligned(quant, 2 * i));
        const __m128i b = _mm_mullo_epi16(aligned(coefs, 2 * i + 1), aligned(quant, 2 * i + 1));
        const __m128i low = _mm_unpacklo_epi16(a, b), high = _mm_unpackhi_epi16(a, b);
        for (unsigned j = 0; j < count; j++) {
            const __m128i factors = aligned(matrix.pairs[y[j]], i);
            left.at[j] = _mm_add_epi32(left.at[j], _mm_madd_epi16(low, factors));
            right.at[j] = _mm_add_epi32(right.at[j], _mm_madd_epi16(high, factors));
        }
    }
    for (unsigned j = 0; j < count; j++) left.at[j] = firstPassSums(left.at[j], right.at[j]);
    return left;
}

// The same where only the upper left 4 x 4 have something.
template <unsigned count>
[[gnu::always_inline]] inline FirstPassRows<count> firstPassOf4x4(const std::int16_t* coefs,
                                                                  const std::uint16_t* quant,
                                                                  const unsigned* y) {
    const auto rows = [&](unsigned i) {
        return _mm_unpacklo_epi16(_mm_mullo_epi16(halfOf(coefs, i), halfOf(quant, i)),
                                  _mm_mullo_epi16(halfOf(coefs, i + 1), halfOf(quant, i + 1)));
    };
    const __m128i rows01 = rows(0), rows23 = rows(2);
    FirstPassRows<count> result;
    for (unsigned j = 0; j < count; j++)
        result.at[j] = firstPassSums(_mm_add_epi32(_mm_madd_epi16(rows01, aligned(matrix.pairs[y[j]], 0)),
                                                   _mm_madd_epi16(rows23, aligned(matrix.pairs[y[j]], 1))),
                                     _mm_setzero_si128());
    return result;
}

template <unsigned count>
inline bool mayBeCut(const FirstPassRows<count>& values) {
    __m128i cut = _mm_setzero_si128();
    for (const __m128i row : values.at)
        for (const __m128i extreme : {_mm_set1_epi16(0x7FFF), _mm_set1_epi16(-0x8000)})
            cut = _mm_or_si128(cut, _mm_cmpeq_epi16(row, extreme));
    return _mm_movemask_epi8(cut) != 0;
}

// Four results of the second pass, wrapped to 10 bits and cut to 8; the lowest bits of x are to be dropped.
template <int dropped>
inline std::uint32_t toSamples(__m128i x) {
    constexpr int above = 32 - dropped - 10;
    x = _mm_add_epi32(x, _mm_set1_epi32(1 << (dropped - 1)));
    x = _mm_srai_epi32(_mm_slli_epi32(x, above), above + dropped);
    x = _mm_packs_epi32(_mm_add_epi32(x, _mm_set1_epi32(128)), x);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(x, x)));
}

// The sums of the elements of each of one, two or four.
template <unsigned count>
inline __m128i sumsOf(const __m128i (&values)[count]) {
    if constexpr (count == 1) {
        const __m128i halves = _mm_add_epi32(values[0], _mm_shuffle_epi32(values[0], 0x4E));
        return _mm_add_epi32(halves, _mm_shuffle_epi32(halves, 0xB1));
    } else {
        const auto pairOf = [](__m128i a, __m128i b) {
            return _mm_add_epi32(_mm_unpacklo_epi32(a, b), _mm_unpackhi_epi32(a, b));
        };
        const __m128i first = pairOf(values[0], values[1]),
                      second = count == 4 ? pairOf(values[2], values[3]) : first;
        return _mm_add_epi32(_mm_unpacklo_epi64(first, second), _mm_unpackhi_epi64(first, second));
    }
}

}  // namespace sample

// The samples of a block that are shown: those at columns[i] % 8 of its rows rows[j] % 8. They go to row j,
// column i from to on.
struct ShownSamples {
    const std::uint8_t* rows;
    const std::uint16_t* columns;
    unsigned rowCount, columnCount;
    std::uint8_t* to;
    std::ptrdiff_t stride;
};

// Many samples, by the whole transform.
inline void inverseDctSamples(const std::int16_t* coefs, const std::uint16_t* quant, unsigned last,
                              const ShownSamples& shown) {
    std::uint8_t samples[blockSize];
    inverseDct(coefs, quant, last, samples, 8);
    std::uint8_t* to = shown.to;
    for (unsigned j = 0; j < shown.rowCount; j++, to += shown.stride) {
        const std::uint8_t* const row = samples + shown.rows[j] % 8 * 8;
        for (unsigned i = 0; i < shown.columnCount; i++) to[i] = row[shown.columns[i] % 8];
    }
}

// One or two rows by one or two columns, alone.
template <unsigned rows, unsigned columns>
[[gnu::always_inline]] inline void inverseDctFewSamples(const std::int16_t* coefs, const std::uint16_t* quant,
                                                        unsigned last, const ShownSamples& shown) {
    using namespace sample;
    const auto place = [&](auto sampleAt) {
        for (unsigned j = 0; j < rows; j++)
            for (unsigned i = 0; i < columns; i++)
                shown.to[j * shown.stride + i] = static_cast<std::uint8_t>(sampleAt(j * columns + i));
    };
    if (last == 0) {
        const std::uint32_t sample =
            toSamples<3>(_mm_cvtsi32_si128(static_cast<std::int16_t>(coefs[0] * quant[0])));
        return place([sample](unsigned) { return sample; });
    }
    unsigned y[rows];
    for (unsigned j = 0; j < rows; j++) y[j] = shown.rows[j] % 8;
    FirstPassRows<rows> values;
    if (last <= lastOf4x4)
        values = firstPassOf4x4<rows>(coefs, quant, y);
    else
        values = firstPass<rows>(coefs, quant, y);
    if (mayBeCut(values)) return inverseDctSamples(coefs, quant, last, shown);
    __m128i products[rows * columns];
    for (unsigned j = 0; j < rows; j++)
        for (unsigned i = 0; i < columns; i++)
            products[j * columns + i] =
                _mm_madd_epi16(values.at[j], aligned(matrix.rows, shown.columns[i] % 8));
    const std::uint32_t samples = toSamples<secondPassBits>(sumsOf(products));
    place([samples](unsigned i) { return samples >> 8 * i; });
}

}  // namespace orn32::jpeg
