#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "core/cpu.h"
#include "jpeg/block_transform.h"
#include "jpeg/colour_convert.h"
#include "jpeg/quantise.h"
#include "tests/jpeg/plain_jpeg.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

using namespace orn32;
using namespace orn32::jpeg;
using namespace test;

namespace {

// Every variant that this processor can run.
template <class Function>
std::vector<std::pair<const char*, Function*>> variants(Function& sse2, Function& avx2) {
    std::vector<std::pair<const char*, Function*>> all = {{"SSE2", sse2}};
    if (hasAvx2()) all.push_back({"AVX2", avx2});
    return all;
}

// Two blocks side by side in rows of 16 samples.
void expectSameTransform(const Bytes& samples, const QuantisationTable& table, const std::string& what) {
    for (const auto& [name, transform] : variants(transformBlocksSse2, transformBlocksAvx2)) {
        TransformedPair have;
        transform(samples.data(), samples.data() + 8, 16, Quantiser(table), have);
        for (unsigned b = 0; b < 2; b++) {
            std::array<int, 64> block;
            for (unsigned i = 0; i < 64; i++) block[i] = samples[i / 8 * 16 + b * 8 + i % 8];
            const auto coefficients = transformPlainly(block);
            for (unsigned i = 0; i < 64; i++) {
                const int q = table.value[i], magnitude = (std::abs(coefficients[i]) + q / 2) / q;
                const int want = coefficients[i] < 0 ? -magnitude : magnitude;
                const bool isMarked = have.nonzero[b][i / 8] >> i % 8 & 1;
                ASSERT_EQ(std::pair(int{have.coefficients[b][i]}, isMarked), std::pair(want, want != 0))
                    << name << ", " << what << ", block " << b << ", " << i;
            }
        }
    }
}

}  // namespace

// Noise; only extremes, which make the largest sums; and the signs of each basis function, which drive its
// coefficient to the limit, where a division by 8 leaves it in its true size.
TEST(BlockTransform, EqualsTheFlowGraphAndDivision) {
    const auto wave = [](unsigned x, unsigned u) {
        return std::cos((2 * x + 1) * u * 3.14159265358979 / 16);
    };
    Random random(1);
    for (unsigned round = 0; round < 20000; round++) {
        Bytes samples = random.bytes(128);
        if (round % 2)
            for (auto& s : samples) s = s & 1 ? 255 : 0;
        if (round < 64)
            for (unsigned i = 0; i < 128; i++) {
                const bool isPositive = wave(i % 8, round % 8) * wave(i / 16, round / 8) > 0;
                samples[i] = isPositive != (i % 16 >= 8) ? 255 : 0;
            }
        const int quality = round < 64 || round % 3 ? 100 : random.between(1, 100);
        expectSameTransform(samples, quantisationTable(quality, round >= 64 && round % 5 == 0),
                            "round " + std::to_string(round));
    }
}

// For every divisor that a table can hold, and the dividends around its multiples, between which nothing can
// change: coefficients have at most 13 bits and a sign, half the divisor at most 14.
TEST(Quantiser, MultipliersEqualDivision) {
    QuantisationTable table = {};
    for (unsigned first = 8; first <= 32767; first += 64) {
        for (unsigned i = 0; i < 64; i++) table.value[i] = std::uint16_t(std::min(first + i, 32767u));
        const Quantiser q(table);
        for (unsigned i = 0; i < 64; i++) {
            const unsigned d = table.value[i];
            ASSERT_EQ(q.half[i], d / 2);
            for (unsigned k = 0; k * d < 32768; k++)
                for (const unsigned m : {k * d, std::min((k + 1) * d, 32768u) - 1})
                    ASSERT_EQ((m * q.reciprocal[i] >> 16) * q.scale[i] >> 16, k) << m << " / " << d;
        }
    }
}

TEST(ColourConversion, EqualsTheFormulaAtEveryWidthAndRepeatsTheLastPixel) {
    Random random(2);
    for (const auto& [name, convert] : variants(convertRowsSse2, convertRowsAvx2))
        for (unsigned width = 1; width <= 111; width++) {
            const GuardedBytes upper(random.bytes(width * 3)), lower(random.bytes(width * 3));
            const unsigned padded = (width + 15) / 16 * 16, room = padded + sampleSlack;
            const GuardedBytes upperY(room), lowerY(room), cb(room / 2), cr(room / 2);
            convert({upperY.data(), lowerY.data(), cb.data(), cr.data()}, {upper.data(), lower.data()},
                    width);
            for (unsigned x = 0; x < padded; x += 2) {
                int sums[3] = {0, x / 2 % 2 ? 2 : 1, x / 2 % 2 ? 2 : 1};
                for (unsigned i = 0; i < 4; i++) {
                    const std::uint8_t* bgr =
                        (i < 2 ? upper : lower).data() + 3 * std::min(x + i % 2, width - 1);
                    const auto want = convertPlainly({bgr[0], bgr[1], bgr[2]});
                    ASSERT_EQ((i < 2 ? upperY : lowerY).data()[x + i % 2], want[0])
                        << name << ", " << x << " of " << width;
                    sums[1] += want[1], sums[2] += want[2];
                }
                ASSERT_EQ(std::pair(int{cb.data()[x / 2]}, int{cr.data()[x / 2]}),
                          std::pair(sums[1] >> 2, sums[2] >> 2))
                    << name << ", " << x << " of " << width;
            }
        }
}

// Four equal pixels have themselves as their mean.
TEST(ColourConversion, EqualsTheFormulaForEveryColour) {
    Bytes pixels(512 * 3), y(512 + sampleSlack), cb(256 + sampleSlack), cr(256 + sampleSlack);
    for (unsigned redGreen = 0; redGreen < 65536; redGreen++) {
        const auto red = std::uint8_t(redGreen >> 8), green = std::uint8_t(redGreen);
        for (unsigned i = 0; i < 512; i++)
            pixels[3 * i] = std::uint8_t(i / 2), pixels[3 * i + 1] = green, pixels[3 * i + 2] = red;
        for (const auto& [name, convert] : variants(convertRowsSse2, convertRowsAvx2)) {
            convert({y.data(), y.data(), cb.data(), cr.data()}, {pixels.data(), pixels.data()}, 512);
            for (unsigned blue = 0; blue < 256; blue++)
                if (convertPlainly({std::uint8_t(blue), green, red}) !=
                    std::array<int, 3>{y[2 * blue], cb[blue], cr[blue]})
                    FAIL() << name << ", red and green " << std::hex << redGreen << " blue " << blue;
        }
    }
}
