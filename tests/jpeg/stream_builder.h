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
using Quantisers = std::array<std::uint16_t, 64>;

struct CoefComponent {
    unsigned h = 1, v = 1, tq = 0;
    unsigned slot = 0;                    // of its Huffman tables
    unsigned across = 0, down = 0;        // blocks, with those that pad the last MCU
    unsigned ownAcross = 0, ownDown = 0;  // blocks of a scan of the component alone
    std::vector<Block> blocks;
};

// A picture as coefficients, before dequantisation.
struct CoefPicture {
    unsigned width = 0, height = 0, hMax = 1, vMax = 1;
    std::vector<CoefComponent> components;
    std::array<Quantisers, 4> quant{};
};

// sampling: "22,11,11" for H and V of each component.
CoefPicture makePicture(unsigned width, unsigned height, const std::string& sampling);

// The same with all blocks filled: empty, sparse and dense ones, as a photograph might have them; wild ones
// with coefficients that only a hostile encoder would write.
CoefPicture randomPicture(Random& random, unsigned width, unsigned height, const std::string& sampling,
                          bool wild = false);

// Any sampling of one, three or four components whose MCU is not too large.
std::string randomSampling(Random& random);

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
using Bits = std::string;  // of the digits 0 and 1
struct Symbol {
    static constexpr unsigned onlyBits = 4, restart = 5;  // in place of a table
    unsigned table, symbol;
    Bits bits;
};
std::vector<Symbol> symbolsOf(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan);

struct HuffmanTable {
    HuffmanTable() = default;
    HuffmanTable(const Bytes& counts, const Bytes& values);
    Bytes definition;  // counts and values
    Bits code[256];
};
using HuffmanTables = std::array<HuffmanTable, 4>;
Bytes entropyCoded(const std::vector<Symbol>& symbols, const HuffmanTables& tables);

// Natural positions in zigzag order.
const std::array<unsigned, 64>& zigzag();

}  // namespace test
