// Huffman tables on the writing side: the usual ones, and codes ready to be written.
#pragma once

#include <cstdint>

#include "jpeg/format.h"

namespace orn32::jpeg {

// T.81 tables K.3 to K.6, made for 8-bit photographs.
extern const HuffmanSpec standardDc[2];  // luminance, chrominance
extern const HuffmanSpec standardAc[2];

// How many bits a value's magnitude has: its size, as T.81 calls it. The lowest bit set below makes 0 a case
// like any other.
inline unsigned sizeOf(int value) {
    const int sign = value >> 31;
    const auto magnitude = static_cast<std::uint32_t>((value ^ sign) - sign);
    return 31 - static_cast<unsigned>(__builtin_clz(magnitude << 1 | 1));
}

// The codes of a table by symbol. The low four bits of a symbol count the further bits that follow its code
// (which is not so for the end-of-band runs of progressive scans: their further bits are written apart).
// An entry has the length of both together in its lowest 5 bits, and above it the code, shifted up by the count
// of further bits. Codes have at most 16 bits, further bits are at most 11. 0 for symbols that have no code.
struct HuffmanCodes {
    std::uint32_t entry[256];

    // The same for a negative value, which is coded as the bits of value - 1 at its size: all ones are added, so
    // that a value of either sign is added to its entry's bits.
    std::uint32_t entryOfNegative[256];

    HuffmanCodes() = default;
    explicit HuffmanCodes(const HuffmanSpec& spec);
};

}  // namespace orn32::jpeg
