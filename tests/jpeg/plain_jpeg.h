// A second JPEG decoder and a second encoder, written for plainness: straight from the formulas, bits as
// digits, a list of symbols for each scan. What the library writes must be what this one writes, byte for
// byte.
#pragma once

#include "tests/jpeg/stream_builder.h"
#include "tests/support/test_image.h"

namespace test {

// The picture's samples at full size, one plane per component.
struct PlainPlanes {
    unsigned width = 0, height = 0;
    std::vector<std::vector<std::uint8_t>> planes;
};
PlainPlanes decodePlainly(const CoefPicture& picture);

// A pixel in the destination's order: blue | green << 8 | red << 16, or the grey level.
enum class Colours { grey, ycbcr, rgb, cmyk, ycck };
unsigned plainPixel(const PlainPlanes& planes, Colours colours, unsigned x, unsigned y);

// All the pixels of a picture of Y, Cb and Cr.
std::vector<unsigned> plainPixels(const CoefPicture& picture);

// The inverse transform of coefficients times quantisers.
std::array<std::uint8_t, 64> transformPlainly(const Block& coefs, const Quantisers& quant);

// One block of samples, transformed: eight times the coefficients, in natural order.
std::array<int, 64> transformPlainly(std::array<int, 64> samples);

// Y, Cb and Cr of a colour.
std::array<int, 3> convertPlainly(Colour colour);

// The table that T.81 K.2 makes from counts of the 256 symbols.
HuffmanTable optimalTablePlainly(const std::vector<unsigned>& counts);

// The whole file for the image's area, without a thumbnail and with the resolution 1, 1, 0.
enum class Coding { standard, progressive, optimised };
Bytes encodePlainly(const TestImage& image, int quality, Coding coding);

}  // namespace test
