#include "jpeg/block_coder.h"

namespace orn32::jpeg {
namespace {

constexpr ZigzagTable makeZigzagTable() {
    ZigzagTable table = {};
    for (unsigned k = 0; k < 64; k++) {
        const unsigned row = naturalOrder[k] / 8, bit = naturalOrder[k] % 8;
        for (unsigned pattern = 0; pattern < 256; pattern++)
            if (pattern >> bit & 1) table.bits[row][pattern] |= std::uint64_t{1} << k;
    }
    return table;
}

}  // namespace

constexpr ZigzagTable zigzagTable = makeZigzagTable();

}  // namespace orn32::jpeg
