// From the samples of an MCU to its quantised blocks, in the order in which an interleaved scan has them.
#pragma once

#include "jpeg/block_coder.h"
#include "jpeg/encode_frame.h"
#include "jpeg/fdct.h"
#include "jpeg/mcu_row.h"
#include "jpeg/quantise.h"

namespace orn32::jpeg {

struct QuantisedBlock {
    std::int16_t coefficients[64];  // in natural order
    NonzeroMask nonzero;            // in zigzag order

    int dc() const { return coefficients[0]; }
};

// Which of an MCU's blocks it is: its component, and its place among the MCU's blocks of that component.
struct BlockPlace {
    int component;
    unsigned x, y;
};

class McuTransform {
 public:
    explicit McuTransform(const EncodeFrame& frame)
        : frame_(frame), quantisers_{Quantiser(frame.quantisation[0]), Quantiser(frame.quantisation[1])} {}

    // Calls visit(place, block) for every block of the MCU in the given column of the row.
    template <class Visit>
    void forEachBlock(const McuRow& samples, unsigned mcu, Visit visit) const {
        for (int c = 0; c < frame_.componentCount; c++) {
            const Component& component = frame_.components[c];
            for (unsigned y = 0; y < component.v; y++) {
                for (unsigned x = 0; x < component.h; x++) {
                    QuantisedBlock block;
                    forwardDct(samples.block(c, mcu * component.h + x, y), samples.stride(c),
                               block.coefficients);
                    block.nonzero = inZigzagOrder(quantise(block.coefficients, quantisers_[component.tq]));
                    visit(BlockPlace{c, x, y}, block);
                }
            }
        }
    }

 private:
    const EncodeFrame& frame_;
    Quantiser quantisers_[2];
};

}  // namespace orn32::jpeg
