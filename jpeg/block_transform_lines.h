// The forward DCT of Loeffler, Ligtenberg and Moschytz in integers, and quantisation,
// for vectors of any number of lanes: each lane has a block of its own.
//
// A pass takes eight vectors, vector i holding sample i of eight lines, to eight vectors of coefficients.
// Sums and differences of samples stay within 16 bits in both passes; the rotations are products of two
// neighbouring words added in 32 bits. Each output of the odd part is a sum of four products: the shared
// terms of the flow graph are multiplied out, which changes no bit, as nothing is rounded before the end.
#pragma once

#include "jpeg/dct.h"
#include "jpeg/quantise.h"

namespace orn32::jpeg {

// A loop over the lines, written out: with constant indices the lines live in registers.
template <class Body>
inline void forEachLine(Body body) {
    body(0), body(1), body(2), body(3), body(4), body(5), body(6), body(7);
}

template <class Simd>
class BlockLines {
 public:
    using V = typename Simd::V;
    V v[8];

    // From samples as words to coefficients, eight times their true size.
    void forwardDct() {
        transpose();
        transformLines<true>();
        transpose();
        transformLines<false>();
    }

    void quantise(const Quantiser& q) {
        forEachLine([&](int y) {
            const V sign = Simd::template signedRight16<15>(v[y]);
            V m = Simd::sub16(Simd::bitXor(v[y], sign), sign);
            m = Simd::add16(m, Simd::loadForAll(q.half + 8 * y));
            m = Simd::mulHigh(m, Simd::loadForAll(q.reciprocal + 8 * y));
            m = Simd::mulHigh(m, Simd::loadForAll(q.scale + 8 * y));
            v[y] = Simd::sub16(Simd::bitXor(m, sign), sign);
        });
    }

 private:
    // Two vectors of words, interleaved for products of pairs.
    struct Pairs {
        V low, high;

        Pairs(V a, V b) : low(Simd::low16(a, b)), high(Simd::high16(a, b)) {}
    };

    static V factors(int first, int second) {
        return Simd::all32(static_cast<int>(static_cast<unsigned>(second) << 16 | (first & 0xFFFF)));
    }

    // Rounds 32-bit sums, scales them down and makes them words.
    template <int shift>
    static V descale(V low, V high) {
        const V round = Simd::all32(1 << (shift - 1));
        return Simd::packSigned32(Simd::template signedRight32<shift>(Simd::add32(low, round)),
                                  Simd::template signedRight32<shift>(Simd::add32(high, round)));
    }

    // a * fa + b * fb
    template <int shift>
    static V rotate(const Pairs& ab, int fa, int fb) {
        const V f = factors(fa, fb);
        return descale<shift>(Simd::maddPairs(ab.low, f), Simd::maddPairs(ab.high, f));
    }

    // a * fa + b * fb + c * fc + d * fd
    template <int shift>
    static V rotate(const Pairs& ab, int fa, int fb, const Pairs& cd, int fc, int fd) {
        const V f = factors(fa, fb), g = factors(fc, fd);
        return descale<shift>(Simd::add32(Simd::maddPairs(ab.low, f), Simd::maddPairs(cd.low, g)),
                              Simd::add32(Simd::maddPairs(ab.high, f), Simd::maddPairs(cd.high, g)));
    }

    // The terms without a rotation get the extra bits in the first pass and lose them in the second.
    template <bool first>
    static V scaleSum(V sum) {
        if constexpr (first) return Simd::template shiftLeft16<dct::passBits>(sum);
        return Simd::template signedRight16<dct::passBits>(
            Simd::add16(sum, Simd::all16(1 << (dct::passBits - 1))));
    }

    template <bool first>
    [[gnu::always_inline]] void transformLines() {
        using namespace dct;
        constexpr int shift = first ? dct::factorBits - dct::passBits : dct::factorBits + dct::passBits;
        const V sum07 = Simd::add16(v[0], v[7]), difference07 = Simd::sub16(v[0], v[7]);
        const V sum16 = Simd::add16(v[1], v[6]), difference16 = Simd::sub16(v[1], v[6]);
        const V sum25 = Simd::add16(v[2], v[5]), difference25 = Simd::sub16(v[2], v[5]);
        const V sum34 = Simd::add16(v[3], v[4]), difference34 = Simd::sub16(v[3], v[4]);

        const V outer = Simd::add16(sum07, sum34), inner = Simd::add16(sum16, sum25);
        v[0] = scaleSum<first>(Simd::add16(outer, inner));
        v[4] = scaleSum<first>(Simd::sub16(outer, inner));
        const Pairs even(Simd::sub16(sum07, sum34), Simd::sub16(sum16, sum25));
        v[2] = rotate<shift>(even, f0_541196100 + f0_765366865, f0_541196100);
        v[6] = rotate<shift>(even, f0_541196100, f0_541196100 - f1_847759065);

        // In the flow graph's names: z3 = d34 + d16, z4 = d25 + d07, z5 = (z3 + z4) * 1.175875602.
        const Pairs p(difference34, difference25), q(difference16, difference07);
        v[7] = rotate<shift>(p, f0_298631336 - f0_899976223 - f1_961570560 + f1_175875602, f1_175875602, q,
                             f1_175875602 - f1_961570560, f1_175875602 - f0_899976223);
        v[5] = rotate<shift>(p, f1_175875602, f2_053119869 - f2_562915447 - f0_390180644 + f1_175875602, q,
                             f1_175875602 - f2_562915447, f1_175875602 - f0_390180644);
        v[3] = rotate<shift>(p, f1_175875602 - f1_961570560, f1_175875602 - f2_562915447, q,
                             f3_072711026 - f2_562915447 - f1_961570560 + f1_175875602, f1_175875602);
        v[1] = rotate<shift>(p, f1_175875602 - f0_899976223, f1_175875602 - f0_390180644, q, f1_175875602,
                             f1_501321110 - f0_899976223 - f0_390180644 + f1_175875602);
    }

    [[gnu::always_inline]] void transpose() {
        const Pairs p01(v[0], v[1]), p23(v[2], v[3]), p45(v[4], v[5]), p67(v[6], v[7]);
        const V a0 = Simd::low32(p01.low, p23.low), a1 = Simd::high32(p01.low, p23.low);
        const V a2 = Simd::low32(p01.high, p23.high), a3 = Simd::high32(p01.high, p23.high);
        const V b0 = Simd::low32(p45.low, p67.low), b1 = Simd::high32(p45.low, p67.low);
        const V b2 = Simd::low32(p45.high, p67.high), b3 = Simd::high32(p45.high, p67.high);
        v[0] = Simd::low64(a0, b0), v[1] = Simd::high64(a0, b0);
        v[2] = Simd::low64(a1, b1), v[3] = Simd::high64(a1, b1);
        v[4] = Simd::low64(a2, b2), v[5] = Simd::high64(a2, b2);
        v[6] = Simd::low64(a3, b3), v[7] = Simd::high64(a3, b3);
    }
};

}  // namespace orn32::jpeg
