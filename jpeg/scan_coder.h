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

    void extend(const CorrectionBits& corrections = {}) {
        length_++;
        pass_.hold(corrections);
        if (length_ == longest) end();
    }

    void end() {
        if (length_ == 0) return;
        const unsigned n = static_cast<unsigned>(std::bit_width(length_)) - 1;
        pass_.ac(slot_).put(n << 4, 0);
        pass_.put(length_ - (1u << n), n);
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

    NonzeroMask band(NonzeroMask mask) const {
        const std::uint64_t inBand = ~std::uint64_t{0} << scan_.ss & ~std::uint64_t{0} >> (63 - scan_.se);
        return {mask.low & static_cast<std::uint32_t>(inBand),
                mask.high & static_cast<std::uint32_t>(inBand >> 32)};
    }

    // A coefficient at the scan's precision, rounded towards zero.
    int scaled(int value) const {
        const int sign = value >> 31;
        return ((((value ^ sign) - sign) >> scan_.al) ^ sign) - sign;
    }

    void codeFirst(const StoredBlock& block, EndOfBandRun<Pass>& run) {
        auto sink = pass_.ac(slot());
        unsigned next = scan_.ss;
        forEachBit(band(block.nonzero), [&](unsigned k) {
            const int value = scaled(block.at(k));
            if (value == 0) return;
            run.end();
            unsigned zeros = k - next;
            for (; zeros > 15; zeros -= 16) sink.put(sixteenZeros, 0);
            sink.putValue(zeros, value);
            next = k + 1;
        });
        if (next <= scan_.se) run.extend();
    }

    // Coefficients that became known in an earlier scan get a bit more; those that are 1 or -1 at this
    // precision are new, and coded with the zeros before them, known ones not counted.
    void refine(const StoredBlock& block, EndOfBandRun<Pass>& run) {
        auto sink = pass_.ac(slot());
        const NonzeroMask mask = band(block.nonzero);
        unsigned lastNew = 0;
        forEachBit(mask, [&](unsigned k) {
            if (isNew(scaled(block.at(k)))) lastNew = k;
        });
        CorrectionBits corrections;
        const auto putCorrections = [&] {
            pass_.put(corrections);
            corrections = {};
        };
        unsigned zeros = 0, next = scan_.ss;
        forEachBit(mask, [&](unsigned k) {
            const int value = scaled(block.at(k));
            if (value == 0) return;
            zeros += k - next;
            next = k + 1;
            for (; zeros > 15 && k <= lastNew; zeros -= 16) {
                run.end();
                sink.put(sixteenZeros, 0);
                putCorrections();
            }
            if (!isNew(value)) {
                corrections.append(static_cast<unsigned>(value < 0 ? -value : value) & 1);
                return;
            }
            run.end();
            sink.put(zeros << 4 | 1, value > 0);
            putCorrections();
            zeros = 0;
        });
        if (zeros > 0 || next <= scan_.se || corrections.count > 0) run.extend(corrections);
    }

    static bool isNew(int value) { return value == 1 || value == -1; }
    unsigned slot() const { return frame_.components[scan_.components[0]].ta; }

    Pass& pass_;
    const EncodeFrame& frame_;
    const Scan& scan_;
    const CoefficientPlanes& planes_;
};

}  // namespace orn32::jpeg
