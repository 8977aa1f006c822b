#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "jpeg/colour_convert.h"
#include "jpeg/fdct.h"
#include "jpeg/quantise.h"
#include "tests/jpeg/plain_encoder.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

using namespace orn32::jpeg;
using namespace test;

namespace {

void expectSameTransform(const Bytes& samples, const std::string& what) {
    int plainSamples[64], want[64];
    std::int16_t have[64];
    for (unsigned i = 0; i < 64; i++) plainSamples[i] = samples[i];
    transformPlainly(plainSamples, want);
    forwardDct(samples.data(), 8, have);
    for (int i = 0; i < 64; i++) ASSERT_EQ(have[i], want[i]) << what << ", coefficient " << i;
}

}  // namespace

TEST(ForwardDct, EqualsTheFlowGraphForRandomBlocks) {
    Random random(1);
    for (int round = 0; round < 20000; round++) {
        Bytes samples = random.bytes(64);
        if (round % 2)  // only extremes: the largest sums
            for (auto& s : samples) s = s & 1 ? 255 : 0;
        expectSameTransform(samples, "round " + std::to_string(round));
    }
}

// Every basis function's own signs drive its coefficient to the limit.
TEST(ForwardDct, EqualsTheFlowGraphForTheLargestCoefficients) {
    for (int v = 0; v < 8; v++) {
        for (int u = 0; u < 8; u++) {
            for (const bool inverted : {false, true}) {
                Bytes samples(64);
                for (int y = 0; y < 8; y++)
                    for (int x = 0; x < 8; x++) {
                        const bool positive = std::cos((2 * x + 1) * u * 3.14159265358979 / 16) *
                                                  std::cos((2 * y + 1) * v * 3.14159265358979 / 16) >
                                              0;
                        samples[static_cast<unsigned>(y * 8 + x)] = positive != inverted ? 255 : 0;
                    }
                expectSameTransform(samples, "basis " + std::to_string(u) + "," + std::to_string(v));
            }
        }
    }
}

TEST(Quantiser, DividesExactlyForEveryTableAndEveryCoefficientThatCanOccur) {
    for (int quality = 1; quality <= 100; quality++) {
        for (const bool chrominance : {false, true}) {
            const QuantisationTable table = quantisationTable(quality, chrominance);
            const Quantiser quantiser(table);
            for (int c = 0; c <= 8200; c++) {
                std::int16_t coefficients[64];
                for (int i = 0; i < 64; i++)
                    coefficients[i] = static_cast<std::int16_t>((c + i) & 1 ? -c : c);
                const std::uint64_t nonzero = quantise(coefficients, quantiser);
                for (int i = 0; i < 64; i++) {
                    const int q = table.value[i], m = c + q / 2;
                    const int magnitude = m < q ? 0 : m / q;
                    const int want = (c + i) & 1 ? -magnitude : magnitude;
                    ASSERT_EQ(coefficients[i], want) << "quality " << quality << ", " << c << " / " << q;
                    ASSERT_EQ(nonzero >> i & 1, want != 0)
                        << "quality " << quality << ", " << c << " / " << q;
                }
            }
        }
    }
}

// Not only the divisors of the usual tables: all that a table can hold.
TEST(Quantiser, MultipliersEqualDivisionForEveryDivisor) {
    QuantisationTable table = {};
    for (unsigned first = 8; first <= 32767; first += 64) {
        for (unsigned i = 0; i < 64; i++)
            table.value[i] = static_cast<std::uint16_t>(std::min(first + i, 32767u));
        const Quantiser q(table);
        for (unsigned i = 0; i < 64; i++) {
            const unsigned d = table.value[i];
            for (unsigned m = 0; m < 32768; m++) {
                const unsigned have = (m * q.reciprocal[i] >> 16) * q.scale[i] >> 16;
                if (have != m / d) FAIL() << m << " / " << d << ": have " << have << ", want " << m / d;
            }
        }
    }
}

TEST(QuantisationTable, QualityIsClampedAndLowQualityNeedsSixteenBits) {
    for (const bool chrominance : {false, true}) {
        const auto same = [&](int a, int b) {
            const auto x = quantisationTable(a, chrominance), y = quantisationTable(b, chrominance);
            return std::equal(std::begin(x.value), std::end(x.value), y.value) && x.wide == y.wide;
        };
        EXPECT_TRUE(same(0, 1) && same(-5, 1) && same(150, 100) && !same(1, 2));
        EXPECT_TRUE(quantisationTable(1, chrominance).wide);
        EXPECT_FALSE(quantisationTable(50, chrominance).wide);
        for (const auto value : quantisationTable(100, chrominance).value) EXPECT_EQ(value, 8);
    }
    EXPECT_EQ(quantisationTable(1, false).value[37], 32767);  // 104 * 50 * 8 is more
    EXPECT_EQ(quantisationTable(50, false).value[1], 11 * 8);
    EXPECT_EQ(quantisationTable(50, true).value[3], 47 * 8);
}

TEST(ColourConversion, EqualsTheFormulaAtEveryWidthAndStaysInItsRows) {
    Random random(2);
    for (unsigned width = 1; width <= 111; width++) {
        const GuardedBytes pixels(random.bytes(width * 3));
        const GuardedBytes y(width), cb(width), cr(width);
        convertRow({y.data(), cb.data(), cr.data()}, pixels.data(), width);
        for (unsigned x = 0; x < width; x++) {
            const int b = pixels.data()[3 * x], g = pixels.data()[3 * x + 1], r = pixels.data()[3 * x + 2];
            ASSERT_EQ(y.data()[x], (19595 * r + 38470 * g + 7471 * b + 32768) >> 16) << x << " of " << width;
            ASSERT_EQ(cb.data()[x], (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16)
                << x << " of " << width;
            ASSERT_EQ(cr.data()[x], (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16)
                << x << " of " << width;
        }
    }
}

TEST(ColourConversion, EqualsTheFormulaForEveryColour) {
    std::vector<std::uint8_t> pixels(256 * 3), y(256), cb(256), cr(256);
    for (int r = 0; r < 256; r++) {
        for (int g = 0; g < 256; g++) {
            for (unsigned b = 0; b < 256; b++) {
                pixels[3 * b] = static_cast<std::uint8_t>(b);
                pixels[3 * b + 1] = static_cast<std::uint8_t>(g);
                pixels[3 * b + 2] = static_cast<std::uint8_t>(r);
            }
            convertRow({y.data(), cb.data(), cr.data()}, pixels.data(), 256);
            for (int b = 0; b < 256; b++) {
                const auto i = static_cast<unsigned>(b);
                if (y[i] != (19595 * r + 38470 * g + 7471 * b + 32768) >> 16 ||
                    cb[i] != (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16 ||
                    cr[i] != (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16)
                    FAIL() << "red " << r << " green " << g << " blue " << b;
            }
        }
    }
}

TEST(HalveRows, MeansOfFourWithTheRoundingAlternating) {
    Random random(3);
    for (unsigned width = 16; width <= 112; width += 16) {
        const GuardedBytes upper(random.bytes(width)), lower(random.bytes(width)), half(width / 2);
        halveRows(half.data(), upper.data(), lower.data(), width);
        for (unsigned x = 0; x < width / 2; x++) {
            const int sum =
                upper.data()[2 * x] + upper.data()[2 * x + 1] + lower.data()[2 * x] + lower.data()[2 * x + 1];
            ASSERT_EQ(half.data()[x], (sum + (x % 2 ? 2 : 1)) / 4) << x << " of " << width;
        }
    }
}
