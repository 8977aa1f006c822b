#include "tests/jpeg/stream_builder.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace test {
namespace {

unsigned ceilDiv(unsigned a, unsigned b) {
    return (a + b - 1) / b;
}

std::uint8_t low(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

Bytes word(unsigned value) {
    return {low(value >> 8), low(value)};
}

using Bits = std::vector<bool>;

void append(Bits& to, const Bits& bits) {
    to.insert(to.end(), bits.begin(), bits.end());
}

Bits bitsOf(int value, unsigned count) {
    Bits bits;
    while (count-- > 0) bits.push_back(value >> count & 1);
    return bits;
}

unsigned sizeOf(int value) {
    unsigned n = 0;
    for (int m = std::abs(value); m; m >>= 1) n++;
    return n;
}

Bits valueBits(int value) {
    return bitsOf(value < 0 ? value - 1 : value, sizeOf(value));
}

// Shares n leaves below a node of the given depth out to its two halves, and counts them by depth.
void split(Random& random, unsigned n, unsigned depth, Bytes& counts) {
    if (n == 1) {
        counts[std::max(depth, 1u) - 1]++;
        return;
    }
    const unsigned room = 1u << (16 - depth - 1);
    const unsigned least = n > room ? n - room : 1, most = std::min(n - 1, room);
    const unsigned left = random.oneIn(3) ? least : least + random.below(most - least + 1);
    split(random, left, depth + 1, counts);
    split(random, n - left, depth + 1, counts);
}

// A prefix code for all 256 symbols, of random shape.
HuffmanTable randomTable(Random& random) {
    Bytes counts(16), symbols(256);
    split(random, 256, 0, counts);
    for (unsigned i = 0; i < 256; i++) symbols[i] = low(i);
    for (unsigned i = 255; i > 0; i--) std::swap(symbols[i], symbols[random.below(i + 1)]);
    return {counts, symbols};
}

class ScanLister {
 public:
    ScanLister(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan)
        : picture_(picture),
          scan_(scan),
          restartInterval_(plan.restartInterval),
          longestRun_(plan.progressive ? 32767 : 1) {
        if (scan.components.size() == 1)
            listAlone(scan.components[0]);
        else
            listTogether();
        endRun();
    }
    std::vector<Symbol> symbols;

 private:
    void add(int table, unsigned symbol, Bits bits = {}) {
        symbols.push_back({table, symbol, std::move(bits)});
    }
    void addAc(unsigned symbol, Bits bits = {}) { add(ac_, symbol, std::move(bits)); }

    void listAlone(unsigned index) {
        const CoefComponent& c = picture_.components[index];
        const unsigned step = picture_.components.size() == 1 ? c.h * c.v : 1;
        for (unsigned y = 0; y < c.ownDown; y++)
            for (unsigned x = 0; x < c.ownAcross; x++) {
                if (x % step == 0) restartIfDue();
                listBlock(index, x, y);
            }
    }

    void listTogether() {
        const unsigned mcusAcross = ceilDiv(picture_.width, 8 * picture_.hMax());
        const unsigned mcusDown = ceilDiv(picture_.height, 8 * picture_.vMax());
        for (unsigned row = 0; row < mcusDown; row++)
            for (unsigned mcu = 0; mcu < mcusAcross; mcu++) {
                restartIfDue();
                for (const unsigned i : scan_.components) {
                    const CoefComponent& c = picture_.components[i];
                    for (unsigned y = 0; y < c.v; y++)
                        for (unsigned x = 0; x < c.h; x++) listBlock(i, mcu * c.h + x, row * c.v + y);
                }
            }
    }

    void restartIfDue() {
        if (restartInterval_ && sinceRestart_ == restartInterval_) {
            endRun();
            add(Symbol::restart, restarts_++ % 8);
            predictors_ = {};
            sinceRestart_ = 0;
        }
        sinceRestart_++;
    }

    void listBlock(unsigned index, unsigned x, unsigned y) {
        const CoefComponent& c = picture_.components[index];
        ac_ = static_cast<int>(2 + c.slot);
        if (scan_.ss == 0) listDc(c, c.at(x, y)[0] >> scan_.al, predictors_[index]);
        if (scan_.se == 0) return;
        // Magnitudes lose their low bits, unlike shifts of negative numbers.
        Block block = c.at(x, y);
        for (auto& v : block) v = static_cast<std::int16_t>(v < 0 ? -(-v >> scan_.al) : v >> scan_.al);
        scan_.ah ? refine(block) : listBand(block);
    }

    void listDc(const CoefComponent& c, int value, int& predictor) {
        if (scan_.ah) return add(Symbol::onlyBits, 0, bitsOf(value, 1));
        add(static_cast<int>(c.slot), sizeOf(value - predictor), valueBits(value - predictor));
        predictor = value;
    }

    void listBand(const Block& block) {
        unsigned zeros = 0;
        for (unsigned k = std::max(scan_.ss, 1u); k <= scan_.se; k++) {
            const int value = block[zigzag()[k]];
            if (value == 0) {
                zeros++;
                continue;
            }
            endRun();
            for (; zeros > 15; zeros -= 16) addAc(0xF0);
            addAc(zeros << 4 | sizeOf(value), valueBits(value));
            zeros = 0;
        }
        if (zeros) extendRun({});
    }

    void refine(const Block& block) {
        unsigned lastNew = 0, zeros = 0;
        for (unsigned k = scan_.ss; k <= scan_.se; k++)
            if (std::abs(block[zigzag()[k]]) == 1) lastNew = k;
        Bits corrections;
        const auto flush = [&] { add(Symbol::onlyBits, 0, std::exchange(corrections, {})); };
        for (unsigned k = scan_.ss; k <= scan_.se; k++) {
            const int value = block[zigzag()[k]];
            if (value == 0) {
                zeros++;
                continue;
            }
            for (; zeros > 15 && k <= lastNew; zeros -= 16) {
                endRun();
                addAc(0xF0);
                flush();
            }
            if (std::abs(value) > 1) {
                corrections.push_back(value & 1);
                continue;
            }
            endRun();
            addAc(zeros << 4 | 1, {value > 0});
            flush();
            zeros = 0;
        }
        if (zeros || !corrections.empty()) extendRun(corrections);
    }

    void extendRun(const Bits& corrections) {
        append(corrections_, corrections);
        if (++run_ == longestRun_) endRun();
    }

    void endRun() {
        if (run_ == 0) return;
        const unsigned n = sizeOf(run_) - 1;
        addAc(n << 4, bitsOf(run_, n));
        add(Symbol::onlyBits, 0, std::exchange(corrections_, {}));
        run_ = 0;
    }

    const CoefPicture& picture_;
    const ScanPlan& scan_;
    const unsigned restartInterval_;
    const int longestRun_;
    std::array<int, 4> predictors_{};
    unsigned sinceRestart_ = 0, restarts_ = 0;
    int ac_ = 2, run_ = 0;
    Bits corrections_;  // of the blocks in the run
};

}  // namespace

const std::array<unsigned, 64>& zigzag() {
    static const auto order = [] {
        std::array<unsigned, 64> all{};
        unsigned x = 0, y = 0;
        for (unsigned& next : all) {
            next = y * 8 + x;
            const bool up = (x + y) % 2 == 0;
            if (up ? x == 7 : y == 7)
                up ? y++ : x++;
            else if (up ? y == 0 : x == 0)
                up ? x++ : y++;
            else
                x += up ? 1 : -1u, y += up ? -1u : 1;
        }
        return all;
    }();
    return order;
}

HuffmanTable::HuffmanTable(const Bytes& counts, const Bytes& values) : definition(counts + values) {
    int next = 0;
    auto value = values.begin();
    for (unsigned n = 1; n <= 16; n++, next <<= 1)
        for (int i = 0; i < counts[n - 1]; i++) code[*value++] = bitsOf(next++, n);
}

std::vector<Symbol> symbolsOf(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan) {
    return ScanLister(picture, plan, scan).symbols;
}

Bytes entropyCoded(const std::vector<Symbol>& symbols, const HuffmanTables& tables) {
    Bytes bytes;
    Bits bits;
    const auto flush = [&] {
        while (bits.size() % 8) bits.push_back(true);
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            unsigned value = 0;
            for (std::size_t j = 0; j < 8; j++) value = value << 1 | bits[i + j];
            bytes.push_back(low(value));
            if (value == 0xFF) bytes.push_back(0);
        }
        bits.clear();
    };
    for (const Symbol& s : symbols) {
        if (s.table == Symbol::restart) {
            flush();
            bytes.insert(bytes.end(), {0xFF, low(0xD0 + s.symbol)});
            continue;
        }
        if (s.table >= 0) append(bits, tables[static_cast<unsigned>(s.table)].code[s.symbol]);
        append(bits, s.bits);
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
    contents.push_back(low(static_cast<unsigned>(picture.components.size())));
    unsigned id = 1;
    for (const CoefComponent& c : picture.components)
        contents.insert(contents.end(), {low(id++), low(c.h << 4 | c.v), low(c.tq)});
    return segment(marker, contents);
}

Bytes scanSegment(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan) {
    Bytes contents = {low(static_cast<unsigned>(scan.components.size()))};
    const bool dc = !plan.progressive || (scan.ss == 0 && scan.ah == 0),
               ac = !plan.progressive || scan.ss > 0;
    for (const unsigned c : scan.components) {
        const unsigned slot = picture.components[c].slot;
        contents.insert(contents.end(), {low(c + 1), low((dc ? slot << 4 : 0) | (ac ? slot : 0))});
    }
    return segment(0xDA, contents + Bytes{low(scan.ss), low(scan.se), low(scan.ah << 4 | scan.al)});
}

unsigned CoefPicture::hMax() const {
    return std::max_element(components.begin(), components.end(), [](auto& a, auto& b) { return a.h < b.h; })
        ->h;
}

unsigned CoefPicture::vMax() const {
    return std::max_element(components.begin(), components.end(), [](auto& a, auto& b) { return a.v < b.v; })
        ->v;
}

CoefPicture makePicture(unsigned width, unsigned height, const std::string& sampling) {
    CoefPicture picture;
    picture.width = width;
    picture.height = height;
    for (std::size_t i = 0; i < sampling.size(); i += 3) {
        CoefComponent c;
        c.h = static_cast<unsigned>(sampling[i] - '0');
        c.v = static_cast<unsigned>(sampling[i + 1] - '0');
        c.tq = static_cast<unsigned>(picture.components.size());
        picture.components.push_back(c);
    }
    const unsigned hMax = picture.hMax(), vMax = picture.vMax();
    for (CoefComponent& c : picture.components) {
        c.across = ceilDiv(width, 8 * hMax) * c.h;
        c.down = ceilDiv(height, 8 * vMax) * c.v;
        c.ownAcross = ceilDiv(ceilDiv(width * c.h, hMax), 8);
        c.ownDown = ceilDiv(ceilDiv(height * c.v, vMax), 8);
        c.blocks.resize(std::size_t{c.across} * c.down);
    }
    return picture;
}

CoefPicture randomPicture(Random& random, unsigned width, unsigned height, const std::string& sampling,
                          bool wild) {
    CoefPicture picture = makePicture(width, height, sampling);
    for (auto& table : picture.quant)
        for (auto& q : table) q = static_cast<std::uint16_t>(1 + random.below(wild ? 255 : 30));
    for (CoefComponent& c : picture.components)
        for (Block& block : c.blocks) {
            block = {};
            block[0] =
                static_cast<std::int16_t>(wild ? random.between(-16000, 16000) : random.between(-60, 60));
            const unsigned count = random.oneIn(3) ? 0 : random.below(random.oneIn(4) ? 64 : 8);
            for (unsigned i = 0; i < count; i++) {
                const unsigned k = 1 + random.below(random.oneIn(3) ? 63 : 12);
                const int range = wild ? 32767 >> random.below(15) : 12;
                block[zigzag()[k]] = static_cast<std::int16_t>(random.between(-range, range));
            }
        }
    return picture;
}

StreamPlan oneScan(const CoefPicture& picture) {
    StreamPlan plan;
    plan.scans.emplace_back();
    for (unsigned c = 0; c < picture.components.size(); c++) plan.scans[0].components.push_back(c);
    return plan;
}

StreamPlan separateScans(const CoefPicture& picture) {
    StreamPlan plan;
    for (unsigned c = 0; c < picture.components.size(); c++) plan.scans.push_back({{c}});
    return plan;
}

StreamPlan firstAloneScans(const CoefPicture& picture) {
    StreamPlan plan = oneScan(picture);
    std::vector<unsigned>& all = plan.scans[0].components;
    if (all.size() == 1) return plan;
    const std::vector<unsigned> others(all.begin() + 1, all.end());
    all.resize(1);
    plan.scans.push_back({others});
    return plan;
}

StreamPlan progressiveScans(const CoefPicture& picture) {
    StreamPlan plan = oneScan(picture);
    plan.progressive = true;
    plan.scans[0].se = 0;
    plan.scans[0].al = 1;
    const std::vector<unsigned> all = plan.scans[0].components;
    for (const unsigned c : all) {
        plan.scans.push_back({{c}, 1, 5, 0, 2});
        plan.scans.push_back({{c}, 6, 63, 0, 3});
        plan.scans.push_back({{c}, 6, 63, 3, 2});
    }
    for (const unsigned c : all) plan.scans.push_back({{c}, 1, 63, 2, 1});
    plan.scans.push_back({all, 0, 0, 1, 0});
    for (const unsigned c : all) plan.scans.push_back({{c}, 1, 63, 1, 0});
    return plan;
}

Bytes encode(const CoefPicture& picture, const StreamPlan& plan, Random& random) {
    Bytes stream = Bytes{0xFF, 0xD8} + plan.segments;
    if (plan.adobeTransform >= 0)
        stream = stream + segment(0xEE, {'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0,
                                         static_cast<std::uint8_t>(plan.adobeTransform)});
    for (unsigned slot = 0; slot < 4; slot++) stream = stream + quantSegment(picture, slot, plan.wideQuant);
    stream = stream + frameSegment(picture, plan.progressive ? 0xC2 : 0xC1);
    if (plan.restartInterval) stream = stream + segment(0xDD, word(plan.restartInterval));
    for (const ScanPlan& scan : plan.scans) {
        HuffmanTables tables;
        for (const unsigned table : {0u, 2u}) {
            tables[table] = randomTable(random);
            stream = stream + huffmanSegment(table, tables[table].definition);
        }
        stream =
            stream + scanSegment(picture, plan, scan) + entropyCoded(symbolsOf(picture, plan, scan), tables);
    }
    return stream + Bytes{0xFF, 0xD9};
}

std::size_t find(const Bytes& stream, std::uint8_t marker, unsigned number) {
    for (std::size_t i = 0; i + 1 < stream.size(); i++)
        if (stream[i] == 0xFF && stream[i + 1] == marker && --number == 0) return i;
    std::abort();
}

Bytes segment(unsigned marker, const Bytes& contents) {
    return Bytes{0xFF, low(marker)} + word(static_cast<unsigned>(contents.size()) + 2) + contents;
}

Bytes jfif(unsigned units, unsigned width, unsigned height, Bytes pixels) {
    pixels.resize(3 * width * height);
    const Bytes start = {'J',        'F',  'I',  'F',  0,    1,          2,
                         low(units), 0x01, 0x2C, 0x00, 0x48, low(width), low(height)};
    return segment(0xE0, start + pixels);
}

Bytes jfxx(unsigned kind, unsigned width, unsigned height, const Bytes& contents) {
    return segment(0xE0, Bytes{'J', 'F', 'X', 'X', 0, low(kind), low(width), low(height)} + contents);
}

}  // namespace test
