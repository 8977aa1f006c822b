// Samples on their way from a PNG row into a DIB row: widened to bytes, cut to bytes, alpha left out.
#include "png/format.h"

#include <cstring>

#include "png/copy.h"
#include "png/swap.h"

namespace orn32::png {
namespace {

void copyBytes(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    std::memcpy(to, from, count);
}

// Pixels of 2 or 4 bits to a byte each; a grey one is spread over the byte's range by the factor.
template <unsigned depth, unsigned factor>
void widen(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    constexpr unsigned perByte = 8 / depth, mask = (1u << depth) - 1;
    for (std::uint32_t x = 0; x < count; x++) {
        const unsigned shift = 8 - depth * (x % perByte + 1);
        to[x] = static_cast<std::uint8_t>((from[x / perByte] >> shift & mask) * factor);
    }
}

// The first byte of every so many: a sample's upper byte, or the sample in front of its alpha.
template <unsigned pixelBytes>
void keepFirst(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    for (std::uint32_t x = 0; x < count; x++) to[x] = from[x * pixelBytes];
}

// Red, green and blue, each the first of sampleBytes, to a DIB's order.
template <unsigned sampleBytes, unsigned pixelBytes>
void keepColour(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count) {
    for (std::uint32_t x = 0; x < count; x++, to += 3, from += pixelBytes) {
        to[0] = from[2 * sampleBytes];
        to[1] = from[sampleBytes];
        to[2] = from[0];
    }
}

}  // namespace

// The order of the rows is what PngInfo reports as its formatindex.
const Format formats[formatCount] = {
    {grey, 1, 1, 1, nullptr},
    {grey, 2, 1, 8, widen<2, 0x55>},
    {grey, 4, 1, 8, widen<4, 0x11>},
    {grey, 8, 1, 8, copyBytes},
    {grey, 16, 1, 8, keepFirst<2>},
    {rgb, 8, 3, 24, swapRedAndBlue},
    {rgb, 16, 3, 24, keepColour<2, 6>},
    {indexed, 1, 1, 1, nullptr},
    {indexed, 2, 1, 8, widen<2, 1>},
    {indexed, 4, 1, 8, widen<4, 1>},
    {indexed, 8, 1, 8, copyBytes},
    {greyAlpha, 8, 2, 8, keepFirst<2>},
    {greyAlpha, 16, 2, 8, keepFirst<4>},
    {rgbAlpha, 8, 4, 24, keepColour<1, 4>},
    {rgbAlpha, 16, 4, 24, keepColour<2, 8>},
};

Converter converterFor(const Format& format, std::uint64_t pictureBytes) {
    constexpr std::uint64_t large = 2 << 20;
    return format.convert == copyBytes && pictureBytes >= large ? copyPastCaches : format.convert;
}

unsigned formatIndex(unsigned colourType, unsigned depth) {
    unsigned i = 0;
    while (i < formatCount && (formats[i].colourType != colourType || formats[i].depth != depth)) i++;
    return i;
}

}  // namespace orn32::png
