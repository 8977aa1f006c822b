// Turning the quantised coefficients of a block into Huffman symbols (T.81 F.1.2).
//
// A sink takes symbols with their further bits: SymbolWriter writes them, SymbolCounts only counts. Every
// coding procedure is written once, for any sink.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstdint>

#include "jpeg/bit_writer.h"
#include "jpeg/huffman_codes.h"
#include "jpeg/huffman_optimise.h"

namespace orn32::jpeg {

// A set of coefficients of a block, by zigzag position.
struct PositionMask {
    std::uint32_t low, high;  // positions 0 to 31, 32 to 63

    PositionMask withoutFirst() const { return {low & ~1u, high}; }
    PositionMask without(const PositionMask& other) const { return {low & ~other.low, high & ~other.high}; }
    friend PositionMask operator&(const PositionMask& a, const PositionMask& b) {
        return {a.low & b.low, a.high & b.high};
    }
    explicit operator bool() const { return (low | high) != 0; }

    void set(unsigned position, bool value) {
        (position < 32 ? low : high) |= static_cast<std::uint32_t>(value) << position % 32;
    }
};

// Visits the positions of a set from 0 upwards.
template <class Visit>
[[gnu::always_inline]] inline void forEachBit(PositionMask mask, Visit visit) {
    std::uint32_t bits = mask.low;
    for (unsigned first = 0;; first = 32, bits = mask.high) {
        for (; bits; bits &= bits - 1) visit(first + static_cast<unsigned>(std::countr_zero(bits)));
        if (first) return;
    }
}

// For each row in natural order and each pattern of its bits: the bits in zigzag order.
struct ZigzagTable {
    std::uint64_t bits[8][256];
};
extern const ZigzagTable zigzagTable;

// From eight rows of bits in natural order to zigzag order.
inline PositionMask inZigzagOrder(const std::uint8_t (&natural)[8]) {
    const auto row = [&](unsigned y) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&zigzagTable.bits[y][natural[y]]));
    };
    const auto rows = [&](unsigned y) { return _mm_or_si128(row(y), row(y + 1)); };
    const __m128i sum = _mm_or_si128(_mm_or_si128(rows(0), rows(2)), _mm_or_si128(rows(4), rows(6)));
    PositionMask mask;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&mask), sum);
    return mask;
}

struct SymbolWriter {
    BitCursor& bits;
    const HuffmanCodes& codes;

    // further must fit the count in the symbol's low four bits.
    [[gnu::always_inline]] void put(unsigned symbol, std::uint32_t further) {
        const std::uint32_t entry = codes.entry[symbol];
        bits.put(entry >> 5 | further, entry & 31);
    }

    // A value behind a run of up to 15 zeros.
    [[gnu::always_inline]] void putValue(unsigned zeros, int value) {
        const std::uint32_t entry = codes.entry[zeros << 4 | classOf(value)];
        bits.put((entry >> 5) + static_cast<std::uint32_t>(value), entry & 31);
    }
};

struct SymbolCounter {
    SymbolCounts& counts;

    void put(unsigned symbol, std::uint32_t) { counts.count[symbol]++; }
    void putValue(unsigned zeros, int value) { counts.count[(zeros << 4 | classOf(value)) & 0xFF]++; }
};

constexpr unsigned endOfBlock = 0x00;
constexpr unsigned sixteenZeros = 0xF0;

// Codes the 63 AC coefficients; block.at(k) is the one at zigzag position k.
template <class Sink, class Block>
[[gnu::always_inline]] inline void codeAc(Sink sink, Block block) {
    unsigned previous = 0;
    forEachBit(
        block.nonzero().withoutFirst(), [&](unsigned k) __attribute__((always_inline)) {
            unsigned zeros = k - previous - 1;
            for (; zeros > 15; zeros -= 16) sink.put(sixteenZeros, 0);
            sink.putValue(zeros, block.at(k));
            previous = k;
        });
    if (previous != 63) sink.put(endOfBlock, 0);
}

}  // namespace orn32::jpeg
