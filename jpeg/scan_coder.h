// The coding procedures of the scans of optimised and progressive pictures (T.81 F.1.2 and G.1.2), over
// stored coefficients and for either pass.
#pragma once

#include "jpeg/coefficient_planes.h"
#include "jpeg/scan_pass.h"

namespace orn32::jpeg {

// Blocks that have no more coefficients to code in a band are counted, and the count is written before the
// next symbol; behind it come the correction bits that these blocks have left over.
template <class Pass>
class EndOfBandRun {
 public:
    EndOfBandRun(Pass& pass, unsigned slot) : pass_(pass), slot_(slot) {}

    void extend() {
        if (++length_ == longest) end();
    }
    void extend(const CorrectionBits& corrections) {
        pass_.hold(corrections);
        extend();
    }

    void end() {
        if (length_ == 0) return;
        const unsigned n = static_cast<unsigned>(std::bit_width(length_)) - 1;
        pass_.ac(slot_).put(n << 4, 0);
        if (n > 0) pass_.put(length_ - (1u << n), n);
        pass_.putHeld();
        length_ = 0;
    }

 private:
    static constexpr unsigned longest = 0x7FFF;
    Pass& pass_;
    unsigned slot_;
    unsigned length_ = 0;
};

template <class Pass>
class ScanCoder {
 public:
    ScanCoder(Pass& pass, const EncodeFrame& frame, const Scan& scan, const CoefficientPlanes& planes)
        : pass_(pass), frame_(frame), scan_(scan), planes_(planes) {}

    void code() {
        if (scan_.ss > 0) return codeBand();
        if (scan_.ah > 0) return refineDc();
        codeMcus();
    }

 private:
    // Calls visit(component, block) for every block in the order of an interleaved scan.
    template <class Visit>
    void forEachMcuBlock(Visit visit) {
        for (unsigned row = 0; row < frame_.mcuRows(); row++)
            for (unsigned column = 0; column < frame_.mcusPerRow(); column++)
                for (int i = 0; i < scan_.count; i++) visitComponent(scan_.components[i], column, row, visit);
    }
    template <class Visit>
    void visitComponent(int c, unsigned column, unsigned row, Visit visit) {
        const Component& component = frame_.components[c];
        for (unsigned y = 0; y < component.v; y++)
            for (unsigned x = 0; x < component.h; x++)
                visit(c, planes_.block(c, column * component.h + x, row * component.v + y));
    }

    // DC of a first progressive scan, or whole blocks of a sequential one.
    void codeMcus() {
        int predictors[3] = {};
        const bool withAc = scan_.se > 0;
        forEachMcuBlock([&](int c, const StoredBlock& block) {
            const int dc = block.dc() >> scan_.al;
            pass_.beginBlock();
            pass_.dc(frame_.components[c].td).putValue(0, dc - predictors[c]);
            predictors[c] = dc;
            if (withAc) codeAc(pass_.ac(frame_.components[c].ta), block);
        });
    }

    void refineDc() {
        forEachMcuBlock([&](int, const StoredBlock& block) {
            pass_.beginBlock();
            pass_.put(static_cast<unsigned>(block.dc()) >> scan_.al & 1, 1);
        });
    }

    // A band of one component, which has only the blocks that hold samples of the picture.
    void codeBand() {
        const int c = scan_.components[0];
        EndOfBandRun<Pass> run(pass_, frame_.components[c].ta);
        const Size blocks = frame_.blocksOf(c);
        for (unsigned y = 0; y < blocks.height; y++) {
            for (unsigned x = 0; x < blocks.width; x++) {
                pass_.beginBlock();
                const StoredBlock block = planes_.block(c, x, y);
                scan_.ah == 0 ? codeFirst(block, run) : refine(block, run);
            }
        }
        pass_.beginBlock();
        run.end();
    }

    // The block's coefficients in the band that are not zero without some low bits.
    PositionMask nonzeroInBand(const StoredBlock& block, unsigned leftOut) const {
        return block.nonzero(leftOut) & upTo(scan_.se).without(before(scan_.ss));
    }

    void codeFirst(const StoredBlock& block, EndOfBandRun<Pass>& run) {
        auto sink = pass_.ac(slot());
        unsigned next = scan_.ss;
        forEachBit(nonzeroInBand(block, scan_.al), [&](unsigned k) {
            run.end();
            unsigned zeros = k - next;
            for (; zeros > 15; zeros -= 16) sink.put(sixteenZeros, 0);
            sink.putValue(zeros, towardsZero(block.at(k)));
            next = k + 1;
        });
        if (next <= scan_.se) run.extend();
    }

    // A coefficient without its lowest bits.
    int towardsZero(int value) const {
        const int sign = value >> 31;
        return ((((value ^ sign) - sign) >> scan_.al) ^ sign) - sign;
    }

    // Coefficients that are known from earlier scans get one bit more. New ones are 1 or -1 at this
    // precision: they are coded with the number of zeros before them, in which known ones do not count, and
    // bring along the bits of the known ones before them.
    void refine(const StoredBlock& block, EndOfBandRun<Pass>& run) {
        auto sink = pass_.ac(slot());
        PositionMask known = nonzeroInBand(block, scan_.ah);
        unsigned next = scan_.ss;
        forEachBit(nonzeroInBand(block, scan_.al).without(known), [&](unsigned k) {
            run.end();
            PositionMask passed = known & before(k);
            known = known.without(before(k));
            unsigned zeros = k - next - count(passed);
            if (zeros > 15) putSixteens(block, passed, next, k, zeros);
            sink.put(zeros << 4 | 1, block.at(k) > 0);
            pass_.put(corrections(block, passed));
            next = k + 1;
        });
        if (next <= scan_.se) run.extend(corrections(block, known));
    }

    // Sixteen zeros are coded as soon as a coefficient that is not zero lies behind them, new or known; the
    // bits of the known ones passed until then come along. What is left of these and of the zeros goes with
    // the new coefficient at end.
    void putSixteens(const StoredBlock& block, PositionMask& known, unsigned next, unsigned end,
                     unsigned& zeros) {
        auto sink = pass_.ac(slot());
        zeros = 0;
        const PositionMask all = known;
        const auto pass = [&](unsigned k) {
            zeros += k - next;
            next = k + 1;
            for (; zeros > 15; zeros -= 16) {
                sink.put(sixteenZeros, 0);
                pass_.put(corrections(block, known & before(k)));
                known = known.without(before(k));
            }
        };
        forEachBit(all, pass);
        pass(end);
    }

    CorrectionBits corrections(const StoredBlock& block, const PositionMask& which) const {
        return {block, which, scan_.al};
    }

    // Positions below one, from 0 to 63.
    static PositionMask before(unsigned k) {
        if (k < 32) return {(1u << k) - 1, 0};
        return {~0u, (1u << (k - 32)) - 1};
    }
    static PositionMask upTo(unsigned k) {
        PositionMask mask = before(k);
        mask.set(k, true);
        return mask;
    }
    static unsigned count(const PositionMask& mask) {
        unsigned n = 0;
        forEachBit(mask, [&](unsigned) { n++; });
        return n;
    }

    unsigned slot() const { return frame_.components[scan_.components[0]].ta; }

    Pass& pass_;
    const EncodeFrame& frame_;
    const Scan& scan_;
    const CoefficientPlanes& planes_;
};

}  // namespace orn32::jpeg
