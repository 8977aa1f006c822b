// Huffman tables on the writing side: the usual ones, and codes ready to be written.
#pragma once

#include <cstdint>

#include "jpeg/format.h"

namespace orn32::jpeg {

// T.81 tables K.3 to K.6, made for 8-bit photographs.
extern const HuffmanDefinition standardDc[2];  // luminance, chrominance
extern const HuffmanDefinition standardAc[2];

// For each value that is coded, a coefficient or a difference of two: how many bits its magnitude has (its
// size, as T.81 calls it), and whether it is negative.
constexpr int largestValue = 2047;
struct ValueClasses {
    static constexpr unsigned negative = 0x100;
    std::uint16_t of[2 * largestValue + 1];
};
extern const ValueClasses valueClasses;

inline unsigned classOf(int value) {
    return valueClasses.of[value + largestValue];
}

// The codes of a table by symbol. The low four bits of a symbol count the further bits that follow its code
// (which is not so for the end-of-band runs of progressive scans: their further bits are written apart).
// An entry has the length of both together in its lowest 5 bits, and above it the code, shifted up by the
// count of further bits. Codes have at most 16 bits, further bits are at most 11. 0 for symbols that have no
// code.
//
// The second half is for negative values, which are coded as the bits of value - 1 at their size: all ones
// are added, so that a value of either sign is added to its entry's bits.
struct HuffmanCodes {
    std::uint32_t entry[256 + ValueClasses::negative];

    HuffmanCodes() = default;
    explicit HuffmanCodes(const HuffmanDefinition& definition);
};

}  // namespace orn32::jpeg
