#include "tests/jpeg/stream_builder.h"

#include <algorithm>
#include <cstdlib>

#include "jpeg/format.h"

namespace test {
namespace {

using orn32::jpeg::naturalOrder;

unsigned ceilDiv(unsigned a, unsigned b) {
    return (a + b - 1) / b;
}

class BitWriter {
 public:
    void put(unsigned value, unsigned count) {
        for (unsigned i = count; i-- > 0;) {
            byte_ = byte_ << 1 | (value >> i & 1);
            if (++filled_ == 8) flushByte();
        }
    }
    void pad() {
        while (filled_) put(1, 1);
    }
    void marker(std::uint8_t code) {
        pad();
        bytes.push_back(0xFF);
        bytes.push_back(code);
    }

    Bytes bytes;

 private:
    void flushByte() {
        bytes.push_back(static_cast<std::uint8_t>(byte_));
        if ((byte_ & 0xFF) == 0xFF) bytes.push_back(0);
        byte_ = filled_ = 0;
    }
    unsigned byte_ = 0, filled_ = 0;
};

// A prefix code for all 256 symbols, of random shape.
struct Code {
    std::array<unsigned, 256> bits{}, length{};
    Bytes definition;  // counts and symbols

    explicit Code(Random& random) {
        std::vector<unsigned> lengths;
        split(random, 256, 0, lengths);
        std::sort(lengths.begin(), lengths.end());
        std::vector<unsigned> symbols(256);
        for (unsigned i = 0; i < 256; i++) symbols[i] = i;
        for (unsigned i = 255; i > 0; i--) std::swap(symbols[i], symbols[random.below(i + 1)]);
        definition.assign(16, 0);
        unsigned code = 0;
        for (unsigned i = 0; i < 256; i++) {
            if (i) code = (code + 1) << (lengths[i] - lengths[i - 1]);
            bits[symbols[i]] = code;
            length[symbols[i]] = lengths[i];
            definition[lengths[i] - 1]++;
        }
        for (const unsigned symbol : symbols) definition.push_back(static_cast<std::uint8_t>(symbol));
    }

    // Shares n leaves below a node of the given depth out to its two halves.
    static void split(Random& random, unsigned n, unsigned depth, std::vector<unsigned>& lengths) {
        if (n == 1) return lengths.push_back(std::max(depth, 1u));
        const unsigned room = 1u << (16 - depth - 1);
        const unsigned least = n > room ? n - room : 1, most = std::min(n - 1, room);
        const unsigned left = random.oneIn(3) ? least : least + random.below(most - least + 1);
        split(random, left, depth + 1, lengths);
        split(random, n - left, depth + 1, lengths);
    }

    void put(BitWriter& out, unsigned symbol) const { out.put(bits[symbol], length[symbol]); }
};

unsigned sizeOf(int value) {
    unsigned n = 0;
    for (unsigned m = static_cast<unsigned>(std::abs(value)); m; m >>= 1) n++;
    return n;
}

unsigned valueBits(int value, unsigned size) {
    return static_cast<unsigned>(value < 0 ? value - 1 : value) & ((1u << size) - 1);
}

// What the blocks of a scan are written with.
class ScanWriter {
 public:
    ScanWriter(const CoefPicture& picture, const StreamPlan& plan, const ScanPlan& scan, Random& random)
        : picture_(picture), plan_(plan), scan_(scan), dc_(random), ac_(random) {}

    Bytes write() {
        const bool frameOfOne = picture_.components.size() == 1;
        if (scan_.components.size() == 1) {
            const CoefComponent& c = picture_.components[scan_.components[0]];
            const unsigned step = frameOfOne ? c.h * c.v : 1;
            for (unsigned y = 0; y < c.ownDown; y++)
                for (unsigned x = 0; x < c.ownAcross; x++) {
                    if (x % step == 0) restartIfDue();
                    putBlock(scan_.components[0], c.at(x, y));
                }
        } else {
            writeTogether();
        }
        flushRun();
        out_.pad();
        return out_.bytes;
    }

    Bytes tables() const {
        return segment(0xC4, Bytes{0x00} + dc_.definition) + segment(0xC4, Bytes{0x10} + ac_.definition);
    }

 private:
    void writeTogether() {
        const unsigned mcusAcross = ceilDiv(picture_.width, 8 * picture_.hMax());
        const unsigned mcusDown = ceilDiv(picture_.height, 8 * picture_.vMax());
        for (unsigned row = 0; row < mcusDown; row++)
            for (unsigned mcu = 0; mcu < mcusAcross; mcu++) {
                restartIfDue();
                for (const unsigned i : scan_.components) {
                    const CoefComponent& c = picture_.components[i];
                    for (unsigned y = 0; y < c.v; y++)
                        for (unsigned x = 0; x < c.h; x++) putBlock(i, c.at(mcu * c.h + x, row * c.v + y));
                }
            }
    }

    void restartIfDue() {
        if (plan_.restartInterval && sinceRestart_ == plan_.restartInterval) {
            flushRun();
            out_.marker(static_cast<std::uint8_t>(0xD0 + restarts_++ % 8));
            predictors_ = {};
            sinceRestart_ = 0;
        }
        sinceRestart_++;
    }

    void putBlock(unsigned c, const Block& block) {
        if (!plan_.progressive) {
            putDc(c, block[0]);
            putBand(block, 1, 63);
        } else if (scan_.ss == 0) {
            if (scan_.ah)
                out_.put(static_cast<unsigned>(block[0] >> scan_.al) & 1, 1);
            else
                putDc(c, block[0] >> scan_.al);
        } else if (scan_.ah) {
            putRefinement(block);
        } else {
            putBand(block, scan_.ss, scan_.se);
        }
    }

    void putDc(unsigned c, int value) {
        const int difference = value - predictors_[c];
        predictors_[c] = value;
        const unsigned size = sizeOf(difference);
        dc_.put(out_, size);
        out_.put(valueBits(difference, size), size);
    }

    // Magnitudes lose their low bits, unlike shifts of negative numbers.
    int atPrecision(int value) const { return value < 0 ? -(-value >> scan_.al) : value >> scan_.al; }

    void putBand(const Block& block, unsigned from, unsigned to) {
        unsigned run = 0;
        for (unsigned k = from; k <= to; k++) {
            const int value = atPrecision(block[naturalOrder[k]]);
            if (value == 0) {
                run++;
                continue;
            }
            flushRun();
            for (; run > 15; run -= 16) ac_.put(out_, 0xF0);
            const unsigned size = sizeOf(value);
            ac_.put(out_, run << 4 | size);
            out_.put(valueBits(value, size), size);
            run = 0;
        }
        if (run > 0) endBlock();
    }

    void endBlock() {
        if (!plan_.progressive) return ac_.put(out_, 0);
        if (++endRun_ == 0x7FFF) flushRun();
    }

    void flushRun() {
        if (endRun_ == 0) return;
        const unsigned size = sizeOf(static_cast<int>(endRun_)) - 1;
        ac_.put(out_, size << 4);
        out_.put(endRun_ & ((1u << size) - 1), size);
        endRun_ = 0;
        for (const unsigned bit : pending_) out_.put(bit, 1);
        pending_.clear();
    }

    void putRefinement(const Block& block) {
        unsigned lastNew = 0;
        for (unsigned k = scan_.ss; k <= scan_.se; k++)
            if (std::abs(atPrecision(block[naturalOrder[k]])) == 1) lastNew = k;
        unsigned run = 0;
        std::vector<unsigned> corrections;
        for (unsigned k = scan_.ss; k <= scan_.se; k++) {
            const int value = atPrecision(block[naturalOrder[k]]), magnitude = std::abs(value);
            if (magnitude == 0) {
                run++;
                continue;
            }
            while (run > 15 && k <= lastNew) {
                flushRun();
                ac_.put(out_, 0xF0);
                run -= 16;
                for (const unsigned bit : corrections) out_.put(bit, 1);
                corrections.clear();
            }
            if (magnitude > 1) {
                corrections.push_back(static_cast<unsigned>(magnitude) & 1);
                continue;
            }
            flushRun();
            ac_.put(out_, run << 4 | 1);
            out_.put(value > 0, 1);
            for (const unsigned bit : corrections) out_.put(bit, 1);
            corrections.clear();
            run = 0;
        }
        if (run > 0 || !corrections.empty()) {
            endRun_++;
            pending_.insert(pending_.end(), corrections.begin(), corrections.end());
            if (endRun_ == 0x7FFF) flushRun();
        }
    }

    const CoefPicture& picture_;
    const StreamPlan& plan_;
    const ScanPlan& scan_;
    Code dc_, ac_;
    BitWriter out_;
    std::array<int, 4> predictors_{};
    unsigned sinceRestart_ = 0, restarts_ = 0, endRun_ = 0;
    std::vector<unsigned> pending_;  // correction bits of the blocks in the run
};

Bytes word(unsigned value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

Bytes quantSegment(const CoefPicture& picture, unsigned slot, bool wide) {
    Bytes contents = {static_cast<std::uint8_t>((wide ? 0x10 : 0) | slot)};
    for (unsigned k = 0; k < 64; k++) {
        const unsigned value = picture.quant[slot][naturalOrder[k]];
        contents = wide ? contents + word(value) : contents + Bytes{static_cast<std::uint8_t>(value)};
    }
    return segment(0xDB, contents);
}

Bytes frameSegment(const CoefPicture& picture, bool progressive) {
    Bytes contents = Bytes{8} + word(picture.height) + word(picture.width);
    contents.push_back(static_cast<std::uint8_t>(picture.components.size()));
    std::uint8_t id = 1;
    for (const CoefComponent& c : picture.components)
        contents = contents +
                   Bytes{id++, static_cast<std::uint8_t>(c.h << 4 | c.v), static_cast<std::uint8_t>(c.tq)};
    return segment(progressive ? 0xC2 : 0xC1, contents);
}

Bytes scanSegment(const ScanPlan& scan) {
    Bytes contents = {static_cast<std::uint8_t>(scan.components.size())};
    for (const unsigned c : scan.components)
        contents = contents + Bytes{static_cast<std::uint8_t>(c + 1), 0x00};
    return segment(0xDA,
                   contents + Bytes{static_cast<std::uint8_t>(scan.ss), static_cast<std::uint8_t>(scan.se),
                                    static_cast<std::uint8_t>(scan.ah << 4 | scan.al)});
}

}  // namespace

unsigned CoefPicture::hMax() const {
    unsigned most = 1;
    for (const CoefComponent& c : components) most = std::max(most, c.h);
    return most;
}

unsigned CoefPicture::vMax() const {
    unsigned most = 1;
    for (const CoefComponent& c : components) most = std::max(most, c.v);
    return most;
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

void randomiseBlocks(CoefPicture& picture, Random& random, bool wild) {
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
                block[naturalOrder[k]] = static_cast<std::int16_t>(random.between(-range, range));
            }
        }
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
    stream = stream + frameSegment(picture, plan.progressive);
    if (plan.restartInterval) stream = stream + segment(0xDD, word(plan.restartInterval));
    for (const ScanPlan& scan : plan.scans) {
        ScanWriter writer(picture, plan, scan, random);
        stream = stream + writer.tables() + scanSegment(scan) + writer.write();
    }
    return stream + Bytes{0xFF, 0xD9};
}

Bytes segment(std::uint8_t marker, const Bytes& contents) {
    return Bytes{0xFF, marker} + word(static_cast<unsigned>(contents.size()) + 2) + contents;
}

}  // namespace test
