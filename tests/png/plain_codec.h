// A PNG codec as plain as can be, sample by sample from the format's definition: the second opinion.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/png/png_file.h"
#include "tests/support/random.h"

namespace test {

struct Picture {
    unsigned width, height, depth, type;
    bool interlaced = false;
    std::vector<unsigned> samples;  // row by row, a pixel's samples together

    unsigned channels() const { return type == 2 ? 3 : type == 4 ? 2 : type == 6 ? 4 : 1; }
    unsigned& sample(unsigned x, unsigned y, unsigned c) {
        return samples[(std::size_t{y} * width + x) * channels() + c];
    }
    // What a DIB holds for the pixel: bit, index or grey, blue | green << 8 | red << 16.
    unsigned dibPixel(unsigned x, unsigned y);
    unsigned dibBits() const { return type == 2 || type == 6 ? 24 : depth == 1 ? 1 : 8; }
};

// Interlaced or not.
Picture randomPicture(Random& random, unsigned width, unsigned height, unsigned depth, unsigned type);

// The filtered rows of all passes. pickFilter gives each row's filter byte, of the row, the one above and the
// step: 0 to 4 filter, others do not.
using PickFilter = std::function<unsigned(const Bytes& row, const Bytes& above, unsigned step)>;
Bytes filteredRows(Picture& picture, const PickFilter& pickFilter);

// A picture's file: IHDR, other chunks, the data by filters of all kinds and some that are none, IEND.
Bytes fileOf(Picture& picture, Random& random, const std::vector<Chunk>& others = {},
             std::size_t dataSize = 8192);

// All data of a file, uncompressed.
Bytes rowsOf(const Bytes& file);

// Decodes a sound file, whose data must be exactly as long as it has to be.
Picture decoded(const Bytes& file);

// One row's bytes through one of the five filters (there, or back).
Bytes plainFilter(unsigned filter, const Bytes& row, const Bytes& above, unsigned step);
Bytes plainUnfilter(unsigned filter, Bytes row, const Bytes& above, unsigned step);

// The filter with the least sum of magnitudes, of equals the first.
unsigned plainBestFilter(const Bytes& row, const Bytes& above, unsigned step);

}  // namespace test
