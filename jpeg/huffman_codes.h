// Huffman tables on the writing side: the usual ones, and codes ready to be written.
#pragma once

#include <cstdint>

#include "jpeg/format.h"

namespace orn32::jpeg {

// T.81 tables K.3 to K.6, made for 8-bit photographs.
extern const HuffmanSpec standardDc[2];  // luminance, chrominance
extern const HuffmanSpec standardAc[2];

// The codes of a table by symbol. The low four bits of a symbol count the further bits that follow its code
// (which is not so for the end-of-band runs of progressive scans: their further bits are written apart).
struct HuffmanCodes {
    // Code shifted up by the count of further bits, above the length of both together in the lowest 5 bits.
    // Codes have at most 16 bits, further bits are at most 11. 0 for symbols that have no code.
    std::uint32_t entry[256];

    HuffmanCodes() = default;
    explicit HuffmanCodes(const HuffmanSpec& spec);
};

}  // namespace orn32::jpeg
