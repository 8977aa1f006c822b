// Colour conversion and downsampling for vectors of any number of lanes; a lane has 16 pixels.
#pragma once

#include "jpeg/colour_convert.h"

namespace orn32::jpeg {

// The JFIF matrix times 65536. Y is rounded to nearest, Cb and Cr a little below, so that 255.5 does not come
// out as 256.
namespace matrix {
constexpr int yRed = 19595, yGreen = 38470, yBlue = 7471;
constexpr int cbRed = -11059, cbGreen = -21709, crGreen = -27439, crBlue = -5329;
constexpr int half = 32768;  // of blue in Cb, of red in Cr
constexpr int yRound = 32768, colourRound = (128 << 16) + 32767;
}  // namespace matrix

template <class Simd>
class ColourRows {
    using V = typename Simd::V;

 public:
    static constexpr unsigned pixelsAtOnce = 16 * Simd::lanes;

    // Converts as many pixels as whole vectors hold and returns how many these are.
    static unsigned convert(const YccRow& to, const std::uint8_t* pixels, unsigned width) {
        const V zero = Simd::zero();
        unsigned x = 0;
        for (; x + pixelsAtOnce <= width; x += pixelsAtOnce, pixels += 3 * pixelsAtOnce) {
            const Channels c = separate(pixels);
            const Words left =
                convertWords(Simd::low8(c.blue, zero), Simd::low8(c.green, zero), Simd::low8(c.red, zero));
            const Words right =
                convertWords(Simd::high8(c.blue, zero), Simd::high8(c.green, zero), Simd::high8(c.red, zero));
            Simd::store(to.y + x, Simd::packUnsigned16(left.y, right.y));
            Simd::store(to.cb + x, Simd::packUnsigned16(left.cb, right.cb));
            Simd::store(to.cr + x, Simd::packUnsigned16(left.cr, right.cr));
        }
        return x;
    }

 private:
    struct Channels {
        V blue, green, red;
    };
    struct Words {
        V y, cb, cr;
    };

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

    // Pixels in 32 bits each: red and green as words side by side, blue and green, and the two channels that
    // count one half.
    struct Sums {
        V redGreen, blueGreen, blueHalf, redHalf;

        static V scaled(V a, V b, int round) {
            return Simd::template shiftRight32<16>(Simd::add32(Simd::add32(a, b), Simd::all32(round)));
        }
        // A factor of green beyond 16 signed bits is split between the two products.
        V y() const {
            using namespace matrix;
            return scaled(Simd::maddPairs(redGreen, factors(yRed, yGreen - 16384)),
                          Simd::maddPairs(blueGreen, factors(yBlue, 16384)), yRound);
        }
        V cb() const {
            using namespace matrix;
            return scaled(Simd::maddPairs(redGreen, factors(cbRed, cbGreen)), blueHalf, colourRound);
        }
        V cr() const {
            using namespace matrix;
            return scaled(Simd::maddPairs(blueGreen, factors(crBlue, crGreen)), redHalf, colourRound);
        }
    };

    static Words convertWords(V blue, V green, V red) {
        const auto halved = [](V interleavedAboveZero) {
            return Simd::template shiftRight32<1>(interleavedAboveZero);
        };
        const V zero = Simd::zero();
        const Sums low = {Simd::low16(red, green), Simd::low16(blue, green), halved(Simd::low16(zero, blue)),
                          halved(Simd::low16(zero, red))};
        const Sums high = {Simd::high16(red, green), Simd::high16(blue, green),
                           halved(Simd::high16(zero, blue)), halved(Simd::high16(zero, red))};
        return {Simd::packSigned32(low.y(), high.y()), Simd::packSigned32(low.cb(), high.cb()),
                Simd::packSigned32(low.cr(), high.cr())};
    }
};

}  // namespace orn32::jpeg
