// Sequential scans (T.81 F.2): blocks that come whole.
#include <algorithm>

#include "jpeg/decoder.h"
#include "jpeg/error.h"

namespace orn32::jpeg {

int decodeDifference(BitReader& bits, const DecodeTable& table) {
    const LookEntry entry = bits.next(table);
    const unsigned run = entry >> 8 & 0xFF;
    if (run != 0 && run != endOfBand) fail(Detail::huffmanCode);  // more than 15 value bits
    if (entry & entryComplete) return static_cast<std::int32_t>(entry) >> 16;
    const unsigned count = entry >> 16;
    return extend(bits.take(count), count);
}

unsigned decodeBlock(BitReader& bits, const DecodeTable& dc, const DecodeTable& ac, std::int16_t& predictor,
                     std::int16_t* coefs) {
    predictor = static_cast<std::int16_t>(predictor + decodeDifference(bits, dc));
    coefs[0] = predictor;
    unsigned last = 0;
    for (unsigned k = 1; k < blockSize; k++) {
        const LookEntry entry = bits.next(ac, blockSize - k);
        k += entry >> 8 & 0xFF;
        if (k >= blockSize) break;
        int value = static_cast<std::int32_t>(entry) >> 16;
        if (!(entry & entryComplete)) {
            const unsigned count = entry >> 16;
            value = extend(bits.take(count), count);
        }
        coefs[naturalOrder[k]] = static_cast<std::int16_t>(value);
        last = k;
    }
    return last;
}

namespace {

bool prepareTables(Decoder& d, unsigned c) {
    return d.tables.prepareDc(d.headers, d.component(c)) && d.tables.prepareAc(d.headers, d.component(c));
}

class InterleavedScan {
 public:
    explicit InterleavedScan(Decoder& decoder)
        : d_(decoder), bits_(decoder.in), restart_(decoder.headers.restartInterval) {}

    void decodeRow(unsigned mcuRow) {
        d_.output.beginRow(mcuRow);
        unsigned mcu = 0;
        try {
            for (; mcu < d_.layout.mcusPerRow; mcu++) decodeMcu(mcu);
        } catch (const Failure&) {
            d_.output.endRow(mcu);
            throw;
        }
        d_.output.endRow(mcu);
    }

 private:
    void decodeMcu(unsigned mcu) {
        if (mcu % d_.layout.mcusPerRestartStep == 0 && restart_.due()) {
            bits_.resynchronise();
            for (std::int16_t& predictor : predictors_) predictor = 0;
        }
        for (unsigned c = 0; c < d_.layout.count; c++) {
            const ComponentLayout& layout = d_.layout.components[c];
            const DecodeTable& dc = d_.tables.dc(d_.component(c));
            const DecodeTable& ac = d_.tables.ac(d_.component(c));
            for (unsigned y = 0; y < layout.v; y++)
                for (unsigned x = 0; x < layout.h; x++) {
                    alignas(16) std::int16_t coefs[blockSize] = {};
                    const unsigned last = decodeBlock(bits_, dc, ac, predictors_[c], coefs);
                    if (bits_.overrun()) fail(Detail::endOfData);
                    d_.output.place(c, mcu * layout.h + x, y, coefs, last);
                }
        }
    }

    Decoder& d_;
    BitReader bits_;
    RestartCounter restart_;
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
        std::fill_n(coefs, blockSize, std::int16_t{0});
        decodeBlock(bits_, d_.tables.dc(d_.component(c)), d_.tables.ac(d_.component(c)), predictors_[c],
                    coefs);
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
