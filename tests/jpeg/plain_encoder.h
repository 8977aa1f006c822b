// A second JPEG encoder, written for plainness: straight from the formulas, a list of symbols for each scan,
// bits as a vector. What the library writes must be what this one writes, byte for byte.
#pragma once

#include "tests/jpeg/stream_builder.h"
#include "tests/support/test_image.h"

namespace test {

enum class Coding { standard, progressive, optimised };

// The whole file for the image's area, without a thumbnail and with the resolution 1, 1, 0.
Bytes encodePlainly(const TestImage& image, int quality, Coding coding);

// One block of samples, transformed: eight times the coefficients, in natural order.
void transformPlainly(const int (&samples)[64], int (&coefficients)[64]);

// The table that T.81 K.2 makes from counts of the 256 symbols.
HuffmanTable optimalTablePlainly(const std::vector<unsigned>& counts);

}  // namespace test
