// The best Huffman table for given symbol counts.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "jpeg/format.h"

namespace orn32::jpeg {

// How often each symbol occurs in a scan.
struct SymbolCounts {
    std::uint32_t count[256] = {};

    bool any() const {
        return std::any_of(std::begin(count), std::end(count), [](std::uint32_t n) { return n > 0; });
    }
};

// T.81 K.2: code lengths from the counts, none above 16 and no code of all ones.
HuffmanDefinition optimalTable(const SymbolCounts& counts);

}  // namespace orn32::jpeg
