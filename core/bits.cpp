#include "core/bits.h"

#include <cstring>

namespace orn32 {
namespace {

// The highest n bits of a byte, n from 0 to 8.
unsigned topBits(unsigned n) {
    return 0xFF00u >> n & 0xFF;
}

std::uint8_t mixed(unsigned old, unsigned fresh, unsigned mask) {
    return static_cast<std::uint8_t>((old & ~mask) | (fresh & mask));
}

}  // namespace

void gatherBits(std::uint8_t* destination, const std::uint8_t* source, unsigned firstBit, unsigned count) {
    if (count == 0) return;
    const unsigned bytes = (count + 7) / 8;
    if (firstBit == 0) {
        std::memcpy(destination, source, bytes);
    } else {
        const unsigned sourceBytes = (firstBit + count + 7) / 8;
        for (unsigned i = 0; i < bytes; i++) {
            const unsigned next = i + 1 < sourceBytes ? source[i + 1] : 0;
            destination[i] = static_cast<std::uint8_t>(source[i] << firstBit | next >> (8 - firstBit));
        }
    }
    if (count & 7) destination[bytes - 1] &= static_cast<std::uint8_t>(topBits(count & 7));
}

void placeBits(std::uint8_t* destination, unsigned firstBit, const std::uint8_t* source, unsigned count) {
    if (count == 0) return;
    const unsigned end = firstBit + count;
    const unsigned last = (end - 1) / 8;
    const unsigned lastMask = topBits(end - last * 8);
    if (firstBit == 0) {
        std::memcpy(destination, source, last);
        destination[last] = mixed(destination[last], source[last], lastMask);
        return;
    }
    const unsigned sourceBytes = (count + 7) / 8;
    unsigned before = 0;  // the source byte to the left
    for (unsigned i = 0; i <= last; i++) {
        const unsigned here = i < sourceBytes ? source[i] : 0;
        const unsigned fresh = before << (8 - firstBit) | here >> firstBit;
        unsigned mask = 0xFF;
        if (i == 0) mask &= 0xFF >> firstBit;
        if (i == last) mask &= lastMask;
        destination[i] = mixed(destination[i], fresh, mask);
        before = here;
    }
}

}  // namespace orn32
