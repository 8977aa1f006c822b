#include <gtest/gtest.h>

#include "jpeg/block_coder.h"
#include "jpeg/huffman_codes.h"
#include "jpeg/huffman_optimise.h"
#include "tests/jpeg/plain_encoder.h"
#include "tests/support/random.h"

using namespace orn32::jpeg;
using namespace test;

namespace {

SymbolCounts countsOf(const std::vector<unsigned>& counts) {
    SymbolCounts result;
    std::copy(counts.begin(), counts.end(), result.count);
    return result;
}

// What a table must have whatever the counts: a code for every symbol that occurs, none for others, and room
// for the code of all ones.
void expectUsable(const HuffmanDefinition& table, const std::vector<unsigned>& counts,
                  const std::string& what) {
    unsigned filled = 0;
    for (unsigned n = 1; n <= 16; n++) filled += table.counts[n - 1] * (1u << (16 - n));
    EXPECT_LT(filled, 65536u) << what;
    std::vector<unsigned> seen(256);
    for (int i = 0; i < table.total(); i++) seen[table.values[i]]++;
    for (unsigned s = 0; s < 256; s++) EXPECT_EQ(seen[s], counts[s] > 0) << what << ", symbol " << s;
}

}  // namespace

TEST(OptimalTable, CodeLengthsAreThoseOfMergingTheLeastCounts) {
    Random random(1);
    for (int round = 0; round < 500; round++) {
        std::vector<unsigned> counts(256);
        const unsigned symbols = 1 + random.below(256), range = 1u << random.below(20);
        for (unsigned i = 0; i < symbols; i++) counts[random.below(256)] = random.below(range) + 1;
        const std::string what = "round " + std::to_string(round);
        const HuffmanDefinition table = optimalTable(countsOf(counts));
        expectUsable(table, counts, what);
        const std::vector<int> lengths = codeLengthsPlainly(counts);
        if (*std::max_element(lengths.begin(), lengths.end()) > 16)
            continue;  // the adjustment has a test of its own
        std::vector<int> have(256);
        for (unsigned n = 1, next = 0; n <= 16; n++)
            for (unsigned i = 0; i < table.counts[n - 1]; i++)
                have[table.values[next++]] = static_cast<int>(n);
        for (unsigned s = 0; s < 256; s++) ASSERT_EQ(have[s], lengths[s]) << what << ", symbol " << s;
    }
}

// Counts that grow like Fibonacci's numbers make the deepest trees: 40 symbols, codes of 40 bits.
TEST(OptimalTable, CodesOfMoreThanSixteenAndThirtyTwoBitsAreShortened) {
    for (const unsigned symbols : {16u, 17u, 18u, 25u, 33u, 34u, 40u}) {
        std::vector<unsigned> counts(256);
        unsigned a = 1, b = 1;
        for (unsigned i = 0; i < symbols; i++) {
            counts[255 - 3 * i] = a;
            b += a;
            std::swap(a, b);
        }
        const HuffmanDefinition table = optimalTable(countsOf(counts));
        expectUsable(table, counts, std::to_string(symbols) + " symbols");
    }
}

// A few lines of T.81 tables K.3 to K.6.
TEST(HuffmanCodes, StandardTablesHaveThePublishedCodes) {
    struct {
        const HuffmanDefinition& table;
        unsigned symbol, length, code;
    } const lines[] = {
        {standardDc[0], 0, 2, 0b00},
        {standardDc[0], 5, 3, 0b110},
        {standardDc[0], 11, 9, 0b111111110},
        {standardDc[1], 3, 3, 0b110},
        {standardDc[1], 11, 11, 0b11111111110},
        {standardAc[0], 0x00, 4, 0b1010},
        {standardAc[0], 0x01, 2, 0b00},
        {standardAc[0], 0xF0, 11, 0b11111111001},
        {standardAc[0], 0xFA, 16, 0xFFFE},
        {standardAc[0], 0x82, 15, 0x7FC0},
        {standardAc[1], 0x00, 2, 0b00},
        {standardAc[1], 0xF0, 10, 0b1111111010},
        {standardAc[1], 0xFA, 16, 0xFFFE},
        {standardAc[1], 0xF1, 15, 0x7FC3},
    };
    for (const auto& line : lines) {
        const std::uint32_t entry = HuffmanCodes(line.table).entry[line.symbol], further = line.symbol & 15;
        EXPECT_EQ(entry & 31, line.length + further) << std::hex << line.symbol;
        EXPECT_EQ(entry >> 5 >> further, line.code) << std::hex << line.symbol;
    }
}

TEST(PositionMask, GoesFromNaturalToZigzagOrder) {
    Random random(2);
    for (unsigned round = 0; round < 1000; round++) {
        std::uint8_t natural[8] = {};
        for (auto& row : natural) row = round < 64 ? 0 : random.byte();
        if (round < 64) natural[round / 8] = static_cast<std::uint8_t>(1 << round % 8);
        const PositionMask mask = inZigzagOrder(natural);
        for (unsigned k = 0; k < 64; k++)
            ASSERT_EQ((k < 32 ? mask.low >> k : mask.high >> (k - 32)) & 1,
                      natural[naturalOrder[k] / 8] >> naturalOrder[k] % 8 & 1)
                << k;
    }
}

TEST(BitCursor, PacksBitsFromTheTopAndFillsTheLastByteWithOnes) {
    Random random(3);
    for (int round = 0; round < 300; round++) {
        Bytes have(4000);
        BitCursor cursor(have.data());
        std::vector<bool> bits;
        for (unsigned i = random.below(200); i > 0; i--) {
            const unsigned count = 1 + random.below(27);
            const std::uint32_t ones = (1u << count) - 1;
            const std::uint32_t value = random.oneIn(3) ? ones : random.next() & ones;
            cursor.put(value, count);
            for (unsigned n = count; n-- > 0;) bits.push_back(value >> n & 1);
        }
        cursor.pad();
        have.resize(static_cast<std::size_t>(cursor.position() - have.data()));
        Bytes want;
        while (bits.size() % 8) bits.push_back(true);
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            unsigned byte = 0;
            for (std::size_t j = 0; j < 8; j++) byte = byte << 1 | bits[i + j];
            want.push_back(static_cast<std::uint8_t>(byte));
        }
        ASSERT_EQ(have, want) << "round " << round;
    }
}

TEST(StuffBytes, PutsAZeroBehindEveryByteOfOnes) {
    Random random(4);
    for (unsigned round = 0; round < 2000; round++) {
        const unsigned count = random.below(80), often = 1 + random.below(40);
        Bytes from = random.bytes(count + 15), have(2 * count + 16), want;
        for (auto& b : from)
            if (random.oneIn(often)) b = 0xFF;
        for (unsigned i = 0; i < count; i++) {
            want.push_back(from[i]);
            if (from[i] == 0xFF) want.push_back(0);
        }
        have.resize(static_cast<std::size_t>(stuffBytes(have.data(), from.data(), count) - have.data()));
        ASSERT_EQ(have, want) << "round " << round << ", " << count << " bytes";
    }
}
