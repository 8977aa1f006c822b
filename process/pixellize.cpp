// Square blocks of a picture become their mean colour.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/range_check.h"
#include "orn32.h"
#include "process/palette_row.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

constexpr unsigned smallestBlock = 2, largestBlock = 63;

// Fills the first row of each of a row's complete blocks with the block's mean.
void averageBlocks(const AreaRows& rows, unsigned top, unsigned block, unsigned blocks, unsigned channels) {
    const unsigned pixels = block * block;
    for (unsigned i = 0; i < blocks; i++) {
        const std::size_t left = std::size_t{i} * block * channels;
        unsigned sums[3] = {};
        for (unsigned y = 0; y < block; y++) {
            const std::uint8_t* p = rows[top + y] + left;
            for (unsigned x = 0; x < block; x++)
                for (unsigned c = 0; c < channels; c++) sums[c] += *p++;
        }
        std::uint8_t* out = rows[top] + left;
        for (unsigned x = 0; x < block; x++)
            for (unsigned c = 0; c < channels; c++) *out++ = static_cast<std::uint8_t>(sums[c] / pixels);
    }
}

int pixellizeLevels(int blocksize, imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    // The destination has not been checked yet, and its edges may be swapped.
    if (!destination) return ERR_RANGE;
    const auto reach = [](UINT a, UINT b) { return std::max(a, b) - std::min(a, b); };
    const Size from = areaSize(*source);
    const unsigned width = std::min(from.width - 1, reach(destination->left, destination->right)) + 1;
    const unsigned height = std::min(from.height - 1, reach(destination->top, destination->bottom)) + 1;
    const unsigned limit = std::min({width, height, largestBlock});
    if (blocksize < static_cast<int>(smallestBlock) || static_cast<unsigned>(blocksize) > limit)
        return ERR_ARGUMENT;
    if (const int code = copyimage(source, destination)) return code;

    const unsigned block = static_cast<unsigned>(blocksize);
    const unsigned channels = destination->header->biBitCount / 8u;
    const unsigned blocks = width / block;
    const AreaRows rows(*destination);
    for (unsigned top = 0; top + block <= height; top += block) {
        averageBlocks(rows, top, block, blocks, channels);
        for (unsigned y = 1; y < block; y++)
            std::memcpy(rows[top + y], rows[top], std::size_t{blocks} * block * channels);
    }
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI pixellize(int blocksize, imgdes* source, imgdes* destination) {
    if (isColourPaletteImage(source)) return viargb_(pixellizeLevels, source, destination, blocksize);
    return pixellizeLevels(blocksize, source, destination);
}
