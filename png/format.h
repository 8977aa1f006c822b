// The bricks of a PNG file: its signature, chunk names, numbers, and the kinds of pixels it can hold.
#pragma once

#include <cstdint>

namespace orn32::png {

constexpr std::uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// Numbers in a file have their highest byte first.
inline std::uint32_t bigEndian(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}
inline void storeBigEndian(std::uint8_t* bytes, std::uint32_t value) {
    for (int i = 0; i < 4; i++) bytes[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

using ChunkType = std::uint32_t;

constexpr ChunkType chunkType(const char (&name)[5]) {
    ChunkType type = 0;
    for (int i = 0; i < 4; i++) type = type << 8 | static_cast<std::uint8_t>(name[i]);
    return type;
}

// A picture can be shown without the chunks whose name begins in lower case.
constexpr bool isAncillary(ChunkType type) {
    return type >> 24 & 0x20;
}

enum ColourType : std::uint8_t { grey = 0, rgb = 2, indexed = 3, greyAlpha = 4, rgbAlpha = 6 };

// Stores count pixels as they lie in a DIB row.
using Converter = void (*)(std::uint8_t* to, const std::uint8_t* from, std::uint32_t count);

// One kind of pixels, the bits per pixel of the image that takes them, and the way there. 1-bit pixels
// have none: they stay as they are.
struct Format {
    ColourType colourType;
    std::uint8_t depth;
    std::uint8_t channels;
    std::uint8_t dibBits;
    Converter convert;

    unsigned bitsPerPixel() const { return unsigned{depth} * channels; }
};

constexpr unsigned formatCount = 15;
extern const Format formats[formatCount];

// The format's converter, or one to the same effect that is faster for an image of so many bytes. A large one
// that is only copied is written past the caches: loading takes a tenth less, reading it at once included.
Converter converterFor(const Format& format, std::uint64_t pictureBytes);

// The row of the table, or formatCount for a depth that the colour type does not have.
unsigned formatIndex(unsigned colourType, unsigned depth);

// Bytes that count pixels take, the last one maybe in part. A file's width may be anything in 32 bits.
inline std::uint64_t bytesFor(std::uint64_t count, unsigned bitsPerPixel) {
    return (count * bitsPerPixel + 7) / 8;
}

// Filters work on the byte of the pixel to the left, or of the byte before where pixels are smaller.
inline unsigned filterStep(unsigned bitsPerPixel) {
    return (bitsPerPixel + 7) / 8;
}

}  // namespace orn32::png
