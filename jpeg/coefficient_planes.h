// The quantised coefficients of a whole picture, for scans that come back to them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "jpeg/block_coder.h"
#include "jpeg/encode_frame.h"
#include "jpeg/mcu_transform.h"

namespace orn32::jpeg {

// A stored block: coefficients in zigzag order, of which those that are zero have not been stored, but for
// the first.
struct StoredBlock {
    const std::int16_t* coefficients;
    NonzeroMask nonzero;

    int dc() const { return coefficients[0]; }
    int at(unsigned k) const { return coefficients[k]; }
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
        return {plane.coefficients.get() + i * blockSize, plane.nonzero[i]};
    }

 private:
    struct Plane {
        std::size_t columns = 0;
        WorkArray<std::int16_t> coefficients;
        WorkArray<NonzeroMask> nonzero;
    };
    int count_;
    Plane planes_[3];
};

}  // namespace orn32::jpeg
