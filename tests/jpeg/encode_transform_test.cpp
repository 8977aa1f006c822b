#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "core/cpu.h"
#include "jpeg/block_transform.h"
#include "jpeg/colour_convert.h"
#include "jpeg/quantise.h"
#include "tests/jpeg/plain_encoder.h"
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

int dividePlainly(int c, int q) {
    const int m = std::abs(c) + q / 2, magnitude = m < q ? 0 : m / q;
    return c < 0 ? -magnitude : magnitude;
}

// Two blocks side by side in rows of 16 samples.
void expectSameTransform(const Bytes& samples, const QuantisationTable& table, const std::string& what) {
    for (const auto& [name, transform] : variants(transformBlocksSse2, transformBlocksAvx2)) {
        TransformedPair have;
        transform(samples.data(), samples.data() + 8, 16, Quantiser(table), have);
        for (unsigned b = 0; b < 2; b++) {
            int block[64], coefficients[64];
            for (unsigned i = 0; i < 64; i++) block[i] = samples[i / 8 * 16 + b * 8 + i % 8];
            transformPlainly(block, coefficients);
            for (unsigned i = 0; i < 64; i++) {
                const int want = dividePlainly(coefficients[i], table.value[i]);
                ASSERT_EQ(have.coefficients[b][i], want)
                    << name << ", " << what << ", block " << b << ", " << i;
                ASSERT_EQ(have.nonzero[b][i / 8] >> i % 8 & 1, want != 0)
                    << name << ", " << what << ", " << i;
            }
        }
    }
}

}  // namespace

TEST(BlockTransform, EqualsTheFlowGraphAndDivisionForRandomBlocks) {
    Random random(1);
    for (int round = 0; round < 20000; round++) {
        Bytes samples = random.bytes(128);
        if (round % 2)  // only extremes: the largest sums
            for (auto& s : samples) s = s & 1 ? 255 : 0;
        const int quality = round % 3 ? 100 : random.between(1, 100);
        expectSameTransform(samples, quantisationTable(quality, round % 5 == 0),
                            "round " + std::to_string(round));
    }
}

// Every basis function's own signs drive its coefficient to the limit; divided by 8 they have their true
// size.
TEST(BlockTransform, EqualsTheFlowGraphForTheLargestCoefficients) {
    const auto wave = [](int x, int u) { return std::cos((2 * x + 1) * u * 3.14159265358979 / 16); };
    for (int uv = 0; uv < 64; uv++) {
        Bytes samples(128);
        for (int i = 0; i < 128; i++) {
            const bool positive = wave(i % 8, uv % 8) * wave(i / 16, uv / 8) > 0, right = i % 16 >= 8;
            samples[static_cast<unsigned>(i)] = positive != right ? 255 : 0;
        }
        expectSameTransform(samples, quantisationTable(100, false), "basis " + std::to_string(uv));
    }
}

// For every divisor that a table can hold, and every dividend: coefficients have at most 13 bits and a sign,
// half the divisor at most 14.
TEST(Quantiser, MultipliersEqualDivision) {
    QuantisationTable table = {};
    for (unsigned first = 8; first <= 32767; first += 64) {
        for (unsigned i = 0; i < 64; i++)
            table.value[i] = static_cast<std::uint16_t>(std::min(first + i, 32767u));
        const Quantiser q(table);
        for (unsigned i = 0; i < 64; i++) {
            const unsigned d = table.value[i];
            ASSERT_EQ(q.half[i], d / 2);
            for (unsigned m = 0; m < 32768; m++) {
                const unsigned have = (m * q.reciprocal[i] >> 16) * q.scale[i] >> 16;
                if (have != m / d) FAIL() << m << " / " << d << ": have " << have << ", want " << m / d;
            }
        }
    }
}

namespace {

struct Ycc {
    int y, cb, cr;
};

Ycc convertPlainly(const std::uint8_t* pixel) {
    const int b = pixel[0], g = pixel[1], r = pixel[2];
    return {(19595 * r + 38470 * g + 7471 * b + 32768) >> 16,
            (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16,
            (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16};
}

}  // namespace

TEST(ColourConversion, EqualsTheFormulaAtEveryWidthAndRepeatsTheLastPixel) {
    Random random(2);
    for (const auto& [name, convert] : variants(convertRowsSse2, convertRowsAvx2)) {
        for (unsigned width = 1; width <= 111; width++) {
            const GuardedBytes upper(random.bytes(width * 3)), lower(random.bytes(width * 3));
            const unsigned padded = (width + 15) / 16 * 16, room = padded + sampleSlack;
            const GuardedBytes upperY(room), lowerY(room), cb(room / 2), cr(room / 2);
            convert({upperY.data(), lowerY.data(), cb.data(), cr.data()}, {upper.data(), lower.data()},
                    width);
            for (unsigned x = 0; x < padded; x += 2) {
                int cbSum = x / 2 % 2 ? 2 : 1, crSum = cbSum;
                for (unsigned i = 0; i < 4; i++) {
                    const std::uint8_t* row = (i < 2 ? upper : lower).data();
                    const Ycc want = convertPlainly(row + 3 * std::min(x + i % 2, width - 1));
                    ASSERT_EQ((i < 2 ? upperY : lowerY).data()[x + i % 2], want.y)
                        << name << ", " << x << " of " << width;
                    cbSum += want.cb, crSum += want.cr;
                }
                ASSERT_EQ(cb.data()[x / 2], cbSum >> 2) << name << ", " << x << " of " << width;
                ASSERT_EQ(cr.data()[x / 2], crSum >> 2) << name << ", " << x << " of " << width;
            }
        }
    }
}

// Four equal pixels have themselves as their mean.
TEST(ColourConversion, EqualsTheFormulaForEveryColour) {
    Bytes pixels(512 * 3), y(512 + sampleSlack), cb(256 + sampleSlack), cr(256 + sampleSlack);
    for (const auto& [name, convert] : variants(convertRowsSse2, convertRowsAvx2)) {
        for (unsigned redGreen = 0; redGreen < 65536; redGreen++) {
            for (unsigned i = 0; i < 512; i++) {
                pixels[3 * i] = static_cast<std::uint8_t>(i / 2);
                pixels[3 * i + 1] = static_cast<std::uint8_t>(redGreen);
                pixels[3 * i + 2] = static_cast<std::uint8_t>(redGreen >> 8);
            }
            convert({y.data(), y.data(), cb.data(), cr.data()}, {pixels.data(), pixels.data()}, 512);
            for (unsigned b = 0; b < 256; b++) {
                const Ycc want = convertPlainly(&pixels[6 * b]);
                if (y[2 * b] != want.y || cb[b] != want.cb || cr[b] != want.cr)
                    FAIL() << name << ", red and green " << std::hex << redGreen << " blue " << b;
            }
        }
    }
}
