// The factors of the Loeffler-Ligtenberg-Moschytz transform, forward and inverse, scaled by 2^13.
#pragma once

namespace orn32::jpeg::dct {

constexpr int factorBits = 13;  // fraction bits of the factors
constexpr int passBits = 2;     // fraction bits kept between the two passes

constexpr int f0_298631336 = 2446;
constexpr int f0_390180644 = 3196;
constexpr int f0_541196100 = 4433;
constexpr int f0_765366865 = 6270;
constexpr int f0_899976223 = 7373;
constexpr int f1_175875602 = 9633;
constexpr int f1_501321110 = 12299;
constexpr int f1_847759065 = 15137;
constexpr int f1_961570560 = 16069;
constexpr int f2_053119869 = 16819;
constexpr int f2_562915447 = 20995;
constexpr int f3_072711026 = 25172;

}  // namespace orn32::jpeg::dct
