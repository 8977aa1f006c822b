// Runs of 1-bit pixels at any bit position: bit 0 of a run is the highest bit of its first byte.
#pragma once

#include <cstdint>

namespace orn32 {

// Copies count bits that begin at bit firstBit (0 to 7) of source to the start of destination. Reads only the
// bytes that hold them; the bits behind them in the last byte written are 0.
void gatherBits(std::uint8_t* destination, const std::uint8_t* source, unsigned firstBit, unsigned count);

// Copies the first count bits of source to bit firstBit (0 to 7) of destination. The bits around the run
// stay.
void placeBits(std::uint8_t* destination, unsigned firstBit, const std::uint8_t* source, unsigned count);

}  // namespace orn32
