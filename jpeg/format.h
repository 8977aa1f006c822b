// What a JPEG stream is made of (ITU T.81): marker codes, coefficient order, and the records that the reading
// and the writing half both use.
#pragma once

#include <cstdint>

namespace orn32::jpeg {

// The second byte of a marker; the first is 0xFF.
namespace marker {
constexpr std::uint8_t tem = 0x01;
constexpr std::uint8_t sof0 = 0xC0;  // baseline
constexpr std::uint8_t sof1 = 0xC1;  // extended sequential
constexpr std::uint8_t sof2 = 0xC2;  // progressive
constexpr std::uint8_t sof3 = 0xC3;  // lossless
constexpr std::uint8_t dht = 0xC4;
constexpr std::uint8_t sof9 = 0xC9;  // the same with arithmetic coding
constexpr std::uint8_t sof10 = 0xCA;
constexpr std::uint8_t sof11 = 0xCB;
constexpr std::uint8_t rst0 = 0xD0;
constexpr std::uint8_t rst7 = 0xD7;
constexpr std::uint8_t soi = 0xD8;
constexpr std::uint8_t eoi = 0xD9;
constexpr std::uint8_t sos = 0xDA;
constexpr std::uint8_t dqt = 0xDB;
constexpr std::uint8_t dri = 0xDD;
constexpr std::uint8_t app0 = 0xE0;
constexpr std::uint8_t app14 = 0xEE;
}  // namespace marker

constexpr int maxComponents = 4;
constexpr int maxBlocksPerMcu = 10;
constexpr int blockSize = 64;
constexpr int tableSlots = 4;  // of each kind: quantisation, DC, AC

// Row by row ("natural") position of the k-th coefficient of a block in zigzag order.
constexpr std::uint8_t naturalOrder[blockSize] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,   //
    12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,  //
    35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,  //
    58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

struct Component {
    std::uint8_t id;
    std::uint8_t h, v;    // sampling factors
    std::uint8_t tq;      // quantisation table slot
    std::uint8_t td, ta;  // Huffman table slots, of the scan at hand
};

// One scan: components as indices into the frame's list, the band of coefficients in zigzag order, and the
// bit positions of successive approximation.
struct Scan {
    int count;
    std::uint8_t components[maxComponents];
    std::uint8_t ss, se, ah, al;
};

// A Huffman table as DHT has it: how many codes of each length from 1 to 16, and their symbols in order.
struct HuffmanDefinition {
    std::uint8_t counts[16];
    std::uint8_t values[256];

    int total() const {
        int sum = 0;
        for (const int n : counts) sum += n;
        return sum;
    }
    bool operator==(const HuffmanDefinition&) const = default;
};

// The kinds of thumbnail in an APP0 extension (JFXX) segment.
enum ThumbnailKind : std::uint8_t { thumbJpeg = 0x10, thumbPalette = 0x11, thumbRgb = 0x13 };

}  // namespace orn32::jpeg
