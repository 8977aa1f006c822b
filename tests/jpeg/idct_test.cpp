// The fast transform against the plain one, for blocks of every kind.
#include <gtest/gtest.h>

#include "jpeg/idct.h"
#include "jpeg/idct_sample.h"
#include "tests/jpeg/plain_jpeg.h"

using namespace test;
using orn32::jpeg::naturalOrder;

namespace {

struct alignas(16) Input {
    Block coefs{};
    std::array<std::uint16_t, 64> quant{};
};

// Coefficients up to index last in zigzag order, of at most the given magnitude after dequantisation.
Input randomInput(Random& random, unsigned last, int magnitude) {
    Input input;
    for (auto& q : input.quant) q = std::uint16_t(1 + random.below(255));
    for (unsigned k = 0; k <= last; k++) {
        if (!random.oneIn(3)) continue;
        const unsigned i = naturalOrder[k];
        const int range = magnitude / input.quant[i];
        input.coefs[i] = std::int16_t(random.between(-range, range));
    }
    return input;
}

// So many rows and columns of a block, wherever they begin.
template <unsigned rows, unsigned columns, class Transform>
void expectSameSamples(const Input& input, unsigned last, const std::array<std::uint8_t, 64>& want,
                       Transform transform) {
    const std::uint8_t rowsOf[] = {16, 17, 18, 19, 20, 21, 22, 23};
    const std::uint16_t columnsOf[] = {320, 321, 322, 323, 324, 325, 326, 327};
    for (unsigned y = 0; y + rows <= 8; y++)
        for (unsigned x = 0; x + columns <= 8; x++) {
            std::uint8_t have[rows][columns + 1];
            for (auto& row : have) row[columns] = 0xA5;
            transform(
                input.coefs.data(), input.quant.data(), last,
                orn32::jpeg::ShownSamples{rowsOf + y, columnsOf + x, rows, columns, have[0], columns + 1});
            for (unsigned j = 0; j < rows; j++)
                for (unsigned i = 0; i <= columns; i++)
                    ASSERT_EQ(have[j][i], i < columns ? want[8 * (y + j) + x + i] : 0xA5)
                        << rows << "x" << columns << " samples at " << x << "," << y << " last " << last;
        }
}

void expectSame(const Input& input, unsigned last) {
    std::uint8_t have[8 * 11];
    std::fill(std::begin(have), std::end(have), std::uint8_t{0xA5});
    orn32::jpeg::inverseDct(input.coefs.data(), input.quant.data(), last, have, 11);
    const auto want = transformPlainly(input.coefs, input.quant);
    for (unsigned y = 0; y < 8; y++)
        for (unsigned x = 0; x < 11; x++)
            ASSERT_EQ(have[11 * y + x], x < 8 ? want[8 * y + x] : 0xA5) << x << "," << y << " last " << last;
    expectSameSamples<8, 8>(input, last, want, [](auto... p) { orn32::jpeg::inverseDctSamples(p...); });
    expectSameSamples<1, 1>(input, last, want,
                            [](auto... p) { orn32::jpeg::inverseDctFewSamples<1, 1>(p...); });
    expectSameSamples<1, 2>(input, last, want,
                            [](auto... p) { orn32::jpeg::inverseDctFewSamples<1, 2>(p...); });
    expectSameSamples<2, 1>(input, last, want,
                            [](auto... p) { orn32::jpeg::inverseDctFewSamples<2, 1>(p...); });
    expectSameSamples<2, 2>(input, last, want,
                            [](auto... p) { orn32::jpeg::inverseDctFewSamples<2, 2>(p...); });
}

}  // namespace

TEST(JpegIdct, IsExactForCoefficientsOfAnySize) {
    Random random(1);
    for (const int magnitude : {100, 1024, 3000, 9000, 32767, 1 << 22})
        for (unsigned last = 0; last < 64; last++)
            for (int round = 0; round < 40; round++)
                ASSERT_NO_FATAL_FAILURE(expectSame(randomInput(random, last, magnitude), last));
}

TEST(JpegIdct, SingleCoefficientsAtTheirExtremes) {
    Input input;
    input.quant.fill(1);
    for (unsigned k = 0; k < 64; k++) {
        for (const int value : {-32768, -32767, -8192, -1024, -1, 1, 1023, 4095, 5793, 5794, 32767}) {
            input.coefs[naturalOrder[k]] = std::int16_t(value);
            for (unsigned last = k; last < 64; last += 7) ASSERT_NO_FATAL_FAILURE(expectSame(input, last));
        }
        input.coefs = {};
    }
    for (int dc = -32768; dc < 32768; dc++) {
        input.coefs[0] = std::int16_t(dc);
        ASSERT_NO_FATAL_FAILURE(expectSame(input, 0));
    }
}
