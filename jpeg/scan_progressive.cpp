// Progressive scans (T.81 G): each adds a band of coefficients or one more bit of them.
#include <algorithm>

#include "jpeg/decoder.h"
#include "jpeg/error.h"

namespace orn32::jpeg {
namespace {

// No more scans can tell anything new: every one of 64 coefficients of 4 components arrives once and is
// refined at most 13 times. A stream that goes on is not followed.
constexpr unsigned mostScans = maxComponents * blockSize * 14;

bool isValid(const Scan& scan) {
    if (scan.ss ? scan.ss > scan.se || scan.se >= blockSize || scan.count != 1 : scan.se != 0) return false;
    if (scan.ah && scan.al != scan.ah - 1) return false;
    return scan.al < 14;
}

class ProgressiveScan {
 public:
    ProgressiveScan(Decoder& decoder, Coefficients& coefficients)
        : d_(decoder),
          coefficients_(coefficients),
          scan_(decoder.headers.scan),
          bits_(decoder.in),
          restart_(decoder.headers.restartInterval) {}

    void decode() {
        if (scan_.ss)
            decodeAc(scan_.components[0]);
        else if (scan_.count == 1)
            decodeDcAlone(scan_.components[0]);
        else
            decodeDcTogether();
        bits_.finish();
    }

 private:
    void decodeDcTogether() {
        for (unsigned row = 0; row < d_.output.mcuRows(); row++)
            for (unsigned mcu = 0; mcu < d_.layout.mcusPerRow; mcu++) {
                restartIfDue();
                for (int i = 0; i < scan_.count; i++) decodeDcMcu(scan_.components[i], mcu, row);
                stopIfCut();
            }
    }

    void decodeDcMcu(unsigned c, unsigned mcu, unsigned row) {
        const ComponentLayout& layout = d_.layout.components[c];
        for (unsigned y = 0; y < layout.v; y++)
            for (unsigned x = 0; x < layout.h; x++)
                decodeDc(c, coefficients_.block(c, mcu * layout.h + x, row * layout.v + y));
    }

    void decodeDcAlone(unsigned c) {
        forEachBlock(c, [&](std::int16_t* coefs) { decodeDc(c, coefs); });
    }

    void decodeDc(unsigned c, std::int16_t* coefs) {
        if (scan_.ah) {
            if (bits_.take(1)) coefs[0] = static_cast<std::int16_t>(coefs[0] | 1 << scan_.al);
            return;
        }
        predictors_[c] += static_cast<unsigned>(decodeDifference(bits_, d_.tables.dc(d_.component(c))));
        coefs[0] = static_cast<std::int16_t>(predictors_[c] << scan_.al);
    }

    void decodeAc(unsigned c) {
        const DecodeTable& table = d_.tables.ac(d_.component(c));
        const ComponentLayout& layout = d_.layout.components[c];
        const unsigned rows = std::min(layout.blocksDown, coefficients_.down(c));
        for (unsigned y = 0; y < rows; y++) {
            rowHasAc_ = &coefficients_.rowHasAc(c, y);
            if (passRow(layout.blocksAcross)) continue;
            if (scan_.ah)
                forEachBlockOfRow(c, y, [&](std::int16_t* coefs) { refineAc(table, coefs); });
            else
                forEachBlockOfRow(c, y, [&](std::int16_t* coefs) { decodeAcFirst(table, coefs); });
        }
    }

    // A row that an end-of-band run covers, with nothing to refine, costs no work: a few bytes can stand for
    // a scan of a huge picture.
    bool passRow(unsigned blocks) {
        if (endOfBandRun_ < blocks || (scan_.ah && *rowHasAc_)) return false;
        if (!restart_.pass(ceilDivide(blocks, d_.layout.mcusPerRestartStep))) return false;
        endOfBandRun_ -= blocks;
        return true;
    }

    void decodeAcFirst(const DecodeTable& table, std::int16_t* coefs) {
        if (endOfBandRun_ > 0) {
            endOfBandRun_--;
            return;
        }
        for (unsigned k = scan_.ss; k <= scan_.se; k++) {
            const LookEntry entry = bits_.next(table, blockSize - k);
            const unsigned run = entry >> 8 & 0xFF;
            if (run >= endOfBand) {
                endOfBandRun_ = readEndOfBandRun(run) - 1;
                return;
            }
            k += run;
            if (k >= blockSize) return;
            const int value = valueOf(entry);
            if (value) put(coefs, k, value * (1 << scan_.al));
        }
    }

    void put(std::int16_t* coefs, unsigned k, int value) {
        coefs[naturalOrder[k]] = static_cast<std::int16_t>(value);
        *rowHasAc_ = true;
    }

    int valueOf(LookEntry entry) {
        if (entry & entryComplete) return static_cast<std::int32_t>(entry) >> 16;
        const unsigned count = entry >> 16;
        return extend(bits_.take(count), count);
    }

    // Blocks that the run covers, the one at hand included.
    unsigned readEndOfBandRun(unsigned run) {
        const unsigned r = run - endOfBand;
        return (1u << r) + bits_.take(r);
    }

    // New coefficients come with their place among those that are 0; the others get a correction bit each as
    // they are passed (T.81 G.1.2.3).
    void refineAc(const DecodeTable& table, std::int16_t* coefs) {
        unsigned k = scan_.ss;
        if (endOfBandRun_ == 0) {
            for (; k <= scan_.se; k++) {
                const LookEntry entry = bits_.next(table);
                unsigned run = entry >> 8 & 0xFF;
                if (run >= endOfBand) {
                    endOfBandRun_ = readEndOfBandRun(run);
                    break;
                }
                const int value = valueOf(entry);
                k = passZeros(coefs, k, run);
                if (value && k <= scan_.se) put(coefs, k, value > 0 ? 1 << scan_.al : -(1 << scan_.al));
            }
        }
        if (endOfBandRun_ > 0) {
            if (hasAc(coefs)) passZeros(coefs, k, blockSize);
            endOfBandRun_--;
        }
    }

    // Corrects the coefficients from k on that are not 0, up to the zero after run others, and returns where
    // that is: behind the band if there is none.
    unsigned passZeros(std::int16_t* coefs, unsigned k, unsigned run) {
        for (; k <= scan_.se; k++) {
            std::int16_t& coef = coefs[naturalOrder[k]];
            if (coef)
                correct(coef);
            else if (run-- == 0)
                break;
        }
        return k;
    }

    // A bit that is set already stays: only a repeated scan has one.
    void correct(std::int16_t& coef) {
        const int bit = 1 << scan_.al;
        if (bits_.take(1) && !(coef & bit))
            coef = static_cast<std::int16_t>(coef > 0 ? coef + bit : coef - bit);
    }

    // The blocks of a component alone, row by row.
    template <class Visit>
    void forEachBlock(unsigned c, Visit visit) {
        const ComponentLayout& layout = d_.layout.components[c];
        const unsigned rows = std::min(layout.blocksDown, coefficients_.down(c));
        for (unsigned y = 0; y < rows; y++) forEachBlockOfRow(c, y, visit);
    }

    template <class Visit>
    void forEachBlockOfRow(unsigned c, unsigned y, Visit visit) {
        const unsigned across = d_.layout.components[c].blocksAcross;
        for (unsigned x = 0; x < across; x++) {
            if (x % d_.layout.mcusPerRestartStep == 0) restartIfDue();
            visit(coefficients_.block(c, x, y));
            stopIfCut();
        }
    }

    void restartIfDue() {
        if (!restart_.due()) return;
        bits_.resynchronise();
        endOfBandRun_ = 0;
        for (unsigned& predictor : predictors_) predictor = 0;
    }

    void stopIfCut() const {
        if (bits_.overrun()) fail(Detail::endOfData);
    }

    Decoder& d_;
    Coefficients& coefficients_;
    const Scan& scan_;
    BitReader bits_;
    RestartCounter restart_;
    unsigned predictors_[maxComponents] = {};
    unsigned endOfBandRun_ = 0;
    bool* rowHasAc_ = nullptr;  // of the block row at hand
};

bool prepareTables(Decoder& d) {
    const Scan& scan = d.headers.scan;
    if (scan.ss) return d.tables.prepareAc(d.headers, d.component(scan.components[0]));
    if (scan.ah) return true;
    for (int i = 0; i < scan.count; i++)
        if (!d.tables.prepareDc(d.headers, d.component(scan.components[i]))) return false;
    return true;
}

}  // namespace

// What a cut scan has brought is shown, but for the first one.
int decodeProgressiveScans(Decoder& d, Coefficients& coefficients) {
    for (unsigned done = 0;;) {
        if (!isValid(d.headers.scan) || done == mostScans) return refuse(Detail::scanParameters);
        if (!prepareTables(d)) return refuse(Detail::components);
        try {
            ProgressiveScan(d, coefficients).decode();
        } catch (const Failure& failure) {
            if (done == 0 || failure.detail != static_cast<int>(Detail::endOfData)) throw;
            record(Detail::endOfData);
            return 0;
        }
        done++;
        const int code = d.reader.readScanHeader(true);
        if (code == ERR_NO_DATA || d.reader.ended()) return 0;
        if (code) return code;
    }
}

}  // namespace orn32::jpeg
