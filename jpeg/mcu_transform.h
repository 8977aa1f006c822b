// From the samples of a row of MCUs to its quantised blocks, in the order in which an interleaved scan has
// them.
#pragma once

#include "core/cpu.h"
#include "jpeg/block_coder.h"
#include "jpeg/block_transform.h"
#include "jpeg/encode_frame.h"
#include "jpeg/mcu_row.h"

namespace orn32::jpeg {

class QuantisedBlock {
 public:
    QuantisedBlock(const TransformedPair& pair, unsigned which)
        : coefficients_(pair.coefficients[which]), nonzero_(inZigzagOrder(pair.nonzero[which])) {}

    int dc() const { return coefficients_[0]; }
    int at(unsigned k) const { return coefficients_[naturalOrder[k]]; }
    PositionMask nonzero() const { return nonzero_; }

 private:
    const std::int16_t* coefficients_;
    PositionMask nonzero_;
};

// A block's component, and its place among the component's blocks of the MCU row.
struct BlockPlace {
    int component;
    unsigned column, row;
};

class McuTransform {
 public:
    explicit McuTransform(const EncodeFrame& frame)
        : frame_(frame),
          quantisers_{Quantiser(frame.quantisation[0]), Quantiser(frame.quantisation[1])},
          transform_(bestTransformBlocks()) {}

    // Calls visit(place, block) for every block of the row.
    template <class Visit>
    void forEachBlock(const McuRow& samples, Visit visit) const {
        const unsigned mcus = frame_.mcusPerRow();
        if (frame_.grey()) {
            for (unsigned mcu = 0; mcu < mcus; mcu += 2)
                visitPair(samples, {0, mcu, 0}, {0, mcu + 1 < mcus ? mcu + 1 : mcu, 0}, visit);
            return;
        }
        for (unsigned mcu = 0; mcu < mcus; mcu++) {
            visitPair(samples, {0, 2 * mcu, 0}, {0, 2 * mcu + 1, 0}, visit);
            visitPair(samples, {0, 2 * mcu, 1}, {0, 2 * mcu + 1, 1}, visit);
            visitPair(samples, {1, mcu, 0}, {2, mcu, 0}, visit);
        }
    }

 private:
    // Two blocks with the same quantisation; or one, given twice.
    template <class Visit>
    void visitPair(const McuRow& samples, const BlockPlace& first, const BlockPlace& second,
                   Visit& visit) const {
        const auto at = [&](const BlockPlace& p) { return samples.block(p.component, p.column, p.row); };
        TransformedPair pair;
        transform_(at(first), at(second), samples.stride(first.component),
                   quantisers_[frame_.components[first.component].tq], pair);
        visit(first, QuantisedBlock(pair, 0));
        if (at(first) == at(second)) return;
        visit(second, QuantisedBlock(pair, 1));
    }

    const EncodeFrame& frame_;
    Quantiser quantisers_[2];
    TransformBlocks transform_;
    MayUseAvx2 scope_;
};

}  // namespace orn32::jpeg
