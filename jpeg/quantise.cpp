#include "jpeg/quantise.h"

#include <algorithm>
#include <bit>

namespace orn32::jpeg {
namespace {

// T.81 tables K.1 and K.2, in natural order.
constexpr std::uint8_t luminance[64] = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,  //
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,  //
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,  //
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};
constexpr std::uint8_t chrominance[64] = {17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99,  //
                                          24, 26, 56, 99, 99, 99, 99, 99, 47, 66, 99, 99, 99, 99, 99, 99,  //
                                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,  //
                                          99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

constexpr int largestStored = 32767;

}  // namespace

QuantisationTable quantisationTable(int quality, bool forChrominance) {
    quality = std::clamp(quality, 1, 100);
    const int scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    QuantisationTable table = {};
    for (unsigned i = 0; i < 64; i++) {
        const int base = forChrominance ? chrominance[i] : luminance[i];
        const int value = (base * scale + 50) / 100;
        if (value > 255) table.wide = true;
        table.value[i] = static_cast<std::uint16_t>(std::clamp(value * 8, 8, largestStored));
    }
    return table;
}

// For a divisor d of s + 1 bits, r = ceil(2^(16+s) / d) has r * d < 2^(16+s) + 2^(s+1), so that m * r >>
// (16+s) is m / d as long as m < 2^15. A power of two would need r = 2^16 and takes half of it and a bit less
// shift. The shift by s is a second multiplication, as SSE2 has none with a count for each lane.
Quantiser::Quantiser(const QuantisationTable& table) {
    for (unsigned i = 0; i < 64; i++) {
        const unsigned divisor = table.value[i];
        const int top = std::bit_width(divisor) - 1;
        const int shift = std::has_single_bit(divisor) ? top - 1 : top;
        half[i] = static_cast<std::uint16_t>(divisor / 2);
        reciprocal[i] = static_cast<std::uint16_t>(((1u << (16 + shift)) + divisor - 1) / divisor);
        scale[i] = static_cast<std::uint16_t>(1u << (16 - shift));
    }
}

}  // namespace orn32::jpeg
