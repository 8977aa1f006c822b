#include "jpeg/idct.h"

#include "jpeg/dct.h"

namespace orn32::jpeg {
namespace {

using namespace dct;

// Extreme coefficients overflow 32 bits, and what is left of them counts: all sums are taken modulo 2^32.
using Sum = std::uint32_t;

struct Line {
    Sum at[8];
};

// One-dimensional transform, its results scaled by 2^factorBits.
Line transform(const Line& in) {
    const auto& d = in.at;
    const Sum z1 = (d[2] + d[6]) * f0_541196100;
    const Sum e2 = z1 - d[6] * f1_847759065;
    const Sum e3 = z1 + d[2] * f0_765366865;
    const Sum e0 = (d[0] + d[4]) << factorBits;
    const Sum e1 = (d[0] - d[4]) << factorBits;

    const Sum z5 = (d[7] + d[3] + d[5] + d[1]) * f1_175875602;
    const Sum z71 = (d[7] + d[1]) * f0_899976223;
    const Sum z53 = (d[5] + d[3]) * f2_562915447;
    const Sum z73 = z5 - (d[7] + d[3]) * f1_961570560;
    const Sum z51 = z5 - (d[5] + d[1]) * f0_390180644;
    const Sum o0 = d[7] * f0_298631336 - z71 + z73;
    const Sum o1 = d[5] * f2_053119869 - z53 + z51;
    const Sum o2 = d[3] * f3_072711026 - z53 + z73;
    const Sum o3 = d[1] * f1_501321110 - z71 + z51;

    const Sum a0 = e0 + e3, a1 = e1 + e2, a2 = e1 - e2, a3 = e0 - e3;
    return {{a0 + o3, a1 + o2, a2 + o1, a3 + o0, a3 - o0, a2 - o1, a1 - o2, a0 - o3}};
}

template <int bits>
std::int32_t descale(Sum x) {
    return static_cast<std::int32_t>(x + (1u << (bits - 1))) >> bits;
}

// Results are taken modulo 1024 around 0 before they are cut to the range of a sample.
std::uint8_t toSample(std::int32_t x) {
    x = ((x + 512) & 1023) - 512 + 128;
    return static_cast<std::uint8_t>(x < 0 ? 0 : x > 255 ? 255 : x);
}

}  // namespace

void inverseDctPlain(const std::int16_t* coefs, std::uint8_t* out, std::ptrdiff_t stride) {
    Line rows[8];
    for (int x = 0; x < 8; x++) {
        Line column;
        for (int y = 0; y < 8; y++) column.at[y] = static_cast<Sum>(int{coefs[8 * y + x]});
        column = transform(column);
        for (int y = 0; y < 8; y++)
            rows[y].at[x] = static_cast<Sum>(descale<factorBits - passBits>(column.at[y]));
    }
    for (int y = 0; y < 8; y++, out += stride) {
        const Line row = transform(rows[y]);
        for (int x = 0; x < 8; x++) out[x] = toSample(descale<factorBits + passBits + 3>(row.at[x]));
    }
}

}  // namespace orn32::jpeg
