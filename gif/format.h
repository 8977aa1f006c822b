// Bytes of the GIF format that reader and writer share.
#pragma once

#include <cstdint>

namespace orn32::gif {

constexpr std::uint8_t extension = 0x21;
constexpr std::uint8_t imageDescriptor = 0x2C;
constexpr std::uint8_t trailer = 0x3B;

// What follows the extension byte.
constexpr std::uint8_t graphicControlLabel = 0xF9;
constexpr std::uint8_t commentLabel = 0xFE;
constexpr std::uint8_t applicationLabel = 0xFF;

constexpr std::uint32_t headerBytes = 13;  // signature and screen descriptor
constexpr std::uint32_t descriptorBytes = 10;
constexpr std::uint32_t graphicControlBytes = 8;
constexpr std::uint32_t loopBlockBytes = 19;
constexpr std::uint32_t largestBlock = 255;

// Bits of the packed bytes.
constexpr unsigned hasTable = 0x80;
constexpr unsigned isInterlaced = 0x40;

constexpr int word(const std::uint8_t* p) {
    return p[0] | p[1] << 8;
}

}  // namespace orn32::gif
