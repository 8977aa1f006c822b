// Sequential scans (T.81 F.2): blocks that come whole.
#include <algorithm>

#include "jpeg/decoder.h"
#include "jpeg/error.h"

namespace orn32::jpeg {

namespace {

inline int differenceAt(BitReader& bits, BitReader::Cursor& at, const DecodeTable& table) {
    const LookEntry entry = bits.next(at, table);
    const unsigned run = runOf(entry);
    if (run != 0 && run != endOfBand) [[unlikely]]
        fail(Detail::huffmanCode);  // more than 15 value bits
    return bits.value(at, entry);
}

// False at the end of the block.
[[gnu::always_inline]] inline bool decodeCoefficient(BitReader& bits, BitReader::Cursor& at,
                                                     const DecodeTable& ac, std::int16_t* coefs,
                                                     unsigned& last) {
    const LookEntry entry = bits.next(at, ac);
    const unsigned k = last + 1 + runOf(entry);
    if (k >= blockSize) {
        if (runOf(entry) < endOfBand) BitReader::giveBackValue(at, entry);
        return false;
    }
    coefs[naturalOrder[k]] = static_cast<std::int16_t>(bits.value(at, entry));
    last = k;
    return k < blockSize - 1;
}

// Two coefficients, or one, if the look-up has them and the block goes on behind them; else false, and
// nothing is done.
[[gnu::always_inline]] inline bool decodePair(BitReader::Cursor& at, const DecodeTable& ac,
                                              std::int16_t* coefs, unsigned& last) {
    const LookPair& pair = ac.pairs[at.acc >> (32 - lookBits)];
    const unsigned k = last + pair.second.step;
    if (k >= blockSize - 1) return false;
    coefs[naturalOrder[last + pair.first.step]] = pair.first.value;
    coefs[naturalOrder[k]] = pair.second.value;
    BitReader::drop(at, pair.second.bits);
    last = k;
    return true;
}

// decodeBlock for a scan that keeps the cursor from block to block: calls and their stack frames took a tenth
// of a load.
[[gnu::always_inline]] inline unsigned decodeBlockAt(BitReader& bits, BitReader::Cursor& at,
                                                     const DecodeTable& dc, const DecodeTable& ac,
                                                     std::int16_t& predictor, std::int16_t* coefs) {
    // Whether bits run short behind a symbol is a matter of chance, and guessing it wrong costs more than
    // filling before every second look-up: two never take more.
    static_assert(2 * lookBits <= 24);
    bits.fill(at);
    predictor = static_cast<std::int16_t>(predictor + differenceAt(bits, at, dc));
    coefs[0] = predictor;
    unsigned last = 0;
    for (;;) {
        bits.fill(at);
        if (decodePair(at, ac, coefs, last) && decodePair(at, ac, coefs, last)) continue;
        if (!decodeCoefficient(bits, at, ac, coefs, last)) return last;
    }
}

}  // namespace

int decodeDifference(BitReader& bits, const DecodeTable& table) {
    BitReader::Cursor at = bits.cursor();
    const int difference = differenceAt(bits, at, table);
    bits.setCursor(at);
    return difference;
}

unsigned decodeBlock(BitReader& bits, const DecodeTable& dc, const DecodeTable& ac, std::int16_t& predictor,
                     std::int16_t* coefs) {
    BitReader::Cursor at = bits.cursor();
    const unsigned last = decodeBlockAt(bits, at, dc, ac, predictor, coefs);
    bits.setCursor(at);
    return last;
}

namespace {

bool prepareTables(Decoder& d, unsigned c) {
    const Component& component = d.component(c);
    if (!d.tables.prepareDc(d.headers, component) || !d.tables.prepareAc(d.headers, component)) return false;
    d.tables.preparePairs(component);
    return true;
}

class InterleavedScan {
 public:
    explicit InterleavedScan(Decoder& decoder)
        : layout_(decoder.layout),
          output_(decoder.output),
          bits_(decoder.in),
          restart_(decoder.headers.restartInterval) {
        for (unsigned c = 0; c < layout_.count; c++) {
            const Component& component = decoder.component(c);
            const unsigned h = layout_.components[c].h, v = layout_.components[c].v;
            for (unsigned i = 0; i < h * v; i++)
                blocks_[blocksPerMcu_++] = {
                    &decoder.tables.dc(component), &decoder.tables.ac(component), c, h, i % h, i / h};
        }
    }

    void decodeRow(unsigned mcuRow) {
        output_.beginRow(mcuRow);
        unsigned mcu = 0;
        try {
            for (; mcu < layout_.mcusPerRow; mcu++) decodeMcu(mcu);
        } catch (const Failure&) {
            output_.endRow(mcu);
            throw;
        }
        output_.endRow(mcu);
    }

 private:
    void decodeMcu(unsigned mcu) {
        if (restart_.isOn() && mcu % layout_.mcusPerRestartStep == 0 && restart_.due()) {
            bits_.resynchronise();
            for (std::int16_t& predictor : predictors_) predictor = 0;
        }
        BitReader::Cursor at = bits_.cursor();
        for (unsigned i = 0; i < blocksPerMcu_; i++) {
            const BlockOfMcu& block = blocks_[i];
            alignas(16) std::int16_t coefs[blockSize];
            clearBlock(coefs);
            const unsigned last =
                decodeBlockAt(bits_, at, *block.dc, *block.ac, predictors_[block.component], coefs);
            if (bits_.overrun(at)) fail(Detail::endOfData);
            output_.place(block.component, mcu * block.across + block.x, block.y, coefs, last);
        }
        bits_.setCursor(at);
    }

    // One list for all components: loops over their rows and columns would end where no processor foresees
    // it.
    struct BlockOfMcu {
        const DecodeTable* dc;
        const DecodeTable* ac;
        unsigned component;
        unsigned across;  // blocks of the component in an MCU
        unsigned x, y;    // among them
    };

    const Layout& layout_;
    Output& output_;
    BitReader bits_;
    RestartCounter restart_;
    BlockOfMcu blocks_[maxBlocksPerMcu];
    unsigned blocksPerMcu_ = 0;
    std::int16_t predictors_[maxComponents] = {};
};

// One of several scans, into the coefficient buffers: a component alone has its own blocks row by row,
// several have theirs MCU by MCU. Rows that are not shown are left to the search for the next marker.
class CollectingScan {
 public:
    CollectingScan(Decoder& decoder, Coefficients& coefficients)
        : d_(decoder),
          coefficients_(coefficients),
          bits_(decoder.in),
          restart_(decoder.headers.restartInterval) {}

    void decode() {
        const Scan& scan = d_.headers.scan;
        if (scan.count == 1)
            decodeAlone(scan.components[0]);
        else
            decodeTogether(scan);
        bits_.finish();
    }

 private:
    void decodeAlone(unsigned c) {
        const ComponentLayout& layout = d_.layout.components[c];
        const unsigned rows = std::min(layout.blocksDown, coefficients_.down(c));
        for (unsigned y = 0; y < rows; y++)
            for (unsigned x = 0; x < layout.blocksAcross; x++) {
                restartIfDue();
                decodeInto(c, x, y);
            }
    }

    void decodeTogether(const Scan& scan) {
        for (unsigned row = 0; row < d_.output.mcuRows(); row++)
            for (unsigned mcu = 0; mcu < d_.layout.mcusPerRow; mcu++) {
                restartIfDue();
                for (int i = 0; i < scan.count; i++) decodeMcuOf(scan.components[i], mcu, row);
            }
    }

    void decodeMcuOf(unsigned c, unsigned mcu, unsigned row) {
        const ComponentLayout& layout = d_.layout.components[c];
        for (unsigned y = 0; y < layout.v; y++)
            for (unsigned x = 0; x < layout.h; x++) decodeInto(c, mcu * layout.h + x, row * layout.v + y);
    }

    void restartIfDue() {
        if (!restart_.due()) return;
        bits_.resynchronise();
        for (std::int16_t& predictor : predictors_) predictor = 0;
    }

    // A component that comes in two scans has only the second one's coefficients.
    void decodeInto(unsigned c, unsigned x, unsigned y) {
        std::int16_t* coefs = coefficients_.block(c, x, y);
        clearBlock(coefs);
        const unsigned last = decodeBlock(bits_, d_.tables.dc(d_.component(c)), d_.tables.ac(d_.component(c)),
                                          predictors_[c], coefs);
        coefficients_.nonzero(c, x, y) = std::uint64_t{1} << last;
        if (bits_.overrun()) fail(Detail::endOfData);
    }

    Decoder& d_;
    Coefficients& coefficients_;
    BitReader bits_;
    RestartCounter restart_;
    std::int16_t predictors_[maxComponents] = {};
};

}  // namespace

int decodeInterleaved(Decoder& d) {
    for (unsigned c = 0; c < d.layout.count; c++)
        if (!prepareTables(d, c)) return refuse(Detail::components);
    InterleavedScan scan(d);
    for (unsigned row = 0; row < d.output.mcuRows(); row++) scan.decodeRow(row);
    return 0;
}

int decodeSequentialScans(Decoder& d, Coefficients& coefficients) {
    unsigned seen = 0;
    for (;;) {
        const Scan& scan = d.headers.scan;
        for (int i = 0; i < scan.count; i++)
            if (!prepareTables(d, scan.components[i])) return refuse(Detail::components);
        CollectingScan(d, coefficients).decode();
        seen += static_cast<unsigned>(scan.count);
        if (seen >= d.layout.count) return 0;
        if (const int code = d.reader.readScanHeader()) return code;
    }
}

}  // namespace orn32::jpeg
