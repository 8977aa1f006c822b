// Turning the quantised coefficients of a block into Huffman symbols (T.81 F.1.2).
//
// A sink takes symbols with their further bits: SymbolWriter writes them, SymbolCounts only counts. Every
// coding procedure is written once, for any sink.
#pragma once

#include <bit>
#include <cstdint>

#include "jpeg/bit_writer.h"
#include "jpeg/huffman_codes.h"
#include "jpeg/huffman_optimise.h"

namespace orn32::jpeg {

// Which coefficients of a block are not zero, by zigzag position: low has positions 0 to 31.
struct NonzeroMask {
    std::uint32_t low, high;
};

// From bits in natural order to bits in zigzag order.
NonzeroMask inZigzagOrder(std::uint64_t natural);

struct SymbolWriter {
    BitCursor& bits;
    const HuffmanCodes& codes;

    // further must fit the count in the symbol's low four bits.
    void put(unsigned symbol, std::uint32_t further) {
        const std::uint32_t entry = codes.entry[symbol];
        bits.put(entry >> 5 | further, entry & 31);
    }
};

struct SymbolCounter {
    SymbolCounts& counts;

    void put(unsigned symbol, std::uint32_t) { counts.count[symbol]++; }
};

// A value as T.81 codes it: how many bits its magnitude has, and these bits, inverted for negative values.
struct Magnitude {
    unsigned size;
    std::uint32_t bits;

    explicit Magnitude(int value) {
        const int sign = value >> 31;
        const auto absolute = static_cast<std::uint32_t>((value ^ sign) - sign);
        size = static_cast<unsigned>(std::bit_width(absolute));
        bits = static_cast<std::uint32_t>(value + sign) & ((1u << size) - 1);
    }
};

constexpr unsigned endOfBlock = 0x00;
constexpr unsigned sixteenZeros = 0xF0;

// Visits the set bits of a mask from position 0 upwards.
template <class Visit>
inline void forEachBit(NonzeroMask mask, Visit visit) {
    for (std::uint32_t m = mask.low; m; m &= m - 1) visit(static_cast<unsigned>(std::countr_zero(m)));
    for (std::uint32_t m = mask.high; m; m &= m - 1) visit(static_cast<unsigned>(std::countr_zero(m)) + 32);
}

template <class Sink>
inline void codeDcDifference(Sink sink, int difference) {
    const Magnitude m(difference);
    sink.put(m.size, m.bits);
}

// Codes the 63 AC coefficients; at(k) is the one at zigzag position k.
template <class Sink, class At>
inline void codeAc(Sink sink, NonzeroMask nonzero, At at) {
    unsigned previous = 0;
    nonzero.low &= ~1u;
    forEachBit(nonzero, [&](unsigned k) {
        unsigned zeros = k - previous - 1;
        for (; zeros > 15; zeros -= 16) sink.put(sixteenZeros, 0);
        const Magnitude m(at(k));
        sink.put(zeros << 4 | m.size, m.bits);
        previous = k;
    });
    if (previous != 63) sink.put(endOfBlock, 0);
}

}  // namespace orn32::jpeg
