// One sample of the inverse transform, for reduced pictures that show only a few of a block's: its row of all
// eight columns, then its place in that row.
#pragma once

#include <emmintrin.h>

#include "jpeg/dct.h"
#include "jpeg/idct.h"

namespace orn32::jpeg {
namespace sample {

using namespace dct;

// What each input contributes to each result of the one-dimensional transform: the plain transform's sums
// multiplied out.
struct Matrix {
    alignas(16) std::int16_t rows[8][8];
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
    return m;
}

inline constexpr Matrix matrix = makeMatrix();

constexpr int firstPassBits = factorBits - passBits, secondPassBits = factorBits + passBits + 3;
constexpr unsigned lastOf4x4 = 9;  // in zigzag order, all up to here lie in the upper left 4 x 4

inline __m128i aligned(const void* p, unsigned i) {
    return _mm_load_si128(static_cast<const __m128i*>(p) + i);
}

// A row of the first pass, cut to 16 bits where need be.
inline __m128i firstPassRow(const std::int16_t* coefs, const std::uint16_t* quant, unsigned y,
                            unsigned inputs) {
    const __m128i factors = aligned(matrix.rows, y);
    __m128i left = _mm_set1_epi32(1 << (firstPassBits - 1)), right = left;
    const auto add = [&](unsigned i, __m128i factorPair) {
        const __m128i a = _mm_mullo_epi16(aligned(coefs, i), aligned(quant, i));
        const __m128i b = _mm_mullo_epi16(aligned(coefs, i + 1), aligned(quant, i + 1));
        left = _mm_add_epi32(left, _mm_madd_epi16(_mm_unpacklo_epi16(a, b), factorPair));
        right = _mm_add_epi32(right, _mm_madd_epi16(_mm_unpackhi_epi16(a, b), factorPair));
    };
    add(0, _mm_shuffle_epi32(factors, 0x00));
    add(2, _mm_shuffle_epi32(factors, 0x55));
    if (inputs > 4) {
        add(4, _mm_shuffle_epi32(factors, 0xAA));
        add(6, _mm_shuffle_epi32(factors, 0xFF));
    }
    return _mm_packs_epi32(_mm_srai_epi32(left, firstPassBits), _mm_srai_epi32(right, firstPassBits));
}

inline bool mayBeCut(__m128i values) {
    const __m128i cut = _mm_or_si128(_mm_cmpeq_epi16(values, _mm_set1_epi16(0x7FFF)),
                                     _mm_cmpeq_epi16(values, _mm_set1_epi16(-0x8000)));
    return _mm_movemask_epi8(cut) != 0;
}

inline std::uint8_t toSample(int x) {
    x = ((x + 512) & 1023) - 512 + 128;
    return static_cast<std::uint8_t>(x < 0 ? 0 : x > 255 ? 255 : x);
}

// Result x of the second pass.
inline std::uint8_t sampleOf(__m128i row, unsigned x) {
    __m128i sum = _mm_madd_epi16(row, aligned(matrix.rows, x));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
    return toSample((_mm_cvtsi128_si32(sum) + (1 << (secondPassBits - 1))) >> secondPassBits);
}

// What does not fit the first pass' 16 bits goes the long way.
[[gnu::noinline]] inline void samplesOfLarge(const std::int16_t* coefs, const std::uint16_t* quant,
                                             unsigned y, const std::uint16_t* columns, unsigned count,
                                             std::uint8_t* row) {
    std::uint8_t samples[blockSize];
    inverseDct(coefs, quant, blockSize - 1, samples, 8);
    for (unsigned i = 0; i < count; i++) row[columns[i]] = samples[8 * y + columns[i] % 8];
}

}  // namespace sample

// A few samples of row y alone, otherwise like inverseDct: those at columns[i] % 8 go to row[columns[i]].
inline void inverseDctSamples(const std::int16_t* coefs, const std::uint16_t* quant, unsigned last,
                              unsigned y, const std::uint16_t* columns, unsigned count, std::uint8_t* row) {
    using namespace sample;
    if (last == 0) {
        const std::uint8_t sample = toSample((static_cast<std::int16_t>(coefs[0] * quant[0]) + 4) >> 3);
        for (unsigned i = 0; i < count; i++) row[columns[i]] = sample;
        return;
    }
    const __m128i values = firstPassRow(coefs, quant, y, last <= lastOf4x4 ? 4 : 8);
    if (mayBeCut(values)) return samplesOfLarge(coefs, quant, y, columns, count, row);
    for (unsigned i = 0; i < count; i++) row[columns[i]] = sampleOf(values, columns[i] % 8);
}

}  // namespace orn32::jpeg
