// The quantised coefficients of a whole picture, for scans that come back to them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "jpeg/block_coder.h"
#include "jpeg/encode_frame.h"
#include "jpeg/mcu_transform.h"

namespace orn32::jpeg {

// What scans need to know of a block before they look at its coefficients, if they do.
struct BlockSummary {
    static constexpr unsigned precisions = 3;  // scans leave out at most 2 bits

    PositionMask nonzero[precisions];  // which coefficients are not zero without their lowest 0, 1, 2 bits
    std::int16_t dc;
};

// A stored block. AC coefficients are in zigzag order; those that are zero have not been stored.
struct StoredBlock {
    const BlockSummary& summary;
    const std::int16_t* coefficients;

    int dc() const { return summary.dc; }
    int at(unsigned k) const { return coefficients[k]; }
    PositionMask nonzero(unsigned leftOut = 0) const { return summary.nonzero[leftOut]; }
};

class CoefficientPlanes {
 public:
    // The memory may not be had: test before use.
    explicit CoefficientPlanes(const EncodeFrame& frame);

    explicit operator bool() const;

    // Blocks of a component come by column and row; there are those of whole MCUs.
    void store(int component, unsigned column, unsigned row, const QuantisedBlock& block);
    StoredBlock block(int component, unsigned column, unsigned row) const {
        const Plane& plane = planes_[component];
        const std::size_t i = std::size_t{row} * plane.columns + column;
        return {plane.summaries[i], plane.coefficients.get() + i * blockSize};
    }

 private:
    struct Plane {
        std::size_t columns = 0;
        WorkArray<BlockSummary> summaries;
        WorkArray<std::int16_t> coefficients;
    };
    int count_;
    bool progressive_;  // other scans leave out no bits
    Plane planes_[3];
};

}  // namespace orn32::jpeg
