// Colour conversion and downsampling for vectors of any number of lanes; a lane has 16 pixels.
#pragma once

#include "jpeg/colour_convert.h"

namespace orn32::jpeg {

template <class Simd>
class ColourRows {
    using V = typename Simd::V;
    static constexpr unsigned pixelsAtOnce = 16 * Simd::lanes;

 public:
    // The pixels that do not fill a vector go through a buffer, in which the last one is repeated.
    static void convert(const SampleRows& to, const PixelRows& from, unsigned width) {
        unsigned x = 0;
        for (; x + pixelsAtOnce <= width; x += pixelsAtOnce)
            convertVector(to, {from.upper + 3 * x, from.lower + 3 * x}, x);
        if (x == width) return;
        std::uint8_t upper[3 * pixelsAtOnce], lower[3 * pixelsAtOnce];
        fill(upper, from.upper + 3 * x, width - x);
        fill(lower, from.lower + 3 * x, width - x);
        convertVector(to, {upper, lower}, x);
    }

 private:
    // The JFIF matrix times 65536. Y is rounded to nearest, Cb and Cr a little below, so that 255.5 does not
    // come out as 256.
    static constexpr int yRed = 19595, yGreen = 38470, yBlue = 7471;
    static constexpr int cbRed = -11059, cbGreen = -21709, crGreen = -27439, crBlue = -5329;
    static constexpr int yRound = 32768, colourRound = (128 << 16) + 32767;

    struct Channels {
        V blue, green, red;
    };
    struct Words {
        V y, cb, cr;
    };

    static void fill(std::uint8_t* to, const std::uint8_t* pixels, unsigned count) {
        for (unsigned i = 0; i < 3 * count; i++) to[i] = pixels[i];
        for (unsigned i = 3 * count; i < 3 * pixelsAtOnce; i++) to[i] = to[i - 3];
    }

    static void convertVector(const SampleRows& to, const PixelRows& from, unsigned x) {
        const Channels u = separate(from.upper), l = separate(from.lower);
        const Words upperLeft = lowHalf(u), lowerLeft = lowHalf(l);
        const Words upperRight = highHalf(u), lowerRight = highHalf(l);
        Simd::store(to.upperY + x, Simd::packUnsigned16(upperLeft.y, upperRight.y));
        Simd::store(to.lowerY + x, Simd::packUnsigned16(lowerLeft.y, lowerRight.y));
        const V cb =
            means(Simd::add16(upperLeft.cb, lowerLeft.cb), Simd::add16(upperRight.cb, lowerRight.cb));
        const V cr =
            means(Simd::add16(upperLeft.cr, lowerLeft.cr), Simd::add16(upperRight.cr, lowerRight.cr));
        const V both = Simd::packUnsigned16(cb, cr);
        Simd::storeLow64(to.cb + x / 2, both);
        Simd::storeHigh64(to.cr + x / 2, both);
    }

    // Sums of two rows, added up in pairs, to means of four.
    static V means(V left, V right) {
        const V ones = Simd::all16(1), bias = factors(1, 2);
        const auto pairs = [&](V v) { return Simd::maddPairs(v, ones); };
        const V sums = Simd::add16(Simd::packSigned32(pairs(left), pairs(right)), bias);
        return Simd::template shiftRight16<2>(sums);
    }

    static V factors(int first, int second) {
        return Simd::all32(static_cast<int>(static_cast<unsigned>(second) << 16 | (first & 0xFFFF)));
    }

    // 48 bytes of 16 pixels in each lane, to channels: each round interleaves bytes that lie 24 apart, and
    // four of them bring every third byte together.
    static Channels separate(const std::uint8_t* pixels) {
        V a = Simd::loadLanes(pixels, 48), b = Simd::loadLanes(pixels + 16, 48),
          c = Simd::loadLanes(pixels + 32, 48);
        for (int round = 0; round < 4; round++) {
            const V first = Simd::low8(a, Simd::high64(b, b));
            const V second = Simd::low8(Simd::high64(a, a), c);
            const V third = Simd::low8(b, Simd::high64(c, c));
            a = first, b = second, c = third;
        }
        return {a, b, c};
    }

    static Words lowHalf(const Channels& c) {
        const V zero = Simd::zero();
        return convertWords(Simd::low8(c.blue, zero), Simd::low8(c.green, zero), Simd::low8(c.red, zero));
    }
    static Words highHalf(const Channels& c) {
        const V zero = Simd::zero();
        return convertWords(Simd::high8(c.blue, zero), Simd::high8(c.green, zero), Simd::high8(c.red, zero));
    }

    // Pixels in 32 bits each: red and green as words side by side, blue and green, and the two channels that
    // count one half.
    struct Sums {
        V redGreen, blueGreen, blueHalf, redHalf;

        static V scaled(V a, V b, int round) {
            return Simd::template shiftRight32<16>(Simd::add32(Simd::add32(a, b), Simd::all32(round)));
        }
        // A factor of green beyond 16 signed bits is split between the two products.
        V y() const {
            return scaled(Simd::maddPairs(redGreen, factors(yRed, yGreen - 16384)),
                          Simd::maddPairs(blueGreen, factors(yBlue, 16384)), yRound);
        }
        V cb() const {
            return scaled(Simd::maddPairs(redGreen, factors(cbRed, cbGreen)), blueHalf, colourRound);
        }
        V cr() const {
            return scaled(Simd::maddPairs(blueGreen, factors(crBlue, crGreen)), redHalf, colourRound);
        }
    };

    static Words convertWords(V blue, V green, V red) {
        const V zero = Simd::zero();
        const auto half = [](V shiftedUp) { return Simd::template shiftRight32<1>(shiftedUp); };
        const Sums low = {Simd::low16(red, green), Simd::low16(blue, green), half(Simd::low16(zero, blue)),
                          half(Simd::low16(zero, red))};
        const Sums high = {Simd::high16(red, green), Simd::high16(blue, green),
                           half(Simd::high16(zero, blue)), half(Simd::high16(zero, red))};
        return {Simd::packSigned32(low.y(), high.y()), Simd::packSigned32(low.cb(), high.cb()),
                Simd::packSigned32(low.cr(), high.cr())};
    }
};

}  // namespace orn32::jpeg
