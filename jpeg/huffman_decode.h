// Huffman decoding: one look-up gives a short code together with the value bits behind it.
#pragma once

#include <cstdint>

#include "jpeg/format.h"

namespace orn32::jpeg {

constexpr int lookBits = 10;

// What the next lookBits bits hold. Symbols are taken as T.81 has them for AC coefficients: a run of zeros in
// the upper half, the number of value bits in the lower one; DC symbols are those with run 0.
//   bits 0-4    bits to drop: code and value bits; 0 when the code is longer than lookBits
//   bit 7       set when value is complete; else only the code is to be dropped
//   bits 8-15   the run; from endOfBand up for a symbol without value bits other than 0xF0
//   bits 16-31  the value, signed; while incomplete the number of value bits
using LookEntry = std::uint32_t;

constexpr unsigned entryBits = 0x1F;
constexpr unsigned entryComplete = 0x80;
constexpr unsigned endOfBand = 64;

constexpr unsigned runOf(LookEntry entry) {
    return entry >> 8 & 0xFF;
}

// Two AC symbols that the next lookBits bits hold, one behind the other. Where they hold only one, it is
// there twice; where the first is no coefficient, or not complete, both have noStep.
struct LookPair {
    struct Half {
        std::int16_t value;
        std::uint8_t step;  // from the coefficient before the pair to this one
        std::uint8_t bits;  // to drop, from the first on
    };
    Half first, second;
};

constexpr std::uint8_t noStep = blockSize;

struct DecodeTable {
    LookEntry look[1 << lookBits];
    LookPair pairs[1 << lookBits];  // only for blocks that come whole
    std::uint32_t limit[18];        // per length: the first 16-bit string above all codes up to it
    std::int32_t firstSymbol[17];   // per length: index of its first symbol minus its first code
    HuffmanDefinition definition;
};

// Whether the counts make a prefix code of at most 256 symbols.
bool isUsable(const HuffmanDefinition& definition);

// All but the pairs.
void buildDecodeTable(const HuffmanDefinition& definition, DecodeTable& table);

// The pairs, from the rest of the table.
void buildPairs(DecodeTable& table);

// The number that count value bits stand for: those that begin with 0 are negative (T.81 F.2.2.1).
constexpr int extend(unsigned bits, unsigned count) {
    return bits < (1u << count) / 2 ? static_cast<int>(bits) - static_cast<int>((1u << count) - 1)
                                    : static_cast<int>(bits);
}

}  // namespace orn32::jpeg
