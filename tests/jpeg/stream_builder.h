// JPEG streams for tests, made from coefficients: any sampling, any cut into scans, Huffman tables of random
// shape. The tests know what such a stream must decode to without asking the library.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/random.h"

namespace test {

using Block = std::array<std::int16_t, 64>;  // natural order

struct CoefComponent {
    unsigned h = 1, v = 1, tq = 0;
    unsigned slot = 0;                    // of its Huffman tables
    unsigned across = 0, down = 0;        // blocks, with those that pad the last MCU
    unsigned ownAcross = 0, ownDown = 0;  // blocks of a scan of the component alone
    std::vector<Block> blocks;

    Block& at(unsigned x, unsigned y) { return blocks[y * across + x]; }
    const Block& at(unsigned x, unsigned y) const { return blocks[y * across + x]; }
};

// A picture as coefficients, before dequantisation.
struct CoefPicture {
    unsigned width = 0, height = 0;
    std::vector<CoefComponent> components;
    std::array<std::array<std::uint16_t, 64>, 4> quant{};  // natural order

    unsigned hMax() const;
    unsigned vMax() const;
};

// sampling: "22,11,11" for H and V of each component.
CoefPicture makePicture(unsigned width, unsigned height, const std::string& sampling);

// The same with all blocks filled: empty, sparse and dense ones, as a photograph might have them; wild ones
// with coefficients that only a hostile encoder would write.
CoefPicture randomPicture(Random& random, unsigned width, unsigned height, const std::string& sampling,
                          bool wild = false);

struct ScanPlan {
    std::vector<unsigned> components;
    unsigned ss = 0, se = 63, ah = 0, al = 0;
};

struct StreamPlan {
    bool progressive = false;
    std::vector<ScanPlan> scans;
    unsigned restartInterval = 0;
    int adobeTransform = -1;  // none written
    bool wideQuant = false;   // 16-bit tables
    Bytes segments;           // put in behind SOI as they are
};

// All components in one scan, each in its own, or the first alone and the others together; a typical
// progressive script of one or several components.
StreamPlan oneScan(const CoefPicture& picture);
StreamPlan separateScans(const CoefPicture& picture);
StreamPlan firstAloneScans(const CoefPicture& picture);
StreamPlan progressiveScans(const CoefPicture& picture);

// The picture as a stream. The Huffman tables have codes of all lengths, drawn anew for each scan.
Bytes encode(const CoefPicture& picture, const StreamPlan& plan, Random& random);

// The position of a marker, the first one or a later one, which must be there.
std::size_t find(const Bytes& stream, std::uint8_t marker, unsigned number = 1);

// A segment: marker, length, contents; and those of a stream. Units and sides of JFIF come with 300 x 72
// dots.
Bytes segment(unsigned marker, const Bytes& contents);
Bytes jfif(unsigned units, unsigned width = 0, unsigned height = 0, Bytes pixels = {});
Bytes jfxx(unsigned kind, unsigned width, unsigned height, const Bytes& contents = {});
Bytes huffmanSegment(unsigned table, const Bytes& definition);
Bytes quantSegment(const CoefPicture& picture, unsigned slot, bool wide);
Bytes frameSegment(const CoefPicture& picture, unsigned marker);
Bytes scanSegment(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan);

// A scan as a list of symbols, each with the bits that follow its code. Tables 0 and 1 are for DC, 2 and 3
// for AC.
struct Symbol {
    static constexpr int onlyBits = -1, restart = -2;  // in place of a table
    int table;
    unsigned symbol;
    std::vector<bool> bits;
};
std::vector<Symbol> symbolsOf(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan);

struct HuffmanTable {
    HuffmanTable() = default;
    HuffmanTable(const Bytes& counts, const Bytes& values);
    Bytes definition;  // counts and values
    std::vector<bool> code[256];
};
using HuffmanTables = std::array<HuffmanTable, 4>;
Bytes entropyCoded(const std::vector<Symbol>& symbols, const HuffmanTables& tables);

// Natural positions in zigzag order.
const std::array<unsigned, 64>& zigzag();

// The picture's samples at full size, one plane per component, decoded in the plainest way.
struct PlainPlanes {
    unsigned width = 0, height = 0;
    std::vector<std::vector<std::uint8_t>> planes;

    int at(unsigned c, unsigned x, unsigned y) const { return planes[c][y * width + x]; }
};
PlainPlanes decodePlainly(const CoefPicture& picture);

// The inverse transform by its definition, of coefficients times quantisers.
std::array<std::uint8_t, 64> transformPlainly(const Block& coefs, const std::array<std::uint16_t, 64>& quant);

// A pixel in the destination's order: blue | green << 8 | red << 16, or the grey level.
enum class Colours { grey, ycbcr, rgb, cmyk, ycck };
unsigned plainPixel(const PlainPlanes& planes, Colours colours, unsigned x, unsigned y);
inline unsigned plainPixel(const PlainPlanes& planes, Colours colours, int x, int y) {
    return plainPixel(planes, colours, static_cast<unsigned>(x), static_cast<unsigned>(y));
}

}  // namespace test
