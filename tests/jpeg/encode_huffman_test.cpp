// Code tables from counts, against the plain ones.
#include <gtest/gtest.h>

#include "jpeg/huffman_optimise.h"
#include "tests/jpeg/plain_jpeg.h"

using namespace test;

// Random counts, and some that grow like Fibonacci's numbers, which make the deepest trees: codes of up to 40
// bits have to be shortened.
TEST(OptimalTable, IsThePlainOne) {
    Random random(1);
    for (int round = 0; round < 500; round++) {
        std::vector<unsigned> counts(256);
        const unsigned symbols = 1 + random.below(round % 4 ? 256 : 40), range = 1u << random.below(20);
        for (unsigned i = 0, a = 1, b = 1; i < symbols; i++, b += a, std::swap(a, b))
            counts[round % 4 ? random.below(256) : 255 - 3 * i] = round % 4 ? random.below(range) + 1 : a;
        orn32::jpeg::SymbolCounts given;
        std::copy(counts.begin(), counts.end(), given.count);
        const auto have = orn32::jpeg::optimalTable(given);
        EXPECT_EQ(Bytes(have.counts, have.counts + 16) + Bytes(have.values, have.values + have.total()),
                  optimalTablePlainly(counts).definition)
            << symbols << " symbols, round " << round;
    }
}
