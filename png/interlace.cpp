#include "png/interlace.h"

#include <cstring>

namespace orn32::png {
namespace {

constexpr Pass inOrder[] = {{0, 1, 0, 1}};
constexpr Pass adam7[] = {{0, 8, 0, 8}, {4, 8, 0, 8}, {0, 4, 4, 8}, {2, 4, 0, 4},
                          {0, 2, 2, 4}, {1, 2, 0, 2}, {0, 1, 1, 2}};

template <unsigned pixelBytes>
void copyPixels(std::uint8_t* to, std::size_t toStep, const std::uint8_t* from, std::size_t fromStep,
                std::uint32_t count) {
    for (; count > 0; count--, to += toStep * pixelBytes, from += fromStep * pixelBytes)
        for (unsigned i = 0; i < pixelBytes; i++) to[i] = from[i];
}

}  // namespace

Passes passesOf(bool interlaced) {
    return interlaced ? Passes{adam7, adam7 + 7} : Passes{inOrder, inOrder + 1};
}

void spreadPixels(std::uint8_t* row, const Pass& pass, std::uint32_t index, const std::uint8_t* pixels,
                  std::uint32_t count, unsigned pixelBytes) {
    std::uint8_t* to = row + (std::size_t{index} * pass.columnStep + pass.firstColumn) * pixelBytes;
    pixelBytes == 1 ? copyPixels<1>(to, pass.columnStep, pixels, 1, count)
                    : copyPixels<3>(to, pass.columnStep, pixels, 1, count);
}

void spreadBits(std::uint8_t* row, unsigned firstBit, const Pass& pass, const std::uint8_t* bits,
                std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; i++) {
        const std::uint32_t at = firstBit + pass.firstColumn + i * pass.columnStep;
        const unsigned mask = 0x80u >> (at & 7), bit = bits[i / 8] >> (7 - (i & 7)) & 1u;
        row[at / 8] = static_cast<std::uint8_t>((row[at / 8] & ~mask) | (bit ? mask : 0));
    }
}

void pickPixels(std::uint8_t* pixels, const std::uint8_t* row, const Pass& pass, std::uint32_t index,
                std::uint32_t count, unsigned pixelBytes) {
    const std::uint8_t* from = row + (std::size_t{index} * pass.columnStep + pass.firstColumn) * pixelBytes;
    pixelBytes == 1 ? copyPixels<1>(pixels, 1, from, pass.columnStep, count)
                    : copyPixels<3>(pixels, 1, from, pass.columnStep, count);
}

void pickBits(std::uint8_t* bits, const std::uint8_t* row, unsigned firstBit, const Pass& pass,
              std::uint32_t count) {
    std::memset(bits, 0, (count + 7) / 8);
    for (std::uint32_t i = 0; i < count; i++) {
        const std::uint32_t at = firstBit + pass.firstColumn + i * pass.columnStep;
        const unsigned bit = row[at / 8] >> (7 - (at & 7)) & 1u;
        bits[i / 8] = static_cast<std::uint8_t>(bits[i / 8] | bit << (7 - (i & 7)));
    }
}

}  // namespace orn32::png
