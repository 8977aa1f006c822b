// Code tables from counts, against the plain ones.
#include <gtest/gtest.h>

#include "jpeg/huffman_optimise.h"
#include "tests/jpeg/plain_jpeg.h"

using namespace test;

namespace {

void expectAsPlainly(const std::vector<unsigned>& counts, const std::string& what) {
    orn32::jpeg::SymbolCounts symbols;
    std::copy(counts.begin(), counts.end(), symbols.count);
    const auto have = orn32::jpeg::optimalTable(symbols);
    Bytes definition(std::begin(have.counts), std::end(have.counts));
    definition.insert(definition.end(), have.values, have.values + have.total());
    EXPECT_EQ(definition, optimalTablePlainly(counts).definition) << what;
}

}  // namespace

TEST(OptimalTable, IsThePlainOne) {
    Random random(1);
    for (int round = 0; round < 500; round++) {
        std::vector<unsigned> counts(256);
        const unsigned symbols = 1 + random.below(256), range = 1u << random.below(20);
        for (unsigned i = 0; i < symbols; i++) counts[random.below(256)] = random.below(range) + 1;
        expectAsPlainly(counts, "round " + std::to_string(round));
    }
}

// Counts that grow like Fibonacci's numbers make the deepest trees: 40 symbols, codes of 40 bits.
TEST(OptimalTable, CodesOfMoreThanSixteenAndThirtyTwoBitsAreShortened) {
    for (const unsigned symbols : {16u, 17u, 18u, 25u, 33u, 34u, 40u}) {
        std::vector<unsigned> counts(256);
        for (unsigned i = 0, a = 1, b = 1; i < symbols; i++, b += a, std::swap(a, b)) counts[255 - 3 * i] = a;
        expectAsPlainly(counts, std::to_string(symbols) + " symbols");
    }
}
