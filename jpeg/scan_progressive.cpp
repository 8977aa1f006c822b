// Progressive scans (T.81 G): each adds a band of coefficients or one more bit of them.
#include <algorithm>
#include <bit>

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

// Coefficients of a block: bit k is the k-th in zigzag order.
using Set = std::uint64_t;

constexpr Set bit(unsigned k) {
    return Set{1} << k;
}
constexpr Set upTo(unsigned k) {
    return (bit(k) << 1) - 1;
}

struct Block {
    std::int16_t* coefs;
    Set& nonzero;  // of the AC coefficients
};

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
        forEachBlock(c, [&](Block block) { decodeDc(c, block.coefs); });
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
                forEachBlockOfRow(c, y, [&](Block block) { refineAc(table, block); });
            else
                forEachBlockOfRow(c, y, [&](Block block) { decodeAcFirst(table, block); });
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

    // The same for a block.
    bool passBlock(Set nonzero) {
        if (endOfBandRun_ == 0 || (scan_.ah && nonzero)) return false;
        endOfBandRun_--;
        return true;
    }

    void decodeAcFirst(const DecodeTable& table, Block block) {
        BitReader::Cursor at = bits_.cursor();
        for (unsigned k = scan_.ss; k <= scan_.se; k++) {
            const LookEntry entry = bits_.next(at, table);
            k += runOf(entry);
            if (k >= blockSize) {
                if (runOf(entry) >= endOfBand)
                    endOfBandRun_ = readEndOfBandRun(at, runOf(entry)) - 1;
                else
                    BitReader::giveBackValue(at, entry);
                break;
            }
            const int value = bits_.value(at, entry);
            if (value) put(block, k, value * (1 << scan_.al));
        }
        bits_.setCursor(at);
    }

    void put(Block block, unsigned k, int value) {
        std::int16_t& coef = block.coefs[naturalOrder[k]];
        coef = static_cast<std::int16_t>(value);
        block.nonzero |= bit(k);
        if (coef == 0) [[unlikely]]  // too large for 16 bits
            block.nonzero &= ~bit(k);
        *rowHasAc_ = true;
    }

    // Blocks that the run covers, the one at hand included.
    unsigned readEndOfBandRun(BitReader::Cursor& at, unsigned run) {
        const unsigned r = run - endOfBand;
        return (1u << r) + bits_.take(at, r);
    }

    // New coefficients come with their place among those that are 0; the others get a correction bit each as
    // they are passed (T.81 G.1.2.3).
    void refineAc(const DecodeTable& table, Block block) {
        BitReader::Cursor at = bits_.cursor();
        Set rest = upTo(scan_.se) & ~upTo(scan_.ss - 1u);  // of the band, what is not passed yet
        while (endOfBandRun_ == 0 && rest) {
            const LookEntry entry = bits_.next(at, table);
            if (runOf(entry) >= endOfBand) {
                endOfBandRun_ = readEndOfBandRun(at, runOf(entry));
                break;
            }
            const int value = bits_.value(at, entry);
            Set zeros = rest & ~block.nonzero;
            for (unsigned run = runOf(entry); run > 0 && zeros; run--) zeros &= zeros - 1;
            const Set place = zeros & (0 - zeros);  // none if the band has not that many
            const Set passed = place ? rest & (place - 1) : rest;
            correct(at, block.coefs, passed & block.nonzero);
            if (value && place)
                put(block, static_cast<unsigned>(std::countr_zero(place)),
                    value > 0 ? 1 << scan_.al : -(1 << scan_.al));
            rest &= ~(passed | place);
        }
        if (endOfBandRun_ > 0) {
            correct(at, block.coefs, rest & block.nonzero);
            endOfBandRun_--;
        }
        bits_.setCursor(at);
    }

    // Gives each of the coefficients its correction bit, away from 0. A bit that is set already stays: only a
    // repeated scan has one.
    void correct(BitReader::Cursor& at, std::int16_t* coefs, Set which) {
        correctHalf(at, coefs, naturalOrder, static_cast<std::uint32_t>(which));
        correctHalf(at, coefs, naturalOrder + 32, static_cast<std::uint32_t>(which >> 32));
    }

    void correctHalf(BitReader::Cursor& at, std::int16_t* coefs, const std::uint8_t* order,
                     std::uint32_t which) {
        for (; which; which &= which - 1) {
            std::int16_t& coef = coefs[order[std::countr_zero(which)]];
            const int sign = coef >> 15;  // 0 or -1
            const int correction = static_cast<int>(bits_.take(at, 1) << scan_.al) & ~coef;
            coef = static_cast<std::int16_t>(coef + ((correction ^ sign) - sign));
        }
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
        Set* nonzero = &coefficients_.nonzero(c, 0, y);
        for (unsigned x = 0; x < across; x++) {
            if (restart_.isOn() && x % d_.layout.mcusPerRestartStep == 0) restartIfDue();
            if (passBlock(nonzero[x])) continue;
            visit(Block{coefficients_.block(c, x, y), nonzero[x]});
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
