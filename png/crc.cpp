#include "png/crc.h"

#include <array>
#include <cstring>

namespace orn32::png {
namespace {

constexpr std::size_t sliceBytes = 8;
using SliceTables = std::array<std::array<std::uint32_t, 256>, sliceBytes>;

// Table n gives what a byte does to the register when n more bytes follow it, so that eight bytes are looked
// up side by side.
constexpr SliceTables makeTables() {
    SliceTables tables{};
    for (std::uint32_t i = 0; i < 256; i++) {
        std::uint32_t crc = i;
        for (int bit = 0; bit < 8; bit++) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320 : crc >> 1;
        tables[0][i] = crc;
    }
    for (std::size_t n = 1; n < sliceBytes; n++)
        for (std::size_t i = 0; i < 256; i++)
            tables[n][i] = tables[n - 1][i] >> 8 ^ tables[0][tables[n - 1][i] & 0xFF];
    return tables;
}

constexpr SliceTables tables = makeTables();

}  // namespace

std::uint32_t updateCrc(std::uint32_t crc, const std::uint8_t* bytes, std::size_t count) {
    for (; count >= sliceBytes; count -= sliceBytes, bytes += sliceBytes) {
        std::uint32_t low, high;
        std::memcpy(&low, bytes, 4);
        std::memcpy(&high, bytes + 4, 4);
        low ^= crc;
        crc = tables[7][low & 0xFF] ^ tables[6][low >> 8 & 0xFF] ^ tables[5][low >> 16 & 0xFF] ^
              tables[4][low >> 24] ^ tables[3][high & 0xFF] ^ tables[2][high >> 8 & 0xFF] ^
              tables[1][high >> 16 & 0xFF] ^ tables[0][high >> 24];
    }
    for (; count > 0; count--) crc = crc >> 8 ^ tables[0][(crc ^ *bytes++) & 0xFF];
    return crc;
}

}  // namespace orn32::png
