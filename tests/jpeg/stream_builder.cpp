#include "tests/jpeg/stream_builder.h"

#include <algorithm>
#include <bit>
#include <bitset>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace test {
namespace {

unsigned ceilDiv(unsigned a, unsigned b) {
    return (a + b - 1) / b;
}

std::uint8_t low(unsigned value) {
    return std::uint8_t(value);
}

Bytes word(unsigned value) {
    return {low(value >> 8), low(value)};
}

Bits bitsOf(int value, int count) {
    return std::bitset<32>(unsigned(value)).to_string().substr(unsigned(32 - count));
}

int sizeOf(int value) {
    return std::bit_width(unsigned(std::abs(value)));
}

Bits valueBits(int value) {
    return bitsOf(value < 0 ? value - 1 : value, sizeOf(value));
}

// A prefix code for all 256 symbols, of random shape: a leaf of a tree becomes two, until there are enough.
HuffmanTable randomTable(Random& random) {
    Bytes leaves(17), symbols(256);  // leaves by depth
    leaves[0] = 1;
    for (int n = 1; n < 256; n++) {
        unsigned depth;
        do depth = random.below(16);
        while (leaves[depth] == 0);
        leaves[depth]--, leaves[depth + 1] += 2;
    }
    std::iota(symbols.begin(), symbols.end(), std::uint8_t{0});
    for (unsigned i = 255; i > 0; i--) std::swap(symbols[i], symbols[random.below(i + 1)]);
    return {Bytes(leaves.begin() + 1, leaves.end()), symbols};
}

class ScanLister {
 public:
    ScanLister(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan)
        : picture_(picture), plan_(plan), scan_(scan) {
        // An MCU has a component's h x v blocks; one of a component alone is a block, or a row of h x v if
        // the picture has no other.
        const CoefComponent& first = picture.components[scan.components[0]];
        const bool isAlone = scan.components.size() == 1;
        const unsigned across = isAlone ? first.ownAcross : first.across / first.h;
        const unsigned down = isAlone ? first.ownDown : first.down / first.v;
        const unsigned step = picture.components.size() == 1 ? first.h * first.v : 1;
        for (unsigned y = 0; y < down; y++)
            for (unsigned x = 0; x < across; x++) {
                if (x % step == 0) restartIfDue();
                for (const unsigned i : scan.components) {
                    const unsigned h = isAlone ? 1 : picture.components[i].h;
                    const unsigned v = isAlone ? 1 : picture.components[i].v;
                    for (unsigned n = 0; n < h * v; n++) listBlock(i, x * h + n % h, y * v + n / h);
                }
            }
        endRun();
    }
    std::vector<Symbol> symbols;

 private:
    void addAc(int symbol, const Bits& bits = {}) { symbols.push_back({ac_, unsigned(symbol), bits}); }
    void addBits(const Bits& bits) { symbols.push_back({Symbol::onlyBits, 0, bits}); }

    void restartIfDue() {
        if (plan_.restartInterval && sinceRestart_ == plan_.restartInterval) {
            endRun();
            symbols.push_back({Symbol::restart, restarts_++ % 8, {}});
            predictors_ = {};
            sinceRestart_ = 0;
        }
        sinceRestart_++;
    }

    void listBlock(unsigned index, unsigned x, unsigned y) {
        const CoefComponent& c = picture_.components[index];
        Block block = c.blocks[y * c.across + x];
        ac_ = 2 + c.slot;
        if (scan_.ss == 0) listDc(c.slot, block[0] >> scan_.al, predictors_[index]);
        if (scan_.se == 0) return;
        // Magnitudes lose their low bits, unlike shifts of negative numbers.
        for (auto& v : block) v = std::int16_t(v < 0 ? -(-v >> scan_.al) : v >> scan_.al);
        scan_.ah ? refine(block) : listBand(block);
    }

    void listDc(unsigned slot, int value, int& predictor) {
        if (scan_.ah) return addBits(bitsOf(value, 1));
        const int difference = value - std::exchange(predictor, value);
        symbols.push_back({slot, unsigned(sizeOf(difference)), valueBits(difference)});
    }

    void listBand(const Block& block) {
        int zeros = 0;
        for (unsigned k = std::max(scan_.ss, 1u); k <= scan_.se; k++) {
            const int value = block[zigzag()[k]];
            zeros++;
            if (value == 0) continue;
            endRun();
            for (; zeros > 16; zeros -= 16) addAc(0xF0);
            addAc((zeros - 1) << 4 | sizeOf(value), valueBits(value));
            zeros = 0;
        }
        if (zeros) extendRun({});
    }

    void refine(const Block& block) {
        unsigned lastNew = 0;
        int zeros = 0;
        for (unsigned k = scan_.ss; k <= scan_.se; k++)
            if (std::abs(block[zigzag()[k]]) == 1) lastNew = k;
        Bits corrections;
        for (unsigned k = scan_.ss; k <= scan_.se; k++) {
            const int value = block[zigzag()[k]];
            if (value == 0) {
                zeros++;
                continue;
            }
            for (; zeros > 15 && k <= lastNew; zeros -= 16) {
                endRun();
                addAc(0xF0, std::exchange(corrections, {}));
            }
            if (std::abs(value) > 1) {
                corrections += bitsOf(value, 1);
                continue;
            }
            endRun();
            addAc(zeros << 4 | 1, (value > 0 ? "1" : "0") + std::exchange(corrections, {}));
            zeros = 0;
        }
        if (zeros || !corrections.empty()) extendRun(corrections);
    }

    void extendRun(const Bits& corrections) {
        corrections_ += corrections;
        if (++run_ == (plan_.progressive ? 32767 : 1)) endRun();
    }

    void endRun() {
        if (run_ == 0) return;
        const int n = sizeOf(run_) - 1;
        addAc(n << 4, bitsOf(std::exchange(run_, 0), n) + std::exchange(corrections_, {}));
    }

    const CoefPicture& picture_;
    const StreamPlan& plan_;
    const ScanPlan& scan_;
    std::array<int, 4> predictors_{};
    unsigned sinceRestart_ = 0, restarts_ = 0, ac_ = 2;
    int run_ = 0;       // of blocks that end
    Bits corrections_;  // in them
};

}  // namespace

const std::array<unsigned, 64>& zigzag() {
    static const auto order = [] {
        std::array<unsigned, 64> all{};
        std::iota(all.begin(), all.end(), 0u);
        // By diagonals, up on even ones and down on odd ones.
        std::sort(all.begin(), all.end(), [](unsigned a, unsigned b) {
            const unsigned da = a / 8 + a % 8, db = b / 8 + b % 8;
            return da != db ? da < db : da % 2 ? a < b : a > b;
        });
        return all;
    }();
    return order;
}

HuffmanTable::HuffmanTable(const Bytes& counts, const Bytes& values) : definition(counts + values) {
    int next = 0;
    auto value = values.begin();
    for (int n = 1; n <= 16; n++, next <<= 1)
        for (int i = 0; i < counts[unsigned(n - 1)]; i++) code[*value++] = bitsOf(next++, n);
}

std::vector<Symbol> symbolsOf(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan) {
    return ScanLister(picture, plan, scan).symbols;
}

Bytes entropyCoded(const std::vector<Symbol>& symbols, const HuffmanTables& tables) {
    Bytes bytes;
    Bits bits;
    const auto flush = [&] {
        while (bits.size() % 8) bits += '1';
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            bytes.push_back(low(std::bitset<8>(bits, i, 8).to_ulong()));
            if (bytes.back() == 0xFF) bytes.push_back(0);
        }
        bits.clear();
    };
    for (const Symbol& s : symbols) {
        if (s.table == Symbol::restart) {
            flush();
            bytes.insert(bytes.end(), {0xFF, low(0xD0 + s.symbol)});
        }
        if (s.table < 4) bits += tables[s.table].code[s.symbol];
        bits += s.bits;
    }
    flush();
    return bytes;
}

Bytes huffmanSegment(unsigned table, const Bytes& definition) {
    return segment(0xC4, Bytes{low((table & 2) << 3 | (table & 1))} + definition);
}

Bytes quantSegment(const CoefPicture& picture, unsigned slot, bool wide) {
    Bytes contents = {low((wide ? 0x10 : 0) | slot)};
    for (const unsigned i : zigzag()) {
        if (wide) contents.push_back(low(picture.quant[slot][i] >> 8));
        contents.push_back(low(picture.quant[slot][i]));
    }
    return segment(0xDB, contents);
}

Bytes frameSegment(const CoefPicture& picture, unsigned marker) {
    Bytes contents = Bytes{8} + word(picture.height) + word(picture.width);
    contents.push_back(low(picture.components.size()));
    unsigned id = 1;
    for (const CoefComponent& c : picture.components)
        contents.insert(contents.end(), {low(id++), low(c.h << 4 | c.v), low(c.tq)});
    return segment(marker, contents);
}

Bytes scanSegment(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan) {
    Bytes contents = {low(scan.components.size())};
    const bool dc = !plan.progressive || (scan.ss == 0 && scan.ah == 0);
    const bool ac = !plan.progressive || scan.ss > 0;
    for (const unsigned c : scan.components) {
        const unsigned slot = picture.components[c].slot;
        contents.insert(contents.end(), {low(c + 1), low((dc ? slot << 4 : 0) | (ac ? slot : 0))});
    }
    return segment(0xDA, contents + Bytes{low(scan.ss), low(scan.se), low(scan.ah << 4 | scan.al)});
}

CoefPicture makePicture(unsigned width, unsigned height, const std::string& sampling) {
    CoefPicture picture;
    picture.width = width;
    picture.height = height;
    for (std::size_t i = 0; i < sampling.size(); i += 3) {
        CoefComponent& c = picture.components.emplace_back();
        c.h = unsigned(sampling[i] - '0');
        c.v = unsigned(sampling[i + 1] - '0');
        c.tq = unsigned(i / 3);
        picture.hMax = std::max(picture.hMax, c.h);
        picture.vMax = std::max(picture.vMax, c.v);
    }
    for (CoefComponent& c : picture.components) {
        c.across = ceilDiv(width, 8 * picture.hMax) * c.h;
        c.down = ceilDiv(height, 8 * picture.vMax) * c.v;
        c.ownAcross = ceilDiv(ceilDiv(width * c.h, picture.hMax), 8);
        c.ownDown = ceilDiv(ceilDiv(height * c.v, picture.vMax), 8);
        c.blocks.resize(std::size_t{c.across} * c.down);
    }
    return picture;
}

CoefPicture randomPicture(Random& random, unsigned width, unsigned height, const std::string& sampling,
                          bool wild) {
    CoefPicture picture = makePicture(width, height, sampling);
    for (auto& table : picture.quant)
        for (auto& q : table) q = std::uint16_t(1 + random.below(wild ? 255 : 30));
    for (CoefComponent& c : picture.components)
        for (Block& block : c.blocks) {
            block = {};
            block[0] = std::int16_t(wild ? random.between(-16000, 16000) : random.between(-60, 60));
            const unsigned count = random.oneIn(3) ? 0 : random.below(random.oneIn(4) ? 64 : 8);
            for (unsigned i = 0; i < count; i++) {
                const unsigned k = 1 + random.below(random.oneIn(3) ? 63 : 12);
                const int range = wild ? 32767 >> random.below(15) : 12;
                block[zigzag()[k]] = std::int16_t(random.between(-range, range));
            }
        }
    return picture;
}

std::string randomSampling(Random& random) {
    constexpr unsigned counts[] = {1, 3, 4}, mostBlocks = 10;
    for (;;) {
        std::string sampling;
        unsigned blocks = 0;
        for (unsigned n = counts[random.below(3)]; n > 0; n--) {
            const unsigned h = 1 + random.below(4), v = 1 + random.below(4);
            sampling += (sampling.empty() ? "" : ",") + std::to_string(10 * h + v);
            blocks += h * v;
        }
        if (blocks <= mostBlocks) return sampling;
    }
}

StreamPlan oneScan(const CoefPicture& picture) {
    StreamPlan plan;
    std::vector<unsigned>& all = plan.scans.emplace_back().components;
    for (unsigned c = 0; c < picture.components.size(); c++) all.push_back(c);
    return plan;
}

StreamPlan separateScans(const CoefPicture& picture) {
    StreamPlan plan;
    for (unsigned c = 0; c < picture.components.size(); c++) plan.scans.push_back({{c}});
    return plan;
}

StreamPlan firstAloneScans(const CoefPicture& picture) {
    StreamPlan plan = oneScan(picture);
    std::vector<unsigned> others = plan.scans[0].components;
    others.erase(others.begin());
    plan.scans[0].components = {0};
    if (!others.empty()) plan.scans.push_back({others});
    return plan;
}

StreamPlan progressiveScans(const CoefPicture& picture) {
    const std::vector<unsigned> all = oneScan(picture).scans[0].components;
    StreamPlan plan;
    plan.progressive = true;
    plan.scans = {{all, 0, 0, 0, 1}};
    for (const unsigned c : all)
        for (const ScanPlan& band : {ScanPlan{{c}, 1, 5, 0, 2}, {{c}, 6, 63, 0, 3}, {{c}, 6, 63, 3, 2}})
            plan.scans.push_back(band);
    for (const unsigned c : all) plan.scans.push_back({{c}, 1, 63, 2, 1});
    plan.scans.push_back({all, 0, 0, 1, 0});
    for (const unsigned c : all) plan.scans.push_back({{c}, 1, 63, 1, 0});
    return plan;
}

Bytes encode(const CoefPicture& picture, const StreamPlan& plan, Random& random) {
    Bytes stream = Bytes{0xFF, 0xD8} + plan.segments;
    if (plan.adobeTransform >= 0)
        stream = stream + segment(0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0,
                                         low(unsigned(plan.adobeTransform))});
    for (unsigned slot = 0; slot < 4; slot++) stream = stream + quantSegment(picture, slot, plan.wideQuant);
    stream = stream + frameSegment(picture, plan.progressive ? 0xC2 : 0xC1);
    if (plan.restartInterval) stream = stream + segment(0xDD, word(plan.restartInterval));
    for (const ScanPlan& scan : plan.scans) {
        HuffmanTables tables;
        for (const unsigned table : {0u, 2u}) {
            tables[table] = randomTable(random);
            stream = stream + huffmanSegment(table, tables[table].definition);
        }
        stream = stream + scanSegment(picture, plan, scan);
        stream = stream + entropyCoded(symbolsOf(picture, plan, scan), tables);
    }
    return stream + Bytes{0xFF, 0xD9};
}

std::size_t find(const Bytes& stream, std::uint8_t marker, unsigned number) {
    for (std::size_t i = 0; i + 1 < stream.size(); i++)
        if (stream[i] == 0xFF && stream[i + 1] == marker && --number == 0) return i;
    std::abort();
}

Bytes segment(unsigned marker, const Bytes& contents) {
    return Bytes{0xFF, low(marker)} + word(unsigned(contents.size()) + 2) + contents;
}

Bytes jfif(unsigned units, unsigned width, unsigned height, Bytes pixels) {
    pixels.resize(3 * width * height);
    return segment(0xE0, Bytes{'J', 'F', 'I', 'F', 0, 1, 2, low(units)} + word(300) + word(72) +
                             Bytes{low(width), low(height)} + pixels);
}

Bytes jfxx(unsigned kind, unsigned width, unsigned height, const Bytes& contents) {
    return segment(0xE0, Bytes{'J', 'F', 'X', 'X', 0, low(kind), low(width), low(height)} + contents);
}

}  // namespace test
