#include "jpeg/huffman_decode.h"

#include <algorithm>
#include <cstring>

namespace orn32::jpeg {
namespace {

// The entry for all strings of lookBits bits that begin with the given code of the given length.
LookEntry lookEntry(unsigned symbol, unsigned length, unsigned string) {
    const unsigned run = symbol >> 4, count = symbol & 15;
    if (count == 0) return (run == 15 ? run : run + endOfBand) << 8 | entryComplete | length;
    if (length + count > lookBits) return count << 16 | run << 8 | length;
    const unsigned bits = string >> (lookBits - length - count) & ((1u << count) - 1);
    return static_cast<unsigned>(extend(bits, count)) << 16 | run << 8 | entryComplete | (length + count);
}

// Runs of 16 zeros count as coefficients that are 0.
bool isCoefficient(LookEntry entry) {
    return (entry & entryComplete) && runOf(entry) < endOfBand;
}

LookPair::Half halfOf(LookEntry entry) {
    if (!isCoefficient(entry)) return {0, noStep, 0};
    return {static_cast<std::int16_t>(entry >> 16), static_cast<std::uint8_t>(runOf(entry) + 1),
            static_cast<std::uint8_t>(entry & entryBits)};
}

}  // namespace

bool isUsable(const HuffmanDefinition& definition) {
    if (definition.total() > 256) return false;
    int room = 1;  // codes of the length at hand that are not yet taken
    for (const int count : definition.counts) {
        room = room * 2 - count;
        if (room < 0) return false;
    }
    return true;
}

void buildDecodeTable(const HuffmanDefinition& definition, DecodeTable& table) {
    std::memset(table.look, 0, sizeof table.look);
    table.definition = definition;
    unsigned code = 0;
    int index = 0;
    for (unsigned length = 1; length <= 16; length++) {
        table.firstSymbol[length] = index - static_cast<int>(code);
        for (unsigned i = 0; i < definition.counts[length - 1]; i++, code++, index++) {
            if (length > lookBits) continue;
            const unsigned first = code << (lookBits - length);
            for (unsigned s = first; s < first + (1u << (lookBits - length)); s++)
                table.look[s] = lookEntry(definition.values[index], length, s);
        }
        table.limit[length] = code << (16 - length);
        code <<= 1;
    }
    table.limit[17] = 1u << 16;
}

// Strings that begin with the same symbol stand together.
void buildPairs(DecodeTable& table) {
    constexpr unsigned strings = 1u << lookBits;
    for (unsigned string = 0; string < strings;) {
        const LookPair::Half first = halfOf(table.look[string]);
        const unsigned alike = first.step == noStep ? 1 : strings >> first.bits;
        for (unsigned i = 0; i < alike; i++, string++) {
            LookPair::Half next = halfOf(table.look[i << first.bits]);
            next.step = static_cast<std::uint8_t>(next.step + first.step);
            next.bits = static_cast<std::uint8_t>(next.bits + first.bits);
            table.pairs[string] = {first, next.step < noStep && next.bits <= lookBits ? next : first};
        }
    }
}

}  // namespace orn32::jpeg
