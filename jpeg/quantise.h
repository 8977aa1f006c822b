// Quantisation tables from a quality, and the division by them.
#pragma once

#include <cstdint>

namespace orn32::jpeg {

// A table in natural order. Values are kept eight times their size, as the forward transform's results are.
struct QuantisationTable {
    std::uint16_t value[64];
    bool wide;  // a value beyond 8 bits: written with 16
};

// The usual luminance (0) and chrominance (1) tables scaled to a quality of 1 to 100, clamped to that.
QuantisationTable quantisationTable(int quality, bool chrominance);

// A table turned into multipliers: with m = |c| + value / 2, m / value is
// (m * reciprocal >> 16) * scale >> 16, exact for every m below 32768.
struct Quantiser {
    std::uint16_t half[64];
    std::uint16_t reciprocal[64];
    std::uint16_t scale[64];

    explicit Quantiser(const QuantisationTable& table);
};

}  // namespace orn32::jpeg
